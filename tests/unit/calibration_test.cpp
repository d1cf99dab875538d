#include "main/lib/calib/calibration.h"

#include "tests/support/calibration_tree.h"
#include "tests/support/export_fixture.h"

using namespace ztlib;

namespace {

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

const std::string wrong = "1 C1DCalibrator: Cannot configure, maybe wrong parameters.";

using CTable = C1DCalibrator::CMyAssignTable;
using Corners = std::array<int, 8>;
constexpr Corners sound{0, 8000, 3000, 8000, 0, 0, 3000, 0};

class Calibration : public ExportTest {
 protected:
  static bool Configure(CTable& table, const Corners& p, float meter, float step = 88.7F,
                        float before = 0, float behind = 0) {
    return table.Configure(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], meter, step, before,
                           behind);
  }
  static void ExpectSound(const CTable& table) {
    ASSERT_GE(table.keys.size(), 2U);
    EXPECT_TRUE(table.minimumKey == table.keys.front() && table.maximumKey == table.keys.back());
    for (const std::vector<float>* samples : {&table.keys, &table.values})
      EXPECT_TRUE(samples->size() == table.keys.size() && std::isfinite(samples->back()) &&
                  std::is_sorted(samples->begin(), samples->end(), std::less_equal<>()));
  }
  static std::vector<std::string> TakeLines() {
    std::vector<std::string> texts;
    for (const Line& line : lines)
      texts.push_back(std::to_string(line.first) + " " + line.second);
    lines.clear();
    return texts;
  }
};

TEST_F(Calibration, TableLookUp) {
  CAssignTable table;
  EXPECT_EQ(table.Get(3), 0);
  // Some samples are too close together for a line: first in keys, then in values.
  constexpr float last = 6.0000005F;
  table.keys = {-4, 0, 0.0000005F, 8, 9};
  table.values = {-1, 1, 2, 6, last};
  const float at[] = {-5, -3, 2e-7F, 4, 8, 8.9F, 9, 99, nan};
  const float expected[] = {-1, -0.5F, 1, 4, 6, 6, last, last, -1};
  for (std::size_t i = 0; i < std::size(at); ++i)
    EXPECT_FLOAT_EQ(table.Get(at[i]), expected[i]) << at[i];
  EXPECT_FLOAT_EQ(table.GetInverse(4), 4);
  EXPECT_EQ(table.GetInverse(7) + table.GetInverse(-2), 9 - 4);
}

TEST_F(Calibration, TableOfARectangleIsLinearAndOfATrapeziumIsNot) {
  CTable table;
  ASSERT_TRUE(Configure(table, sound, 10, 88.7F, 5, 20));
  ExpectSound(table);
  for (const float key : {-4000.0F, 44.0F, 24000.0F})
    EXPECT_NEAR(table.Get(key), key / 800, 1e-3) << key;
  EXPECT_NEAR(table.values.front(), -5, 1e-5);
  EXPECT_NEAR(table.values.back(), 30, 1e-5);
  // A table ends two widths of the picture beyond the rectangle.
  ASSERT_TRUE(Configure(table, sound, 10, 88.7F, 99, 99));
  EXPECT_NEAR(table.values.front(), -32768 / 800.0, 1e-3);
  EXPECT_NEAR(table.values.back(), 10 + 32768 / 800.0, 1e-3);

  // This trapezium is twice as wide at its near end, and its sides meet at twice its height.
  ASSERT_TRUE(Configure(table, {0, 6000, 8000, 6000, 2000, 0, 6000, 0}, 12, 88.7F, 60, 60));
  ExpectSound(table);
  for (const int y : {9000, 6000, 4000, 0, -3000}) {
    float key = 0;
    ASSERT_TRUE(table.KeyOf({3000, static_cast<float>(y)}, key));
    EXPECT_NEAR(table.Get(key), 12.0 * (6000 - y) / (y + 6000), 0.02) << y;
    EXPECT_NEAR(table.PointOf(key).y, y, 0.01);
    EXPECT_NEAR(table.PointOf(key).x, (6000 - y) / 3.0, 0.01);
  }
  // The plane of the camera is one length before the rectangle; the table does not reach it.
  EXPECT_GT(table.values.front(), -12);

  // Tables are joined where their ranges meet.
  CTable other;
  ASSERT_TRUE(Configure(other, sound, 10));
  table.Append(other);
  EXPECT_NEAR(table.values.back(), 72, 1e-4);
  table.Reset();
  table.Append(other);
  EXPECT_EQ(table.keys, other.keys);
  ASSERT_TRUE(Configure(table, sound, 1e-6F, 88.7F, 3));
  const std::size_t count = table.keys.size();
  table.Append(other);
  EXPECT_EQ(table.keys.size(), count + other.keys.size() - 1);
  EXPECT_FLOAT_EQ(table.Get(12000), 5);
  ExpectNoFailure();
}

