#include "main/lib/calib/calibration.h"

#include "tests/support/export_fixture.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <optional>
#include <random>
#include <thread>

namespace {

using CTable = C1DCalibrator::CMyAssignTable;

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

const char noMeter[] = "C1DCalibrator: meter = 0. Cannot configure.";
const char wrong[] = "C1DCalibrator: Cannot configure, maybe wrong parameters.";

class Calibration : public ExportTest {
 protected:
  static bool Configure(CTable& table, const std::array<int, 8>& p, float meter, float step = 88.7F,
                        float before = 0, float behind = 0) {
    return table.Configure(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], meter, step, before,
                           behind);
  }
  static void ExpectSound(const CTable& table) {
    ASSERT_GE(table.keys.size(), 2U);
    ASSERT_EQ(table.keys.size(), table.values.size());
    EXPECT_EQ(table.minimumKey, table.keys.front());
    EXPECT_EQ(table.maximumKey, table.keys.back());
    for (const std::vector<float>* samples : {&table.keys, &table.values}) {
      EXPECT_TRUE(std::isfinite(samples->front()) && std::isfinite(samples->back()));
      EXPECT_EQ(std::adjacent_find(samples->begin(), samples->end(), std::greater_equal<>()),
                samples->end());
    }
  }
  static std::vector<std::string> Texts() {
    std::vector<std::string> texts;
    for (const Line& line : lines)
      texts.push_back(std::to_string(line.first) + " " + line.second);
    return texts;
  }
};

TEST_F(Calibration, TableLookUp) {
  CAssignTable table;
  EXPECT_EQ(table.Get(3), 0);
  EXPECT_EQ(table.GetInverse(3), 0);
  table.keys = {2};
  table.values = {7};
  for (const float at : {-9.0F, 2.0F, 9.0F, nan}) {
    EXPECT_EQ(table.Get(at), 7);
    EXPECT_EQ(table.GetInverse(at), 2);
  }
  // Too close together for a line, in keys, then in values.
  table.keys = {-4, 0, 0.0000005F, 8, 9};
  table.values = {-1, 1, 2, 6, 6.0000005F};
  const std::pair<float, float> pairs[] = {
      {-5, -1}, {-4, -1},  {-3, -0.5F},     {0, 1},           {2e-7F, 1}, {4, 4},
      {8, 6},   {8.9F, 6}, {9, 6.0000005F}, {99, 6.0000005F}, {nan, -1},  {infinity, 6.0000005F}};
  for (const auto& [key, value] : pairs)
    EXPECT_FLOAT_EQ(table.Get(key), value) << key;
  EXPECT_FLOAT_EQ(table.GetInverse(4), 4);
  EXPECT_EQ(table.GetInverse(7), 9);
  EXPECT_EQ(table.GetInverse(-2), -4);
}

TEST_F(Calibration, TableOfARectangleIsLinearAndOfATrapeziumIsNot) {
  CTable table;
  ASSERT_TRUE(Configure(table, {0, 8000, 3000, 8000, 0, 0, 3000, 0}, 10, 88.7F, 5, 20));
  ExpectSound(table);
  for (const float key : {-4000.0F, -1.0F, 0.0F, 44.0F, 7777.0F, 24000.0F})
    EXPECT_NEAR(table.Get(key), key / 800, 1e-3) << key;
  EXPECT_NEAR(table.values.front(), -5, 1e-5);
  EXPECT_NEAR(table.values.back(), 30, 1e-5);
  // Two widths of the picture are the end.
  ASSERT_TRUE(Configure(table, {0, 800, 300, 800, 0, 0, 300, 0}, 1, 88.7F, 99, 99));
  EXPECT_NEAR(table.values.front(), -32768 / 800.0, 1e-3);
  EXPECT_NEAR(table.values.back(), 1 + 32768 / 800.0, 1e-3);

  // A trapezium twice as wide at its near end; its sides meet at twice its height. The middle of
  // the length is two thirds of the way from there to the near end.
  const std::array<int, 8> trapezium{0, 6000, 8000, 6000, 2000, 0, 6000, 0};
  ASSERT_TRUE(Configure(table, trapezium, 12, 88.7F, 60, 60));
  ExpectSound(table);
  for (const int y : {9000, 6000, 5999, 4000, 2000, 0, -1500, -3000}) {
    float key = 0;
    ASSERT_TRUE(table.KeyOf({3000, static_cast<float>(y)}, key));
    EXPECT_NEAR(table.Get(key), 12.0 * (6000 - y) / (y + 6000), 0.02) << y;
    const CPointF point = table.PointOf(key);
    EXPECT_NEAR(point.y, y, 0.01);
    EXPECT_NEAR(point.x, (6000 - y) / 3.0, 0.01);
  }
  EXPECT_GT(table.values[1] - table.values[0], 0);
  // Beyond the camera's own plane nothing can be seen: the reach keeps away from it.
  EXPECT_GT(table.values.front(), -12);
  EXPECT_NEAR(table.values.back(), 72, 1e-4);
  ExpectNoFailure();
}

