#include "main/lib/alarm_mgr/a_alarm_detector_video.h"
#include "main/lib/vca/old_vca_utils/simple_motion.h"
#include "tests/support/export_fixture.h"

#include <sstream>

using namespace ztlib;

namespace {

constexpr std::int64_t epochOffset = 11644473600000;
constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();

class Motion : public ExportTest {
 protected:
  // A gray plane of value 100, in which `moving` pixels from row 1 on have the value 200.
  struct Plane {
    Plane(std::int64_t width, std::int64_t height, int moving = 0)
        : bytes(static_cast<std::size_t>((width + 3) / 4 * 4 * height), 100),
          view{width, height, bytes.data(), (width + 3) / 4 * 4} {
      for (int i = 0; i < moving; ++i)
        bytes[static_cast<std::size_t>((1 + i / width) * view.stride + i % width)] = 200;
    }
    Bytes bytes;
    GrayView view;
  };

  // Returns metadata of another device: a bitmap in which the first `set` pixels move.
  static CData Blob(int set, std::uint32_t width = 40, std::uint32_t height = 25,
                    std::uint32_t version = 1, std::uint32_t kind = 0, std::uint32_t size = 173) {
    Bytes bytes = Words(std::max(size, 32U), {version, size, 0, 0, kind, width, height});
    for (int i = 0; i < set; ++i)
      bytes[static_cast<std::size_t>(32 + i / 8)] |= 1 << i % 8;
    CData item;
    item.AddBinary(Tok::Motion, std::make_shared<CBinData>(bytes.data(), size));
    return item;
  }