TEST_F(Calibration, TableRefusesWhatIsNoRectangle) {
  const std::string noMeter = "1 C1DCalibrator: meter = 0. Cannot configure.";
  const std::tuple<Corners, float, float, std::string> cases[] = {
      {sound, 0, 88.7F, noMeter},
      {sound, -9e-7F, 88.7F, noMeter},
      {sound, 2e-6F, 0, wrong},
      {sound, 5, nan, wrong},
      {sound, infinity, 88.7F, wrong},
      {{0, 8000, 3000, 8000, 3000, 0, 0, 0}, 5, 88.7F, wrong},  // crossed
      {{0, 8000, 0, 0, 3000, 8000, 3000, 0}, 5, 88.7F, ""},     // turned, and sound
      {{7, 7, 7, 7, 7, 7, 7, 7}, 5, 88.7F, wrong},
      {{0, 0, 0, 0, 8000, 0, 8000, 0}, 5, 88.7F, wrong},  // two ends without a width
      {sound, 5, 1e9F, ""},
      {{lowest, highest, highest, highest, lowest, lowest, highest, lowest}, 5, 88.7F, ""},
  };
  for (const auto& [corners, meter, step, text] : cases) {
    CTable table;
    ASSERT_TRUE(Configure(table, sound, 3));  // does not shine through
    EXPECT_EQ(Configure(table, corners, meter, step, 10, 10), text.empty());
    EXPECT_EQ(TakeLines(), std::vector<std::string>(text.empty() ? 0 : 1, text));
    EXPECT_EQ(table.keys.empty(), !text.empty());
    if (text.empty()) ExpectSound(table);
  }
  // A quadrilateral with a dent is refused, whichever corner has it.
  for (std::size_t i = 0; i < 4; ++i) {
    Corners corners = sound;
    for (const std::size_t axis : {0U, 1U})
      corners[2 * i + axis] = (sound[2 * i + axis] + 3 * sound[2 * (3 - i) + axis]) / 4;
    CTable table;
    EXPECT_FALSE(Configure(table, corners, 5)) << i;
  }
}

const Marks twoMarks{{4000, 8000, 4000, 6000}, {8000, 8000, 8000, 6000}};
const Numbers square{{corner[0], 4000}, {corner[1], 9000}, {corner[2], 9000}, {corner[3], 9000},
                     {corner[4], 9000}, {corner[5], 4000}, {corner[6], 4000}, {corner[7], 4000}};