TEST_F(Calibration, TableRefusesWhatIsNoRectangle) {
  const std::array<int, 8> sound{0, 8000, 3000, 8000, 0, 0, 3000, 0};
  const struct {
    std::array<int, 8> corners;
    float meter, step;
    const char* text;
  } cases[] = {
      {sound, 0, 88.7F, noMeter},
      {sound, -9e-7F, 88.7F, noMeter},
      {sound, 2e-6F, 0, wrong},
      {sound, 5, -1, wrong},
      {sound, 5, nan, wrong},
      {sound, -5, 88.7F, wrong},
      {sound, nan, 88.7F, wrong},
      {sound, infinity, 88.7F, wrong},
      {{0, 8000, 3000, 8000, 3000, 0, 0, 0}, 5, 88.7F, wrong},      // crossed
      {{0, 8000, 0, 0, 3000, 8000, 3000, 0}, 5, 88.7F, nullptr},    // turned, and sound
      {{0, 0, 3000, 3000, 100, 6000, 100, 1000}, 5, 88.7F, wrong},  // dented
      {{0, 0, 1, 1, 2, 2, 3, 3}, 5, 88.7F, wrong},
      {{7, 7, 7, 7, 7, 7, 7, 7}, 5, 88.7F, wrong},
      {{0, 0, 0, 0, 0, 0, 0, 0}, 5, 88.7F, wrong},
      {sound, 5, 1e9F, nullptr},
      {{lowest, highest, highest, highest, lowest, lowest, highest, lowest}, 5, 88.7F, nullptr},
  };
  for (const auto& c : cases) {
    CTable table;
    ASSERT_TRUE(Configure(table, sound, 3));  // does not shine through
    Forget();
    EXPECT_EQ(Configure(table, c.corners, c.meter, c.step, 10, 10), c.text == nullptr);
    if (c.text) {
      EXPECT_EQ(lines, (std::vector<Line>{{1, c.text}}));
      EXPECT_TRUE(table.keys.empty() && table.values.empty());
      EXPECT_EQ(table.Get(100), 0);
    } else {
      EXPECT_TRUE(lines.empty());
      ExpectSound(table);
    }
  }
  // Whatever is accepted is sound: small and huge corners, tiny steps, tables of rounding noise.
  std::mt19937 random(3);
  for (int round = 0; round < 600; ++round) {
    const std::uint32_t range = round % 16 == 0 ? 0xFFFFFFFF : round % 4 == 1 ? 40 : 16385;
    std::array<int, 8> corners;
    for (int& c : corners)
      c = static_cast<int>(random() % range);
    if (round % 3 == 0) corners[6] = corners[2] + corners[4] - corners[0];  // parallels
    if (round % 3 == 0) corners[7] = corners[3] + corners[5] - corners[1];
    CTable table;
    if (Configure(table, corners, 6, round == 2 ? 0.01F : 88.7F, 60, 60)) ExpectSound(table);
  }
}

TEST_F(Calibration, TablesAreJoinedWhereTheirRangesMeet) {
  const std::array<int, 8> sound{0, 8000, 3000, 8000, 0, 0, 3000, 0};
  CTable table, other;
  ASSERT_TRUE(Configure(other, sound, 10));
  other.Append(table);  // its range is 0 to 0
  EXPECT_EQ(other.values.back(), 10);
  table.Append(other);
  EXPECT_EQ(table.keys, other.keys);
  table.Append(other);  // 0 to 10 does not begin at 10
  EXPECT_EQ(table.values, other.values);
  ASSERT_TRUE(Configure(table, sound, 0.0000015F, 88.7F, 3));
  const std::size_t count = table.keys.size();
  table.Append(other);
  EXPECT_EQ(table.keys.size(), count);
  ASSERT_TRUE(Configure(table, sound, 0.000001F, 88.7F, 3));
  table.Append(other);
  EXPECT_EQ(table.keys.size(), count + other.keys.size() - 1);
  EXPECT_FLOAT_EQ(table.maximumKey, 16000);
  EXPECT_FLOAT_EQ(table.Get(12000), 5);
  table.Reset();
  EXPECT_TRUE(table.keys.empty() && table.values.empty());
}