  // Writes the names of a tree, and the values of numbers.
  static std::string Shape(const CData& tree) {
    std::string text;
    for (const CDataElement& element : tree.Elements()) {
      const CDataValue& value = element.value;
      std::ostringstream out;
      out << tree.KeyText(element.key);
      if (const CData* const node = value.GetNode()) out << "{" << Shape(*node) << "}";
      if (value.GetKind() == cdBool) out << ":" << value.GetBool();
      if (value.GetKind() == cdInt) out << ":" << value.GetInt();
      if (value.GetKind() == cdLongLong) out << ":" << value.GetLongLong();
      if (value.GetKind() == cdDouble) out << ":" << value.GetDouble();
      if (value.GetKind() == cdTime) out << ":" << value.GetTime();
      text += out.str() + " ";
    }
    return text;
  }
};

TEST_F(Motion, SignalComesAndGoesInTime) {
  struct Frame {
    std::int64_t time;
    int percent;
    bool signal;
    double progress;
  };
  // Each case has the violation time, then frames. A percentage above the restore threshold starts
  // the restore again. The clock may stand, go back, or have the value that means "not running".
  // clang-format off
  const std::pair<std::int64_t, std::vector<Frame>> cases[] = {
      {0, {{0, 9, false, 0}, {10, 10, true, 1}, {20, 7, true, 1}, {30, 6, true, 1},
           {3030, 6, true, 1}, {3031, 6, false, 0}, {3032, 6, false, 0}, {3033, 10, true, 1}}},
      {-5, {{0, 10, true, 1}, {1, 6, true, 1}, {2900, 7, true, 1}, {2950, 0, true, 1},
            {5950, 0, true, 1}, {5951, 0, false, 0}}},
      {1000, {{0, 10, false, 0}, {250, 20, false, 25}, {500, 9, false, 0}, {600, 10, false, 0},
              {1500, 10, false, 90}, {1600, 10, true, 1}, {1700, 0, true, 1}, {700, 0, true, 10},
              {500, 0, true, -10}, {4701, 0, false, 0}}},
      {0, {{-1, 10, true, 0}, {5, 10, true, 0}}},
      {0, {{50, 10, true, 1}, {50, 10, true, 1}, {20, 10, true, -INFINITY}}},
      {1000, {{-1, 10, false, 0}, {1, 10, false, 0}, {1001, 10, true, 1}}},
      {1000, {{latest - 1, 10, false, 0}, {-latest - 1, 10, false, 0.2}}},
  };
  // clang-format on
  for (const auto& [violation, frames] : cases) {
    CSingleSimpleMotion detector;
    CData item;
    item.AddDouble(Tok::MotionPercent, 10.0);
    item.AddLongLong(Tok::ViolationTimeMs, violation);
    ASSERT_TRUE(detector.Configure(item, {40, 25}));
    for (const Frame& frame : frames) {
      CData result;
      // The mask is the whole frame except its last row and column.
      const CData blob = Blob(frame.percent * 10 + frame.percent * 10 / 39);
      EXPECT_EQ(detector.VirtualProcessAndDecide(result, blob, {0, 0, frame.time}), frame.signal)
          << frame.time << " of " << violation;
      EXPECT_EQ(detector.GetProgress(), static_cast<float>(frame.progress)) << frame.time;
      EXPECT_NEAR(result.GetDouble(Tok::DetectPercent, -1), frame.percent, 1e-6);
    }
  }
  ExpectNoFailure();
}

TEST_F(Motion, NothingIsFoundBeforeTheWarmUpEndsAndTheModelHasLearned) {
  // Each case has the first time, the step, and the first frame with a percentage.
  const std::tuple<std::int64_t, std::uint64_t, int> cases[] = {
      {1000, 100, 32}, {0, 100, 33}, {5, 1, 3101}, {-3000, 500, 31}, {latest - 9, 100, 32}};
  for (const auto& [first, step, found] : cases) {
    CSingleSimpleMotion detector;
    detector.Configure({}, {40, 24});
    auto time = static_cast<std::uint64_t>(first);
    for (int number = 0; number <= found; ++number, time += step) {
      const Plane plane(40, 24, number >= std::max(31, found - 1) ? 30 : 0);
      detector.ProcessAndDecide(plane.view, {1, 2, static_cast<std::int64_t>(time)});
      ASSERT_EQ(detector.GetPercent(), number == found ? 3000.0F / (39 * 23) : 0.0F)
          << number << " from " << first;
    }
  }
}

TEST_F(Motion, BlobsOfUnknownFormCountAsNothing) {
  CSingleSimpleMotion detector;
  CData result;
  detector.VirtualProcess(result, {});
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].second.ends_with(": ! IsConfigured()should be false!"));
  Forget();
  detector.Configure({}, {40, 25});
  for (const CData& blob :
       {Blob(80, 40, 25, 2), Blob(80, 40, 25, 1, 1), Blob(80, 40, 25, 1, 0, 156), Blob(80, 0, 25),
        Blob(80, 0x80000000, 0x80000000), Blob(80, 0x7FFFFFFF, 0x7FFFFFFF)}) {
    EXPECT_EQ(detector.VirtualProcess(result, blob), 0.0F);
    EXPECT_EQ(lines, (std::vector<Line>{{1, "Unknown motion image!"}}));
    Forget();
  }
  EXPECT_GT(detector.VirtualProcess(result, Blob(80, 40, 25, 1, 0, 157)), 0.0F);
  for (const std::uint32_t size : {0U, 31U, 35U})
    EXPECT_EQ(TextOf<std::out_of_range>(
                  [&] { detector.VirtualProcess(result, Blob(0, 40, 25, 1, 0, size)); }),
              "vector::_M_range_check: __n (which is 35) >= this->size() (which is " +
                  std::to_string(size) + ")");
  EXPECT_EQ(detector.VirtualProcess(result, {}), 0.0F);
  ExpectNoFailure();
}

