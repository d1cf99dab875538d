#include "include/ztlib.h"
#include "main/lib/vca/old_vca_utils/simple_motion.h"
#include "tests/support/common.h"
#include "tests/support/counting_heap.h"

#include <random>

using namespace ztlib;

// Detectors of one analysis share models, and frames may fail for want of memory. Beside them each
// detector has an analysis of its own, which gets the frames that did not fail.
namespace {

using namespace counting_heap;

struct Watcher {
  explicit Watcher(CImageDataCache& cache) : analysis(nullptr, &cache) {}
  [[nodiscard]] CData Found() const {
    CData tree;
    ParseTagged(tree, bytes.data(), bytes.size());
    return tree;
  }
  CVCASimpleMotion analysis;
  std::vector<std::uint8_t> bytes;
};

class MotionSharing : public testing::TestWithParam<unsigned> {
 protected:
  static void SetUpTestSuite() {
    ztlib_registerLogger([](int, const char* text) { lines.emplace_back(text); });
  }
  MotionSharing() {
    for (int i = 0; i < 8; ++i)
      alone.push_back(std::make_unique<Watcher>(cache));
  }
  // True once in `chances`.
  bool Now(unsigned chances) { return random() % chances == 0; }

  CData NewDetector() {
    CData item;
    item.AddDouble(Tok::Sensitivity, Now(3) ? 90 : 70);
    item.AddDouble(Tok::MotionPercent, Now(2) ? 2 : 200);
    for (const Token name :
         {Tok::HighVarianceReduction, Tok::MeltinReduction, Tok::AlternativeVarianceHandling,
          Tok::ForbidHighSensitivityStart, Tok::BinaryOutputMode})
      if (Now(12)) item.AddBool(name, Now(2));
    const auto x = static_cast<std::int16_t>(random() % 16384);
    if (Now(2)) item.AddChild(Tok::Masks).AddShortArray(Tok::Empty, {x, 0, 16000, 3000, 0, 9000});
    return item;
  }
  void Configure() {
    CData common;
    common.AddBool(Tok::GenerateMetadata, !Now(6));
    common.AddLongLong(Tok::ViolationTimeMs, Now(2) ? 0 : 300);
    CData together(common);
    CData& list = together.AddChild(Tok::Configs);
    count = 1 + random() % 8;
    std::vector<std::string> linesAlone;
    for (unsigned i = 0; i < count; ++i) {
      const CData& item = list.AddChild(Tok::Empty, NewDetector());
      CData single(common);
      single.AddChild(Tok::Configs).AddChild(Tok::Empty, CData(item));
      alone[i]->analysis.Configure(single);
    }
    linesAlone.swap(lines);
    shared.analysis.Configure(together);
    EXPECT_EQ(lines, linesAlone);
    lines.clear();
  }

  void SetFrame() {
    if (Now(60)) width = Now(2) ? 64 : 37;
    time += Now(40) ? -900 : Now(4) ? 700 : 100;
    plane.assign(static_cast<std::size_t>(64 * 12), 100);
    for (std::uint8_t& pixel : plane)
      if (Now(isCalm ? 90 : 3)) pixel = static_cast<std::uint8_t>(random());
    if (Now(25)) isCalm = !isCalm;
    cache.SetFrame({{0, 0, time}, 0, width, 12, plane.data(), nullptr, nullptr, 64});
  }
  void Detect() {
    SetFrame();
    callsToFailure = Now(2) ? static_cast<int>(1 + random() % 40) : 0;
    try {
      shared.analysis.Detect(shared.bytes);
    } catch (const std::bad_alloc&) {
      ++failures;
      if (Now(2)) width = lastWidth;
      return;
    }
    callsToFailure = 0;
    lastWidth = width;
    bool signal = false;
    for (unsigned i = 0; i < count; ++i) {
      alone[i]->analysis.Detect(alone[i]->bytes);
      signal = signal || alone[i]->analysis.anySignal;
    }
    ASSERT_EQ(shared.analysis.anySignal, signal);
    ExpectSameMotions(shared.Found(), [](const Watcher& watcher) { return watcher.Found(); });
  }
  // The children of the first tree are the only ones of the others.
  template <class FoundBy>
  void ExpectSameMotions(const CData& found, FoundBy foundBy) {
    const CData& motions = found.Child(Tok::Motions);
    CData expected;
    for (unsigned i = 0; i < count; ++i) {
      const CData own = foundBy(*alone[i]);
      for (const CDataElement& element : own.Child(Tok::Motions).Elements())
        expected.AddChild(Tok::Empty, CData(*element.value.GetNode()));
      for (const Token most : {Tok::AlarmPercent, Tok::DetectPercent})
        EXPECT_GE(found.GetDouble(most, 0), own.GetDouble(most, 0));
    }
    const CBinData a = ToTagged(motions), b = ToTagged(expected);
    ASSERT_EQ(Bytes(a.Data(), a.Data() + a.Size()), Bytes(b.Data(), b.Data() + b.Size()));
  }
  // Everybody reads the last results as those of another device.
  void ReadMetadata() {
    const auto read = [&](Watcher& watcher) {
      CData result;
      result.AddChild(Tok::Motions);
      watcher.analysis.VirtualProcess(result, watcher.Found(), {0, 0, time});
      return result;
    };
    ExpectSameMotions(read(shared), read);
  }

  static inline std::vector<std::string> lines;
  std::mt19937 random{GetParam()};
  CImageDataCache cache;
  Watcher shared{cache};
  std::vector<std::unique_ptr<Watcher>> alone;
  unsigned count = 0;
  int failures = 0;
  Bytes plane;
  std::int64_t width = 64;
  std::int64_t lastWidth = 64;  // of a frame that did not fail
  std::int64_t time = 1000;
  bool isCalm = true;
};

TEST_P(MotionSharing, EveryDetectorFindsWhatItFindsAlone) {
  for (int step = 0; step < 1500 && !HasFatalFailure(); ++step) {
    SCOPED_TRACE(step);
    if (step > 0) Detect();
    if (step == 0 || Now(300)) Configure();
    if (Now(200)) ReadMetadata();
    if (!Now(300)) continue;
    shared.analysis.Reset();
    for (unsigned i = 0; i < count; ++i)
      alone[i]->analysis.Reset();
    lines.clear();
  }
  EXPECT_GT(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, MotionSharing, testing::Range(0U, 12U));

}  // namespace