// A camera over the ground, in double precision. Pictures are 4:3, in virtual units.
struct CCamera {
  double height = 5, tilt = 0.4, field = 1, roll = 0;

  [[nodiscard]] std::optional<std::array<double, 2>> See(double x, double y, double z) const {
    const double depth = y * std::cos(tilt) - (z - height) * std::sin(tilt);
    const double up = y * std::sin(tilt) + (z - height) * std::cos(tilt);
    if (depth < 0.1) return std::nullopt;
    const double focal = 8192 / std::tan(field / 2);
    const double right = x * std::cos(roll) + up * std::sin(roll);
    const double above = up * std::cos(roll) - x * std::sin(roll);
    return {{8192 + focal * right / depth, 8192 - focal * 4 / 3 * above / depth}};
  }
};

bool IsInPicture(const std::optional<std::array<double, 2>>& p) {
  return p && std::min((*p)[0], (*p)[1]) >= 0 && std::max((*p)[0], (*p)[1]) <= 16384;
}
CPointF ToPoint(const std::array<double, 2>& p) {
  return {static_cast<float>(p[0]), static_cast<float>(p[1])};
}

CData Segment(int x0, int y0, int x1, int y1) {
  CData segment;
  segment.AddInt(Tok::X0Virtual, x0);
  segment.AddInt(Tok::Y0Virtual, y0);
  segment.AddInt(Tok::X1Virtual, x1);
  segment.AddInt(Tok::Y1Virtual, y1);
  return segment;
}

// A street before a camera: a rectangle on the ground and marks in it, with the configuration that
// a client would make of them.
struct CStreet {
  CCamera camera;
  double x = 0, y = 9, turn = 0, length01 = 4, length03 = 8;
  std::vector<std::array<double, 2>> marks;  // shares of the lengths
  double mark = 1.8;

  // A place along 0-1 and 0-3, from corner 0.
  [[nodiscard]] auto See(double along01, double along03, double z = 0) const {
    return camera.See(x + along01 * std::cos(turn) - along03 * std::sin(turn),
                      y + along01 * std::sin(turn) + along03 * std::cos(turn), z);
  }
  // None if not all of it is in the picture.
  [[nodiscard]] std::optional<CData> Configuration() const {
    CData tree;
    const std::pair<Token, Token> tokens[] = {{Tok::X0Virtual, Tok::Y0Virtual},
                                              {Tok::X1Virtual, Tok::Y1Virtual},
                                              {Tok::X2Virtual, Tok::Y2Virtual},
                                              {Tok::X3Virtual, Tok::Y3Virtual}};
    for (int i = 0; i < 4; ++i) {
      const auto p = See(i == 1 || i == 2 ? length01 : 0, i >= 2 ? length03 : 0);
      if (!IsInPicture(p)) return std::nullopt;
      tree.AddInt(tokens[i].first, static_cast<int>(std::lround((*p)[0])));
      tree.AddInt(tokens[i].second, static_cast<int>(std::lround((*p)[1])));
    }
    tree.AddDouble(Tok::Distance01, length01);
    tree.AddDouble(Tok::Distance03, length03);
    tree.AddDouble(Tok::RefDistanceMeter, mark);
    CData& segments = tree.AddChild(Tok::RefSegment);
    for (const auto& [u, v] : marks) {
      const auto foot = See(u * length01, v * length03);
      const auto head = See(u * length01, v * length03, mark);
      if (!IsInPicture(foot) || !IsInPicture(head)) return std::nullopt;
      const auto whole = [](double value) { return static_cast<int>(std::lround(value)); };
      segments.AddChild(Tok::Empty, Segment(whole((*foot)[0]), whole((*foot)[1]), whole((*head)[0]),
                                            whole((*head)[1])));
    }
    return tree;
  }
  // What the calibrator calls a place: it counts from corner 1 or corner 3.
  [[nodiscard]] CPointF Expected(double along01, double along03) const {
    const bool startsAt1 = (*See(0, length03))[1] < (*See(length01, 0))[1];
    return {static_cast<float>(startsAt1 ? length01 - along01 : along01),
            static_cast<float>(startsAt1 ? along03 : length03 - along03)};
  }
};