TEST_F(Motion, ThresholdsHaveALeastAndAreWarnedOfOutOfReach) {
  // Two pixels are needed in a small picture by default, and in a large one at the least threshold.
  CData least, result;
  least.AddDouble(Tok::MotionPercent, 0);
  for (const bool isLeast : {false, true}) {
    CSingleSimpleMotion detector;
    const std::uint32_t width = isLeast ? 200 : 40, height = isLeast ? 600 : 25;
    for (const int pixels : {1, 2, 1}) {
      detector.Configure(isLeast ? least : CData(), {width, height});  // ends a signal
      const CData blob = Blob(pixels, width, height, 1, 0, width * height / 8 + 48);
      EXPECT_EQ(detector.VirtualProcessAndDecide(result, blob, {0, 0, 1}), pixels == 2) << width;
    }
  }
  // Each case has the number of warnings, which come in this order.
  const std::vector<Line> warnings{{2, "Alarm signal is not possible in this configuration!"},
                                   {2, "VCA stay in restore forever in this configuration!"}};
  const std::tuple<double, Size, int> cases[] = {{0.2, {160, 120}, 0},      {99, {160, 120}, 1},
                                                 {150, {160, 120}, 2},      {0.2, {1, 9}, 2},
                                                 {std::nan(""), {9, 9}, 0}, {0.2, {0, 0}, 0}};
  for (const auto& [percent, size, count] : cases) {
    CSingleSimpleMotion detector;
    CData item;
    item.AddDouble(Tok::MotionPercent, percent);
    EXPECT_TRUE(detector.Configure(item, size));
    EXPECT_EQ(lines, std::vector<Line>(warnings.begin(), warnings.begin() + count)) << percent;
    Forget();
  }
}

// Tests the context through its exports, with the result as a tree.
class MotionContext : public Motion {
 protected:
  void Configure(const CData& tree, int width = 40, int height = 24) {
    const CBinData bytes = ToTagged(tree);
    const ztlib_blob blob{bytes.Data(), bytes.Size()};
    ztlib_simplemotion_configure(context.get(), &blob, width, height);
  }
  CData Detect(const Plane& plane, std::int64_t time, bool expectedSignal = false) {
    const kit::Image image = NewImage(ZTLIB_GRAY, static_cast<int>(plane.view.width),
                                      static_cast<int>(plane.view.height), plane.bytes);
    Output output;
    EXPECT_EQ(ztlib_simplemotion_detect(context.get(), &output, Output::Receive, image.get(),
                                        time + epochOffset),
              expectedSignal);
    EXPECT_EQ(output.calls, 1);
    CData tree;
    ParseTagged(tree, output.bytes.data(), output.bytes.size());
    return tree;
  }
  CData DetectAfterWarmUp(bool expectedSignal) {
    for (int i = 0; i < 40; ++i)
      Detect(Plane(40, 24), i * 100 + 1);
    return Detect(Plane(40, 24, 30), 4100, expectedSignal);
  }

  const std::unique_ptr<void, void (*)(void*)> context{ztlib_simplemotion_create(),
                                                       ztlib_simplemotion_destroy};
};

