#include "main/lib/vca/old_vca_utils/motion_background.h"

#include "main/lib/base/debug.h"
#include "main/lib/vca/old_vca_utils/motion_kernels.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include <xmmintrin.h>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/vca/old_vca_utils/single_simple_motion";

constexpr int framesToLearn = 32;
constexpr int learningDone = framesToLearn + 1;
constexpr std::int64_t startupMs = 60000;
constexpr std::int64_t reducedMs = 5000;
constexpr std::int64_t longestStepMs = 1000;

constexpr float minDeviation = 100.0F;  // ten gray levels
constexpr float startupThreshold = 6.25F;
constexpr float reducedCeiling = 100.0F;
constexpr float slowestRate = 0.015625F;
constexpr float fastestRate = 0.125F;

// Statistics of a scene that stands still decay into denormal numbers, which the processor computes
// many times slower. They decide nothing, so they become zero within this scope.
class FlushDenormals {
 public:
  FlushDenormals() : saved(_mm_getcsr()) { _mm_setcsr(saved | flags); }
  ~FlushDenormals() { _mm_setcsr((_mm_getcsr() & ~flags) | (saved & flags)); }
  FlushDenormals(const FlushDenormals&) = delete;
  FlushDenormals& operator=(const FlushDenormals&) = delete;

 private:
  static constexpr unsigned flags = 0x8040;  // flush results, take operands as zero
  unsigned saved;
};

std::int64_t LaterBy(std::int64_t time, std::int64_t ms) {
  return time > std::numeric_limits<std::int64_t>::max() - ms
             ? std::numeric_limits<std::int64_t>::max()
             : time + ms;
}

template <class T>
TCImageX<T, long long> ZeroImage(const Size& size) {
  TCImageX<T, long long> image(size.width, size.height);
  if (image.Assigned())
    std::memset(image.GetWritePtr(), 0,
                static_cast<std::size_t>(image.GetScanline() * image.GetDy()) * sizeof(T));
  return image;
}

}  // namespace

CMotionBackground::CMotionBackground() = default;

void CMotionBackground::ConfigureFromData(const CData& item, const Size& size) {
  sensitivity = static_cast<float>(item.GetDouble(Tok::Sensitivity, 70.0));
  highVarianceReduction = item.GetBool(Tok::HighVarianceReduction, true);
  meltinReduction = item.GetBool(Tok::MeltinReduction, false);
  alternativeVarianceHandling = item.GetBool(Tok::AlternativeVarianceHandling, false);
  forbidHighSensitivityStart = item.GetBool(Tok::ForbidHighSensitivityStart, true);
  binaryOutputMode = item.GetBool(Tok::BinaryOutputMode, true);
  configured = true;
  Rebuild(size);
}

void CMotionBackground::Rebuild(const Size& size) {
  const float root = (10.0F - sensitivity / 10.0F) * 0.5F + 2.5F;
  baseThreshold = root * root;
  maxVariance = meltinReduction ? 100.0F : 65000.0F;

  // The old images stay until all new ones are there: a model is never half of each.
  FloatImage newMean = ZeroImage<float>(size);
  FloatImage newVariance = ZeroImage<float>(size);
  motion = ZeroImage<unsigned char>(size);
  mean = std::move(newMean);
  variance = std::move(newVariance);
  width = size.width;
  height = size.height;
  learnedFrames = 0;
}

MotionStep CMotionBackground::ChooseStep(std::int64_t now) {
  const auto elapsed = [](std::int64_t from, std::int64_t to) {
    return static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
  };
  if (now < lastTimeMs) reducedUntilMs = startupUntilMs = now;
  float rate = 0.5F;
  frameRate = 1.0F;
  if (now < lastTimeMs) {
    frameRate = 1000.0F / -static_cast<float>(elapsed(now, lastTimeMs));
    rate = 0.5F / frameRate;
  } else if (now != lastTimeMs && elapsed(lastTimeMs, now) <= longestStepMs) {
    frameRate = 1000.0F / static_cast<float>(elapsed(lastTimeMs, now));
    rate = 0.5F / frameRate;
  }

  float threshold = baseThreshold;
  float slowFactor = 0.025F;
  float ceiling = maxVariance;
  if (now < startupUntilMs && forbidHighSensitivityStart) {
    threshold = startupThreshold;
  } else if (now < reducedUntilMs) {
    threshold = baseThreshold * 0.5F;
    slowFactor = 0.05F;
    ceiling = reducedCeiling;
  }
  if (meltinReduction) {
    threshold = baseThreshold * 0.5F;
    slowFactor = 0.05F;
  }
  if (alternativeVarianceHandling && !quietScene) {
    threshold = baseThreshold * 2.25F;
    rate = rate * 2.0F;
    slowFactor = 0.05F;
  }
  rate = std::clamp(rate, slowestRate, fastestRate);
  return {.threshold = threshold,
          .ceiling = ceiling,
          .minDeviation = minDeviation,
          .fastRate = rate,
          .slowRate = rate * slowFactor};
}