struct CErrors {
  std::vector<double> values;
  // Of the values in ascending order.
  void Expect(const char* what, std::size_t count, double median, double most, double worst) {
    ASSERT_GE(values.size(), count) << what;
    std::sort(values.begin(), values.end());
    EXPECT_LE(values[values.size() / 2], median) << what;
    EXPECT_LE(values[values.size() * 99 / 100], most) << what;
    EXPECT_LE(values.back(), worst) << what;
  }
};

TEST_F(Calibration, RandomCamerasAreRecovered) {
  std::mt19937 random(20);
  const auto between = [&](double low, double high) {
    return low + (high - low) * (random() >> 8) / 16777216.0;
  };
  constexpr double degree = std::numbers::pi / 180;
  CErrors inside, around, far, relative, backAgain, heightInside, heightAnywhere, heads;
  for (int cameras = 0; cameras < 150;) {
    const double tilt = between(12, 50) * degree;
    CStreet street;
    street.camera = {between(3, 9), tilt, between(35, 85) * degree, between(-4, 4) * degree};
    street.length01 = between(3, 9);
    street.length03 = between(4, 20);
    street.turn = between(-34, 34) * degree;
    // Around the middle of the picture.
    street.x =
        (street.length03 * std::sin(street.turn) - street.length01 * std::cos(street.turn)) / 2;
    street.y =
        street.camera.height / std::tan(tilt) -
        (street.length01 * std::sin(street.turn) + street.length03 * std::cos(street.turn)) / 2;
    street.marks = {{between(0.05, 0.95), between(0.05, 0.95)},
                    {between(0.05, 0.95), between(0.05, 0.95)}};
    const std::optional<CData> tree = street.Configuration();
    if (!tree) continue;
    const CData& segments = tree->Child(Tok::RefSegment);
    const auto footX = [&](std::uint64_t i) {
      return segments.At(i).value.GetNode()->GetInt(Tok::X0Virtual, 0);
    };
    if (std::abs(footX(0) - footX(1)) < 600) continue;
    ++cameras;
    CCalibrator3D calibrator;
    calibrator.Configure(*tree);
    ASSERT_TRUE(calibrator.IsThreeDReady());
    for (int i = 0; i < 60; ++i) {
      const double range = i < 10 ? 0 : i < 20 ? 1 : 5;
      const double along01 = street.length01 * between(-range, 1 + range);
      const double along03 = street.length03 * between(-range, 1 + range);
      const auto seen = street.See(along01, along03);
      if (!IsInPicture(seen)) continue;
      const CPointF point = ToPoint(*seen), truth = street.Expected(along01, along03);
      CPointF ground, back, head;
      if (calibrator.GetGround(point, ground)) {
        const double error = std::hypot(ground.x - truth.x, ground.y - truth.y);
        (range == 0 ? inside : range == 1 ? around : far).values.push_back(error);
        ASSERT_TRUE(calibrator.ImagePosition(ground.x, ground.y, back));
        backAgain.values.push_back(std::hypot(back.x - point.x, back.y - point.y));
        // To the middle of the rectangle.
        const auto middle = street.See(street.length01 / 2, street.length03 / 2);
        float meters = 0;
        ASSERT_TRUE(calibrator.Distance(point, ToPoint(*middle), meters));
        const double distance =
            std::hypot(along01 - street.length01 / 2, along03 - street.length03 / 2);
        if (distance > 1) relative.values.push_back(std::abs(meters / distance - 1));
      }
      const double height = between(0.5, range == 0 ? 3 : 6);
      const auto top = street.See(along01, along03, height);
      float meters = 0;
      if (!IsInPicture(top) || !calibrator.Height(point, ToPoint(*top), meters)) continue;
      (range == 0 ? heightInside : heightAnywhere).values.push_back(std::abs(meters / height - 1));
      ASSERT_TRUE(calibrator.Head(point, meters, head));
      ASSERT_TRUE(calibrator.Height(point, head, meters));
      ASSERT_TRUE(calibrator.Head(point, meters, back));
      heads.values.push_back(std::hypot(back.x - head.x, back.y - head.y));
    }
  }
  // Of the corners and marks, rounded to whole units, not of the arithmetic.
  inside.Expect("inside", 1000, 0.001, 0.003, 0.006);
  around.Expect("around", 500, 0.002, 0.015, 0.03);
  far.Expect("far", 500, 0.02, 0.25, 0.6);
  relative.Expect("distance", 1000, 0.0006, 0.004, 0.04);
  backAgain.Expect("back again", 2000, 0.003, 0.01, 0.02);
  heightInside.Expect("heights inside", 500, 0.0006, 0.03, 0.08);
  heightAnywhere.Expect("heights anywhere", 500, 0.001, 0.05, 0.15);
  heads.Expect("heads", 1000, 0.3, 8, 40);
  EXPECT_TRUE(failures.empty());
}