TEST_F(MotionContext, ResultTree) {
  EXPECT_EQ(Detect(Plane(40, 24), 0).Count(), 0U);  // not configured
  Configure({});
  EXPECT_EQ(Shape(DetectAfterWarmUp(true)),
            "Motions{{Motion Masks{} DetectPercent:3.34448 AlarmPercent:1 } } AlarmPercent:1 "
            "DetectPercent:3.34448 Version:131072 TimestampMs:11644473604100 Predicted:0 "
            "Resolution{Width:40 Height:24 } ");
  // After a change of size the model learns again, but there is no second warm-up.
  for (int i = 0; i < 31; ++i)
    Detect(Plane(64, 50), 5000 + i, true);
  const CData other = Detect(Plane(64, 50, 200), latest - epochOffset, true);
  EXPECT_EQ(other.GetDouble(Tok::DetectPercent, 0), 20000.0F / (39 * 23));
  EXPECT_EQ(other.At(4).value.GetTime(), std::uint64_t{latest});

  // Of nine detectors eight stay. Their own times have no effect, but each has its threshold.
  CData tree;
  tree.AddLongLong(Tok::ViolationTimeMs, 1000);
  CData& configs = tree.AddChild(Tok::Configs);
  for (int i = 0; i < 9; ++i) {
    configs.AddInt(Tok::Empty, i);  // no detector
    CData& item = configs.AddChild(Tok::Empty);
    item.AddDouble(Tok::MotionPercent, i);
    item.AddLongLong(Tok::ViolationTimeMs, 77);
  }
  Configure(tree);
  DetectAfterWarmUp(false);
  const CData result = Detect(Plane(40, 24, 30), 4600);
  ASSERT_EQ(result.Child(Tok::Motions).Count(), 8U);
  for (unsigned i = 0; i < 8; ++i)
    EXPECT_EQ(result.Child(Tok::Motions).At(i).value.GetNode()->GetDouble(Tok::AlarmPercent, -1),
              i <= 3 ? 50.0 : 0.0);
  EXPECT_EQ(result.GetDouble(Tok::AlarmPercent, 0), 50.0);
  Detect(Plane(40, 24, 30), 5100, true);

  // Absent keys keep their values: there are still eight detectors, but no metadata.
  tree.Clear();
  tree.AddBool(Tok::GenerateMetadata, false);
  tree.AddLongLong(Tok::ViolationTimeMs, 0);
  Configure(tree);
  EXPECT_EQ(Shape(DetectAfterWarmUp(true)), "Motions{} ");
  ExpectNoFailure();

  // A detector that cannot be built ends the list.
  CData hostile;
  CData& list = hostile.AddChild(Tok::Configs);
  list.AddChild(Tok::Empty).AddDouble(Tok::Sensitivity, std::nan(""));
  list.AddChild(Tok::Empty).AddChild(Tok::Masks).AddInt(Tok::Empty, 3);
  list.AddChild(Tok::Empty);
  hostile.AddBool(Tok::GenerateMetadata, true);
  Configure(hostile);
  ExpectFailure("ztlib_simplemotion_configure", "main/lib/base/cdata/HAData", "Unknown token: 0");
  EXPECT_EQ(DetectAfterWarmUp(true).Child(Tok::Motions).Count(), 2U);
}

TEST_F(Motion, ListIsWhatTheDetectorsTookAndResetStartsAnew) {
  CImageDataCache cache;
  const Plane plane(40, 24, 30);
  cache.SetFrame({{0, 0, 5}, 0, 40, 24, plane.bytes.data(), nullptr, nullptr});
  CVCASimpleMotion analysis(nullptr, &cache);
  CData output, tree, input, result;
  EXPECT_EQ(analysis.Process(output).message, "Detector has not configured!");
  tree.AddLongLong(Tok::RestoreDelayMs, 50);
  tree.AddLongLong(Tok::ViolationTimeMs, 70);
  CData& item =
      tree.AddChild(Tok::Configs).AddChild(Tok::Empty);  // whose own settings do not count
  item.AddLongLong(Tok::ViolationTimeMs, 1);
  item.AddLongLong(Tok::RestoreDelayMs, 1);
  item.AddBool(Tok::GenerateMetadata, false);
  EXPECT_TRUE(analysis.Configure(tree).Succeeded());
  for (int round = 0; round < 2; ++round) {
    CData exported;
    analysis.ExportConfiguration(exported, Tok::Config);
    // The restore delay is the same for every configuration.
    EXPECT_EQ(Shape(exported),
              "Config{ViolationTimeMs:70 RestoreDelayMs:3000 GenerateMetadata:1 "
              "Configs{{GenerateMetadata:1 ViolationTimeMs:70 RestoreDelayMs:3000 } } } ");
    EXPECT_EQ(analysis.GetConfigurationCopy().Count(), 3U);
    analysis.Process(output);
    analysis.Reset();
  }

  // Metadata of another device counts as far as there are detectors for its children.
  CData& motions = input.AddChild(Tok::Motions);
  for (int i = 0; i < 3; ++i)
    motions.AddChild(Tok::Empty, Blob(800));
  for (const std::int32_t version : {0x10000, 0x10001}) {
    EXPECT_FALSE(analysis.VirtualProcess(result, input, {0, 0, 10}));
    EXPECT_EQ(result.Count(), 0U);
    input.RemoveAll(Tok::Version);
    input.AddInt(Tok::Version, version);
  }
  EXPECT_FALSE(analysis.VirtualProcess(result, input, {0, 0, 10}));
  EXPECT_TRUE(analysis.VirtualProcess(result, input, {0, 0, 80}));
  EXPECT_EQ(Shape(result), "Motions{{DetectPercent:78 } {DetectPercent:78 } } ");
  EXPECT_EQ(analysis.GetState(), 3);
  ExpectNoFailure();
}