TEST_F(Calibration, ConfigurationsAndWhatIsLoggedOfThem) {
  const std::string ready2D = "4 CCalibrator2D 720 1180 ok.", some2D = "4 CCalibrator2D ";
  const std::string unready2D = "4 Calibrator has been not configured.";
  const std::string unready3D = "4 Calibrator3D has been not configured.";
  const std::string done = "4 Calibrator3D configure done. ";
  const std::string noMarks = "4 CCalibrator3D: Cannot read calib segments";
  const std::string noHeight = "4 CCalibrator3D: Cannot calib z";
  const std::string cheat = "4 CCalibrator3D: Two segment are in one line: cheating is necessary.";
  CData text;
  text.AddString(Tok::Y0Virtual, "high");
  // The ground can be measured when its tables are ready, heights only if nothing is missing.
  const std::pair<CData, std::vector<std::string>> cases[] = {
      {{}, {ready2D, unready3D, done}},
      {MarkedTree({{corner[4], 0}, {corner[5], 0}, {corner[6], 0}, {corner[7], 0}}), {unready2D}},
      {MarkedTree({{Tok::Distance01, 0}}), {unready2D}},
      {MarkedTree({{Tok::Distance03, 2e-6}}), {some2D, unready3D, done}},
      {MarkedTree({{Tok::Distance03, -4}}), {wrong, unready2D}},
      {MarkedTree({{corner[0], 16384}}), {wrong, wrong, unready2D}},
      {text, {unready2D}},
      {MarkedTree({}, {{4000, 8000, 4000, 6000}}), {ready2D, noMarks, unready3D, done}},
      {MarkedTree({}, twoMarks, 9e-7), {ready2D, noMarks, unready3D, done}},
      {MarkedTree({}, twoMarks, 1e-6), {ready2D, done}},
      {MarkedTree({}, twoMarks), {ready2D, done}},
      {MarkedTree({}, {{5000, 8000, 5000, 6000}, {5000, 6000, 5000, 4700}}),
       {ready2D, cheat, done}},
      // A foot lies in a corner, or the marks have no height and one place.
      {MarkedTree({}, {{563, 8755, 500, 7000}, {563, 8755, 8000, 8000}}),
       {ready2D, wrong, noHeight, unready3D, done}},
      {MarkedTree({}, {{4000, 8000, 4000, 8000}, {4000, 8000, 4000, 8000}}),
       {ready2D, cheat, wrong, noHeight, unready3D, done}},
      // The rectangle reaches up to the corner of the picture.
      {MarkedTree({{corner[4], 9000}, {corner[5], 0}, {corner[6], 0}, {corner[7], 0}}),
       {some2D, unready3D, done}},
      // The camera looks straight down.
      {MarkedTree(square, twoMarks), {some2D, "4 CCalibrator3D: Cannot get refs", unready3D, done}},
  };
  for (const auto& [tree, expected] : cases) {
    const bool hasGround = expected.back() == done;
    const bool hasHeight =
        hasGround && std::find(expected.begin(), expected.end(), unready3D) == expected.end();
    CCalibrator3D calibrator;
    calibrator.Configure(tree);
    const std::vector<std::string> texts = TakeLines();
    ASSERT_EQ(texts.size(), expected.size()) << testing::PrintToString(expected);
    for (std::size_t i = 0; i < texts.size(); ++i)
      EXPECT_EQ(texts[i].substr(0, expected[i].size()), expected[i]);
    calibrator.Configure(tree);
    const std::string same = "4 Calibrator3D:  the same config as the previous";
    // A configuration with a text cannot be compared.
    EXPECT_EQ(TakeLines(), std::vector(1, &tree == &cases[6].first ? unready2D : same));
    CPointF ground;
    float meters = 77;
    EXPECT_EQ(calibrator.IsConfigured(), hasGround);
    EXPECT_EQ(calibrator.GetGround({7000, 7000}, ground), hasGround);
    EXPECT_EQ(calibrator.IsThreeDReady(), hasHeight);
    EXPECT_EQ(calibrator.Height({6000, 7000}, {6000, 6500}, meters), hasHeight);
    EXPECT_EQ(meters != 77, hasHeight);
  }
  CCalibrator2D above;
  above.Configure(MarkedTree(square));
  CPointF ground;
  ASSERT_TRUE(above.GetGround({7000, 5000}, ground));
  EXPECT_NEAR(ground.x, 2.8, 1e-4);
  EXPECT_NEAR(ground.y, 17 * 0.8, 1e-4);
  // These places are farther away than the tables reach.
  float meters = 0;
  EXPECT_FALSE(above.GetGround({7000, 90000}, ground) || above.GetGround({90000, 7000}, ground));
  EXPECT_FALSE(above.Distance({7000, 5000}, {7000, 90000}, meters));
  EXPECT_TRUE(failures.empty());
}

// Returns the names of a tree, and a plus for each element that is like the one before it.
std::string Shape(const CData& tree) {
  std::string text, last;
  for (const CDataElement& element : tree.Elements()) {
    const CData* const node = element.value.GetNode();
    const std::string next =
        std::string(tree.KeyText(element.key)) + (node ? "{" + Shape(*node) + "} " : " ");
    text += next == last ? "+" : next;
    last = next;
  }
  return text;
}