const char ready2D[] = "4 CCalibrator2D 720 1180 ok.";
const char unready2D[] = "4 Calibrator has been not configured.";
const char unready3D[] = "4 Calibrator3D has been not configured.";
const char same[] = "4 Calibrator3D:  the same config as the previous";
const char noSegments[] = "4 CCalibrator3D: Cannot read calib segments";
const char noReferences[] = "4 CCalibrator3D: Cannot get refs";
const char noHeight[] = "4 CCalibrator3D: Cannot calib z";
const char cheat[] = "4 CCalibrator3D: Two segment are in one line: cheating is necessary.";
const char done[] = "4 Calibrator3D configure done.";

CData Tree(const std::function<void(CData&)>& fill) {
  CData tree;
  fill(tree);
  return tree;
}

CData Marks(double height, const std::vector<std::array<int, 4>>& marks) {
  return Tree([&](CData& tree) {
    CData& list = tree.AddChild(Tok::RefSegment);
    for (const auto& [x0, y0, x1, y1] : marks)
      list.AddChild(Tok::Empty, Segment(x0, y0, x1, y1));
    tree.AddDouble(Tok::RefDistanceMeter, height);
  });
}

CData Square(int x, int y, int size) {
  return Tree([&](CData& tree) {
    for (const auto& [token, value] : {std::pair(Tok::X0Virtual, x),
                                       {Tok::Y0Virtual, y + size},
                                       {Tok::X1Virtual, x + size},
                                       {Tok::Y1Virtual, y + size},
                                       {Tok::X2Virtual, x + size},
                                       {Tok::Y2Virtual, y},
                                       {Tok::X3Virtual, x},
                                       {Tok::Y3Virtual, y}})
      tree.AddInt(token, value);
  });
}