TEST_F(Motion, FailedConfigurationGoesBackToTheOneBefore) {
  struct Analysis : AVCABase {
    explicit Analysis(ACDataFairy& record) : AVCABase(nullptr, nullptr, &record) {}
    CResultRecord VirtualConfigure() override {
      return failures-- > 0 ? CResultRecord{4, "", std::to_string(failures)} : CResultRecord{};
    }
    int failures = 0;
  };
  CVCASimpleMotionConfiguration record;
  AAlarmDetectorVideoConfiguration detectorRecord;
  Analysis analysis(record);
  AAlarmDetectorVideo detector(&detectorRecord, nullptr, &analysis);
  const auto configure = [&](int failures, double fps, std::int64_t violation) {
    analysis.failures = failures;
    CData tree;
    tree.AddDouble(Tok::FpsLimit, fps);
    tree.AddLongLong(Tok::ViolationTimeMs, violation);
    tree.AddString(Tok::DisplayName, "north gate");
    return detector.Configure(tree, false).message;
  };
  for (const auto& [item, most] : {std::pair(&record.violationTimeMs, 100000),
                                   {&record.restoreDelayMs, 100000},
                                   {&detectorRecord.violationTimeMs, 60000000},
                                   {&detectorRecord.restoreDelayMs, 60000000}})
    EXPECT_TRUE(item->Contains(0) && item->Contains(most) && !item->Contains(-1) &&
                !item->Contains(most + 1));
  EXPECT_EQ(Shape(detectorRecord.ToCData({})),
            "Class Version:131072 DetectorClassID:-405786987 BuiltIn:0 DetectorID DisplayName "
            "Description ViolationTimeMs:0 RestoreDelayMs:0 FpsLimit:0 Enabled:1 ");
  EXPECT_EQ(configure(1, 2, 9), "0");  // back to the defaults
  EXPECT_EQ(record.violationTimeMs.Get(), 0);
  EXPECT_EQ(configure(0, 3, 8), "");
  EXPECT_EQ(configure(1, 4, 7), "0");
  EXPECT_EQ(detector.GetFrameIntervalMs(), 333);
  EXPECT_EQ(record.violationTimeMs.Get(), 8);
  ExpectNoFailure();
  EXPECT_EQ(configure(2, 4, 7), "1");
  EXPECT_FALSE(analysis.IsConfigured());
  EXPECT_EQ(
      lines,
      (std::vector<Line>{{2, "Configuration failed and fallback config invalid! north gate"}}));
  const std::pair<double, std::int64_t> intervals[] = {
      {-1, 0}, {25, 40}, {0x1p-63 * 1000, latest}, {1e-300, latest}, {std::nan(""), 0}};
  for (const auto& [fps, interval] : intervals) {
    EXPECT_EQ(configure(0, fps, 1), "");
    EXPECT_EQ(detector.GetFrameIntervalMs(), interval) << fps;
  }
}

TEST_F(Motion, NamesOfStatesAndEvents) {
  std::string names;
  for (std::int32_t value = -1; value <= 7; ++value) {
    const char* const event = DetectorEventType::ToText(value);
    names += DetectorState::ToText(value) + std::string(" ");
    if (value < 4) names += event + std::to_string(DetectorEventType::FromText(event)) + " ";
  }
  EXPECT_EQ(names,
            "dsError detUnknown3 dsNotConfigured detSimpleEvent0 dsInit detSignal1 dsError "
            "detRestore2 dsUnableToOperate detUnknown3 dsNormal dsSignal dsDisabled dsError ");
  EXPECT_EQ(lines, std::vector<Line>(2, {1, "Undefined state"}));
}

}  // namespace