std::int64_t CMotionBackground::ProcessImage(const GrayView& image, const std::int64_t* timeMs,
                                             const CMask* mask) {
  if (!image.data && image.width > 0 && image.height > 0)
    ZT_THROW(CException, "Using null-pointer", "ProcessImage", source, 134);
  const Size size{image.width, image.height};
  if (!configured) {
    ConfigureFromData(CData(), size);
  } else if (width != size.width || height != size.height) {
    Rebuild(size);
  }
  const std::int64_t now = *timeMs;
  const MotionStep step = ChooseStep(now);
  highVarianceCount = 0;

  const FlushDenormals guard;
  std::int64_t moving = 0;
  if (learnedFrames < framesToLearn) Learn(image);
  if (learnedFrames == framesToLearn) FinishLearning(now);
  if (learnedFrames == learningDone) {
    moving = Classify(image, step, mask);
    const auto pixels = static_cast<double>(width * height);
    const auto noisy = static_cast<double>(highVarianceCount);
    if (highVarianceReduction && noisy > 0.25 * pixels && now > reducedUntilMs)
      reducedUntilMs = LaterBy(now, reducedMs);
    if (alternativeVarianceHandling) quietScene = noisy < 0.05 * pixels;
  }
  lastTimeMs = now;
  return moving;
}

void CMotionBackground::Learn(const GrayView& image) {
  const auto frame = static_cast<float>(learnedFrames + 1);
  const std::int64_t rows = RowCount();
  float* const means = mean.GetWritePtr();
  float* const variances = variance.GetWritePtr();
  for (std::int64_t y = 0; y < rows; ++y) {
    const std::int64_t row = y * mean.GetScanline();
    KernelsFor<MotionKernels>().learn(means + row, variances + row, image.data + y * image.stride,
                                      static_cast<std::size_t>(width), frame);
  }
  ++learnedFrames;
}

void CMotionBackground::FinishLearning(std::int64_t now) {
  // The padding of rows is zero and stays so.
  const auto count = static_cast<std::size_t>(mean.GetScanline() * height);
  KernelsFor<MotionKernels>().scale(mean.GetWritePtr(), count, 1.0F / framesToLearn);
  KernelsFor<MotionKernels>().scale(variance.GetWritePtr(), count, 1.0F / framesToLearn);
  learnedFrames = learningDone;
  startupUntilMs = LaterBy(now, startupMs);
  reducedUntilMs = now;
}

std::int64_t CMotionBackground::Classify(const GrayView& image, const MotionStep& step,
                                         const CMask* mask) {
  const MotionKernels& kernels = KernelsFor<MotionKernels>();
  const auto classify = binaryOutputMode ? kernels.classifyBinary : kernels.classifyGraded;
  const auto columns = static_cast<std::size_t>(width);
  const std::int64_t stride = motion.GetScanline();
  const std::int64_t rows = RowCount();
  float* const means = mean.GetWritePtr();
  float* const variances = variance.GetWritePtr();
  std::uint8_t* const bytes = motion.GetWritePtr();
  MotionCounts counts;
  std::int64_t cleared = 0;
  std::int64_t masked = 0;
  bool rowBeforeMoves = false;
  for (std::int64_t y = 0; y < rows; ++y) {
    const std::int64_t before = counts.motion;
    classify(means + y * stride, variances + y * stride, bytes + y * stride,
             image.data + y * image.stride, columns, step, counts);
    // By now all neighbours of the row before are known, and it is still in the cache.
    if (rowBeforeMoves) {
      if (binaryOutputMode && y >= 2)
        cleared += kernels.despeckle(bytes + (y - 1) * stride, stride, columns);
      if (mask) masked += CountRow(y - 1, *mask);
    }
    rowBeforeMoves = counts.motion != before;
  }
  if (mask && rowBeforeMoves) masked += CountRow(rows - 1, *mask);
  highVarianceCount = counts.highVariance;
  lightChange = width * height / 4 < counts.bigChange;
  return mask ? masked : counts.motion - cleared;
}

std::int64_t CMotionBackground::CountRow(std::int64_t y, const CMask& mask) const {
  if (y >= mask.GetHeight()) return 0;
  const std::uint8_t* const row = motion.GetPtr() + y * motion.GetScanline();
  std::int64_t count = 0;
  for (const CMaskRun& run : mask.GetRow(static_cast<int>(y))) {
    const std::int64_t end = std::min<std::int64_t>(run.end, width);
    if (run.start < end)
      count += KernelsFor<MotionKernels>().countSet(row + run.start,
                                                    static_cast<std::size_t>(end - run.start));
  }
  return count;
}

}  // namespace ztlib