TEST_F(Calibration, ConfigurationAndResultAsATree) {
  const std::string segment = "X0Virtual Y0Virtual X1Virtual Y1Virtual ";
  const std::string record =
      segment + "X2Virtual Y2Virtual X3Virtual Y3Virtual Distance01 Distance03 ";
  CCalibrator3D calibrator;
  EXPECT_EQ(Shape(calibrator.GetConfig()), record + "RefSegment{} RefDistanceMeter ");
  calibrator.Configure({});
  CData tree = calibrator.GetConfig();
  // A configuration that was read back adds only its new element.
  tree.AddChild(Tok::FixPointHelper).AddChild(Tok::Points).AddInt(Tok::X, 5);
  TakeLines();
  calibrator.Configure(tree);
  EXPECT_EQ(TakeLines().size(), 3U);
  calibrator.Configure(MarkedTree({}, twoMarks));
  tree = calibrator.GetConfig();
  EXPECT_EQ(Shape(tree),
            record + "RefSegment{{" + segment +
                "} +} RefDistanceMeter FixPointHelper{Points{X } } Info{IsConfigured Ready "
                "Grid{XLines{{X Y } +++++++++++++++++} YLines{{X Y } +++++++++++++++++} } "
                "Plane0{Points{{X Y } +++} } Plane1{Points{{X Y } +++} } Horizon{Points{{X Y } +} "
                "} AdditionalPoints{R0x R0y R1x R1y RefVpointX RefVpointY } } ");

  // All numbers of the result are compared by a hash; corners, heads and horizon also one by one.
  const CData& result = tree.Child(Tok::Info);
  const CBinData bytes = ToTagged(result);
  EXPECT_EQ(HashOf({bytes.Data(), bytes.Data() + bytes.Size()}), 0xf5dca6ac8048cc45U);
  const auto at = [&result](Token part, Token list, std::uint64_t i) {
    const CData& node = *result.Child(part).Child(list).At(i).value.GetNode();
    return CPointF{static_cast<float>(node.GetDouble(Tok::X, 0)),
                   static_cast<float>(node.GetDouble(Tok::Y, 0))};
  };
  CPointF head;
  ASSERT_TRUE(calibrator.Head({8090, 9421}, 1.8F, head));
  for (const auto& [found, expected] :
       {std::pair{at(Tok::Grid, Tok::XLines, 0), CPointF{8090, 9421}},
        {at(Tok::Grid, Tok::YLines, 17), {5734, 4659}},
        {at(Tok::Plane0, Tok::Points, 2), {10342, 4864}},
        {at(Tok::Plane1, Tok::Points, 1), head}})
    EXPECT_LT(std::hypot(found.x - expected.x, found.y - expected.y), 0.02);
  const float middle =
      (at(Tok::Horizon, Tok::Points, 0).y + at(Tok::Horizon, Tok::Points, 1).y) / 2;
  EXPECT_FALSE(calibrator.Head({8192, middle - 5}, 1, head));
  EXPECT_TRUE(calibrator.Head({8192, middle + 5}, 1, head));
}

TEST_F(Calibration, ThreadsMeasureWhileTheComponentCalibrates) {
  CCalibration& component = *Get<CCalibration>();
  component.Calibrate({});
  EXPECT_EQ(lines.front(), Line(3, "[CALIB] Calibrating camera..."));
  EXPECT_EQ(lines.back(), Line(3, "[CALIB] Calibration finished! (0s)"));
  const std::shared_ptr<CCalibrator3D> former = component.GetCalibrator();
  std::atomic<bool> stop = false;
  std::thread measuring([&] {
    for (CPointF ground; !stop;)
      EXPECT_TRUE(component.GetCalibrator()->GetGround({7000, 7000}, ground) &&
                  component.GetCalibrator()->GetConfig().Count() > 10);
  });
  for (int i = 0; i < 20; ++i) {
    component.Calibrate(MarkedTree({}, twoMarks));
    component.GetCalibrator()->Configure(MarkedTree({}, twoMarks, 2));
  }
  stop = true;
  measuring.join();
  const CAutoLock twice(former.get());
  EXPECT_TRUE(former->IsConfigured() && !former->IsThreeDReady());
  EXPECT_TRUE(component.GetCalibrator()->IsThreeDReady());
}

}  // namespace