TEST_F(Calibration, ConfigurationsAndWhatIsLoggedOfThem) {
  const auto zeros = [](CData& tree) {
    for (const Token token : {Tok::X3Virtual, Tok::X2Virtual, Tok::Y3Virtual, Tok::Y2Virtual})
      tree.AddInt(token, 0);
  };
  const auto number = [](Token token, double value) {
    return Tree([=](CData& tree) { tree.AddDouble(token, value); });
  };
  CData square = Square(4000, 4000, 6000);
  square.AddChild(
      Tok::RefSegment,
      CData(Marks(2, {{5000, 9000, 5000, 8000}, {9000, 9000, 9000, 8000}}).Child(Tok::RefSegment)));
  square.AddDouble(Tok::RefDistanceMeter, 2);
  const std::string table = std::string("1 ") + wrong;
  const struct {
    CData tree;
    bool ground, height;
    std::vector<std::string> lines;
  } cases[] = {
      {{}, true, false, {ready2D, unready3D, done}},
      {Tree(zeros), false, false, {unready2D}},
      {number(Tok::Distance01, 0), false, false, {unready2D}},
      {number(Tok::Distance03, -9e-7), false, false, {unready2D}},
      {number(Tok::Distance03, 2e-6), true, false, {"4 CCalibrator2D ", unready3D, done}},
      {number(Tok::Distance03, -4), false, false, {table, unready2D}},
      {number(Tok::Distance01, nan), false, false, {table, unready2D}},
      {number(Tok::Distance01, 1e300), false, false, {table, unready2D}},
      {number(Tok::X0Virtual, 16384), false, false, {table, table, unready2D}},  // crossed
      {Tree([](CData& t) { t.AddString(Tok::Y0Virtual, "high"); }), false, false, {unready2D}},
      {Tree([](CData& t) { t.AddString(Tok::Y0Virtual, "8755"); }),
       true,
       false,
       {ready2D, unready3D, done}},
      {Marks(1.8, {}), true, false, {ready2D, unready3D, done}},
      {Marks(1.8, {{4000, 8000, 4000, 6000}}), true, false, {ready2D, noSegments, unready3D, done}},
      {Marks(9e-7, {{4000, 8000, 4000, 6000}, {8000, 8000, 8000, 6000}}),
       true,
       false,
       {ready2D, noSegments, unready3D, done}},
      {Marks(1.8, {{4000, 8000, 4000, 6000}, {8000, 8000, 8000, 6000}, {0, 0, 0, 0}}),
       true,
       true,
       {ready2D, done}},
      {Marks(1.8, {{5000, 8000, 5000, 6000}, {5000, 6000, 5000, 4700}}),
       true,
       true,
       {ready2D, cheat, done}},
      // A foot in a corner, and marks of no height at one place.
      {Marks(1.8, {{563, 8755, 500, 7000}, {563, 8755, 8000, 8000}}),
       true,
       false,
       {ready2D, table, noHeight, unready3D, done}},
      {Marks(1.8, {{4000, 8000, 4000, 8000}, {4000, 8000, 4000, 8000}}),
       true,
       false,
       {ready2D, cheat, table, noHeight, unready3D, done}},
      {square, true, false, {"4 CCalibrator2D ", noReferences, unready3D, done}},
  };
  for (const auto& c : cases) {
    Forget();
    CCalibrator3D calibrator;
    calibrator.Configure(c.tree);
    const std::string number = std::to_string(&c - cases);
    EXPECT_EQ(calibrator.IsConfigured(), c.ground) << number;
    EXPECT_EQ(calibrator.IsThreeDReady(), c.height) << number;
    const std::vector<std::string> texts = Texts();
    ASSERT_EQ(texts.size(), c.lines.size()) << number << ": " << testing::PrintToString(texts);
    for (std::size_t i = 0; i < texts.size(); ++i)
      EXPECT_EQ(texts[i].substr(0, c.lines[i].size()), c.lines[i]) << number;
    // Again: nothing changes, unless the record could not be read.
    Forget();
    calibrator.Configure(c.tree);
    EXPECT_EQ(Texts(),
              std::vector<std::string>{
                  c.tree.Exists(Tok::Y0Virtual, cdString) >= 0 && !c.ground ? unready2D : same});
    EXPECT_EQ(calibrator.IsConfigured(), c.ground);
    EXPECT_EQ(calibrator.IsThreeDReady(), c.height);
    CPointF ground;
    float meters = 77;
    EXPECT_EQ(calibrator.GetGround({7000, 7000}, ground), c.ground);
    EXPECT_EQ(calibrator.Height({6000, 7000}, {6000, 6500}, meters), c.height);
    EXPECT_EQ(meters != 77, c.height);
  }
  EXPECT_TRUE(failures.empty());
}

TEST_F(Calibration, HeightsFromUprightMarksAndFromMarksInOneColumn) {
  const struct {
    double tilt;  // in degrees
    std::vector<std::array<double, 2>> marks;
    double tolerance;
  } cases[] = {
      {0, {{0.2, 0.3}, {0.9, 0.8}}, 0.001},
      {0, {{0.5, 0.1}, {0.5, 0.9}}, 0.0015},
      {2, {{0.5, 0.1}, {0.5, 0.9}}, 0.015},
      {10, {{0.5, 0.1}, {0.5, 0.9}}, 0.06},
  };
  for (const auto& c : cases) {
    CStreet street;
    street.camera = {3, c.tilt * std::numbers::pi / 180, 1.1, 0};
    street.x = -2;
    street.y = 12;
    street.marks = c.marks;
    Forget();
    CCalibrator3D calibrator;
    calibrator.Configure(street.Configuration().value());
    ASSERT_TRUE(calibrator.IsThreeDReady());
    const bool isCheated = c.marks[0][0] == c.marks[1][0];
    EXPECT_EQ(lines.size(), isCheated ? 3U : 2U);
    for (const double along01 : {0.5, 2.0, 3.5})
      for (const double along03 : {1.0, 4.0, 7.5}) {
        const CPointF foot = ToPoint(*street.See(along01, along03));
        const CPointF head = ToPoint(*street.See(along01, along03, 1.8));
        float meters = 0;
        ASSERT_TRUE(calibrator.Height(foot, head, meters));
        EXPECT_NEAR(meters, 1.8, c.tolerance) << c.tilt << ": " << along01 << ", " << along03;
        ASSERT_TRUE(calibrator.Height(foot, {head.x + 50, head.y}, meters));  // as marked by hand
        EXPECT_NEAR(meters, 1.8, c.tolerance);
        ASSERT_TRUE(calibrator.Height(foot, {foot.x, foot.y + 500}, meters));
        EXPECT_EQ(meters, 0);
      }
    // In the corner over which heights are measured, above the table, and in the sky.
    float meters = 0;
    const CData info = calibrator.GetConfig().Child(Tok::Info);
    const CData& points = info.Child(Tok::AdditionalPoints);
    const CPointF r0{static_cast<float>(points.GetInt(Tok::R0x, 0)),
                     static_cast<float>(points.GetInt(Tok::R0y, 0))};
    CPointF head;
    ASSERT_TRUE(calibrator.Head(r0, 1.8F, head));
    ASSERT_TRUE(calibrator.Height(r0, head, meters));
    EXPECT_NEAR(meters, 1.8, 1e-4);
    EXPECT_FALSE(calibrator.Height(r0, {r0.x, -60000}, meters));
    EXPECT_FALSE(calibrator.Height({8192, 100}, {8192, 50}, meters));
    EXPECT_FALSE(calibrator.Height({nan, nan}, {8192, 50}, meters));
    EXPECT_FALSE(calibrator.Head({8192, 100}, 1, head));
    EXPECT_NEAR(meters, 1.8, 1e-4);
    const bool isParallel = c.tilt == 0 || isCheated;
    EXPECT_EQ(points.GetDouble(Tok::RefVpointY, 0) == 0, isParallel);
  }
}

std::string Shape(const CData& tree) {
  std::string text;
  for (const CDataElement& element : tree.Elements()) {
    text += std::string(tree.KeyText(element.key));
    if (const CData* node = element.value.GetNode())
      text += node->Count() > 2 && node->At(0).key == 0 ? "*" + std::to_string(node->Count())
                                                        : "{" + Shape(*node) + "}";
    text += " ";
  }
  return text;
}

TEST_F(Calibration, ConfigurationAndResultAsATree) {
  CCalibrator3D calibrator;
  const std::string record =
      "X0Virtual Y0Virtual X1Virtual Y1Virtual X2Virtual Y2Virtual X3Virtual Y3Virtual Distance01 "
      "Distance03 ";
  EXPECT_EQ(Shape(calibrator.GetConfig()), record + "RefSegment{} RefDistanceMeter ");
  const std::string info =
      "Info{IsConfigured Ready Grid{XLines*18 YLines*18 } Plane0{Points*4 } Plane1{Points";
  const std::string rest =
      " } Horizon{Points{{X Y } {X Y } } } AdditionalPoints{R0x R0y R1x R1y RefVpointX RefVpointY "
      "} } ";
  calibrator.Configure({});
  EXPECT_EQ(Shape(calibrator.GetConfig()),
            record + "RefSegment{} RefDistanceMeter " + info + "{}" + rest);
  // What was read back changes nothing but what it has of its own.
  CData tree = calibrator.GetConfig();
  tree.AddChild(Tok::FixPointHelper).AddChild(Tok::Points).AddInt(Tok::X, 5);
  Forget();
  calibrator.Configure(tree);
  EXPECT_EQ(Texts()[0], ready2D);
  calibrator.Configure(Marks(1.8, {{4000, 8000, 4000, 6000}, {8000, 8000, 8000, 6000}}));
  tree = calibrator.GetConfig();
  EXPECT_EQ(Shape(tree), record +
                             "RefSegment{{X0Virtual Y0Virtual X1Virtual Y1Virtual } "
                             "{X0Virtual Y0Virtual X1Virtual Y1Virtual } } RefDistanceMeter "
                             "FixPointHelper{Points{X } } " +
                             info + "*4" + rest);
  // The grid's corners are those of the rectangle: its lines begin at corner 1.
  const CData& grid = tree.Child(Tok::Info).Child(Tok::Grid);
  const auto point = [](const CData& list, std::uint64_t i) {
    const CData& node = *list.At(i).value.GetNode();
    return CPointF{static_cast<float>(node.GetDouble(Tok::X, 0)),
                   static_cast<float>(node.GetDouble(Tok::Y, 0))};
  };
  const CPointF corners[] = {{563, 8755}, {8090, 9421}, {10342, 4864}, {5734, 4659}};
  const auto expectNear = [](CPointF p, CPointF q) {
    EXPECT_NEAR(p.x, q.x, 0.01);
    EXPECT_NEAR(p.y, q.y, 0.01);
  };
  const CData &xLines = grid.Child(Tok::XLines), &yLines = grid.Child(Tok::YLines);
  expectNear(point(xLines, 0), corners[1]);
  expectNear(point(xLines, 1), corners[0]);
  expectNear(point(xLines, 17), corners[3]);
  expectNear(point(yLines, 1), corners[2]);
  expectNear(point(yLines, 16), corners[0]);
  const CData& plane = tree.Child(Tok::Info).Child(Tok::Plane0).Child(Tok::Points);
  const CData& heads = tree.Child(Tok::Info).Child(Tok::Plane1).Child(Tok::Points);
  for (std::uint64_t i = 0; i < 4; ++i) {
    expectNear(point(plane, i), corners[i]);
    CPointF head;
    ASSERT_TRUE(calibrator.Head(corners[i], 1.8F, head));
    expectNear(point(heads, i), head);
  }
  const CData& horizon = tree.Child(Tok::Info).Child(Tok::Horizon).Child(Tok::Points);
  const CPointF left = point(horizon, 0), right = point(horizon, 1);
  EXPECT_EQ(left.x, 0);
  EXPECT_EQ(right.x, 16384);
  for (const float aside : {-5.0F, 5.0F}) {
    CPointF head;
    EXPECT_EQ(calibrator.Head({8192, (left.y + right.y) / 2 + aside}, 1, head), aside > 0);
  }
  // From above: everything is ground, and nothing has a height.
  CCalibrator2D above;
  above.Configure(Square(4000, 4000, 6000));
  CPointF ground;
  ASSERT_TRUE(above.GetGround({7000, 5000}, ground));
  EXPECT_NEAR(ground.x, 3.5, 1e-4);
  EXPECT_NEAR(ground.y, 17 * 5.0 / 6, 1e-4);
  EXPECT_EQ(Shape(above.GetConfig()), record);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Calibration, ComponentKeepsTheLastCalibrator) {
  CCalibration& component = *Get<CCalibration>();
  component.Calibrate({});
  EXPECT_EQ(lines.front(), Line(3, "[CALIB] Calibrating camera..."));
  EXPECT_EQ(lines.back(), Line(3, "[CALIB] Calibration finished! (0s)"));
  const std::shared_ptr<CCalibrator3D> former = component.GetCalibrator();
  component.Calibrate(Marks(1.8, {{4000, 8000, 4000, 6000}, {8000, 8000, 8000, 6000}}));
  EXPECT_FALSE(former->IsThreeDReady());
  EXPECT_TRUE(former->IsConfigured() && component.GetCalibrator()->IsThreeDReady());
  CAutoLock twice(former.get());
  EXPECT_TRUE(former->IsConfigured());
}

TEST_F(Calibration, ThreadsMeasureWhileOthersCalibrate) {
  CCalibration component;
  component.Calibrate({});
  std::atomic<bool> stop = false;
  std::thread measuring([&] {
    CPointF ground;
    while (!stop) {
      EXPECT_TRUE(component.GetCalibrator()->GetGround({7000, 7000}, ground));
      EXPECT_GT(component.GetCalibrator()->GetConfig().Count(), 10U);
    }
  });
  for (int i = 1; i <= 20; ++i) {
    component.Calibrate({});
    component.GetCalibrator()->Configure(
        Marks(1 + i % 2, {{4000, 8000, 4000, 6000}, {8000, 8000, 8000, 6000}}));
  }
  stop = true;
  measuring.join();
}

}  // namespace
