#include "main/lib/vca/old_vca_utils/motion_background.h"

#include "main/lib/base/debug.h"
#include "main/lib/vca/old_vca_utils/motion_blob.h"
#include "main/lib/vca/old_vca_utils/motion_kernels.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

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

// Two models with equal settings that see the same frames stay equal for ever.
struct Settings {
  float sensitivity = 70.0F;
  bool highVarianceReduction = true;
  bool meltinReduction = false;
  bool alternativeVarianceHandling = false;
  bool forbidHighSensitivityStart = true;
  bool binaryOutputMode = true;
};

bool AreSame(const Settings& a, const Settings& b) {
  return std::bit_cast<std::uint32_t>(a.sensitivity) ==
             std::bit_cast<std::uint32_t>(b.sensitivity) &&
         a.highVarianceReduction == b.highVarianceReduction &&
         a.meltinReduction == b.meltinReduction &&
         a.alternativeVarianceHandling == b.alternativeVarianceHandling &&
         a.forbidHighSensitivityStart == b.forbidHighSensitivityStart &&
         a.binaryOutputMode == b.binaryOutputMode;
}

}  // namespace

struct CMotionBackground::Planes {
  Planes() = default;
  explicit Planes(const Size& size)
      : mean(ZeroImage<float>(size)),
        variance(ZeroImage<float>(size)),
        motion(ZeroImage<unsigned char>(size)),
        // A plane without columns has no rows to walk.
        rowMoves(static_cast<std::size_t>(size.width > 0 ? size.height : 0)),
        bits(static_cast<std::size_t>(size.width * size.height / 64 + 1)),
        width(size.width),
        height(size.height) {}
  [[nodiscard]] bool Fit(const Size& size) const {
    return width == size.width && height == size.height;
  }

  FloatImage mean;
  FloatImage variance;
  ByteImage motion;
  std::vector<std::uint8_t> rowMoves;  // whether any pixel of a row was in motion
  std::vector<std::uint64_t> bits;     // of the motion bytes, as they travel in results
  std::int64_t width = 0;
  std::int64_t height = 0;
};

struct CMotionBackground::Model {
  void StartLearning(Planes&& newPlanes);
  void TakeFrame(const GrayView& image, std::int64_t now);
  // The rates and the threshold of a frame.
  [[nodiscard]] MotionStep ChooseStep(std::int64_t now);
  void Learn(const GrayView& image);
  void FinishLearning(std::int64_t now);
  void Classify(const GrayView& image, const MotionStep& step);
  [[nodiscard]] std::int64_t CountUnder(const CMask& mask) const;

  Settings settings;
  Planes planes;
  std::optional<Planes> nextPlanes;  // for a frame of another size, which starts learning again
  std::int64_t lastTimeMs = 0;
  std::int64_t reducedUntilMs = 0;  // a noisy scene lowers the threshold until then
  std::int64_t startupUntilMs = 0;
  float frameRate = 0;
  std::int64_t movingCount = 0;  // of the last frame, speckles left out
  std::int64_t highVarianceCount = 0;
  std::int64_t learnedFrames = 0;
  bool quietScene = true;
  bool lightChange = true;
};

CMotionBackground::CMotionBackground() : model(std::make_shared<Model>()) {}

CMotionBackground::~CMotionBackground() = default;

void CMotionBackground::ReadSettings(const CData& item) {
  Settings& settings = model->settings;
  settings.sensitivity = static_cast<float>(item.GetDouble(Tok::Sensitivity, 70.0));
  settings.highVarianceReduction = item.GetBool(Tok::HighVarianceReduction, true);
  settings.meltinReduction = item.GetBool(Tok::MeltinReduction, false);
  settings.alternativeVarianceHandling = item.GetBool(Tok::AlternativeVarianceHandling, false);
  settings.forbidHighSensitivityStart = item.GetBool(Tok::ForbidHighSensitivityStart, true);
  settings.binaryOutputMode = item.GetBool(Tok::BinaryOutputMode, true);
}

bool CMotionBackground::Follow(const CMotionBackground& leader) {
  if (!AreSame(model->settings, leader.model->settings)) return false;
  model = leader.model;
  leads = false;
  return true;
}

void CMotionBackground::ConfigureFromData(const CData& item, const Size& size) {
  ReadSettings(item);
  Rebuild(size);
}

void CMotionBackground::Rebuild(const Size& size) {
  model->StartLearning(Planes(size));
}

void CMotionBackground::Prepare(const Size& size) {
  if (model->planes.Fit(size))
    model->nextPlanes.reset();
  else if (!model->nextPlanes || !model->nextPlanes->Fit(size))
    model->nextPlanes.emplace(size);
}

std::int64_t CMotionBackground::ProcessImage(const GrayView& image, const std::int64_t* timeMs,
                                             const CMask* mask) {
  if (leads) {
    if (!image.data && image.width > 0 && image.height > 0)
      ZT_THROW(CException, "Using null-pointer", "ProcessImage", source, 134);
    Prepare({image.width, image.height});
    model->TakeFrame(image, *timeMs);
  }
  return mask ? model->CountUnder(*mask) : model->movingCount;
}

const ByteImage& CMotionBackground::GetMotion() const {
  return model->planes.motion;
}

const std::uint64_t* CMotionBackground::GetMotionBits() const {
  return model->planes.bits.data();
}

const FloatImage& CMotionBackground::GetMean() const {
  return model->planes.mean;
}

const FloatImage& CMotionBackground::GetVariance() const {
  return model->planes.variance;
}

std::int64_t CMotionBackground::GetHighVarianceCount() const {
  return model->highVarianceCount;
}

bool CMotionBackground::IsLightChange() const {
  return model->lightChange;
}

float CMotionBackground::GetFrameRate() const {
  return model->frameRate;
}

// The new planes are complete by now: a model is never half of each.
void CMotionBackground::Model::StartLearning(Planes&& newPlanes) {
  planes = std::move(newPlanes);
  nextPlanes.reset();
  learnedFrames = 0;
}

MotionStep CMotionBackground::Model::ChooseStep(std::int64_t now) {
  const auto elapsed = [](std::int64_t from, std::int64_t to) {
    return static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
  };
  if (now < lastTimeMs) reducedUntilMs = startupUntilMs = now;
  const float root = (10.0F - settings.sensitivity / 10.0F) * 0.5F + 2.5F;
  const float baseThreshold = root * root;
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
  float ceiling = settings.meltinReduction ? 100.0F : 65000.0F;
  if (now < startupUntilMs && settings.forbidHighSensitivityStart) {
    threshold = startupThreshold;
  } else if (now < reducedUntilMs) {
    threshold = baseThreshold * 0.5F;
    slowFactor = 0.05F;
    ceiling = reducedCeiling;
  }
  if (settings.meltinReduction) {
    threshold = baseThreshold * 0.5F;
    slowFactor = 0.05F;
  }
  if (settings.alternativeVarianceHandling && !quietScene) {
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

void CMotionBackground::Model::TakeFrame(const GrayView& image, std::int64_t now) {
  if (nextPlanes) StartLearning(std::move(*nextPlanes));
  const MotionStep step = ChooseStep(now);
  movingCount = 0;
  highVarianceCount = 0;

  const FlushDenormals guard;
  if (learnedFrames < framesToLearn) Learn(image);
  if (learnedFrames == framesToLearn) FinishLearning(now);
  if (learnedFrames == learningDone) {
    Classify(image, step);
    const auto pixels = static_cast<double>(planes.width * planes.height);
    const auto noisy = static_cast<double>(highVarianceCount);
    if (settings.highVarianceReduction && noisy > 0.25 * pixels && now > reducedUntilMs)
      reducedUntilMs = LaterBy(now, reducedMs);
    if (settings.alternativeVarianceHandling) quietScene = noisy < 0.05 * pixels;
  }
  lastTimeMs = now;
}

void CMotionBackground::Model::Learn(const GrayView& image) {
  const auto frame = static_cast<float>(learnedFrames + 1);
  const auto rows = static_cast<std::int64_t>(planes.rowMoves.size());
  float* const means = planes.mean.GetWritePtr();
  float* const variances = planes.variance.GetWritePtr();
  for (std::int64_t y = 0; y < rows; ++y) {
    const std::int64_t row = y * planes.mean.GetScanline();
    KernelsFor<MotionKernels>().learn(means + row, variances + row, image.data + y * image.stride,
                                      static_cast<std::size_t>(planes.width), frame);
  }
  ++learnedFrames;
}

void CMotionBackground::Model::FinishLearning(std::int64_t now) {
  // The padding of rows is zero and stays so.
  const auto count = static_cast<std::size_t>(planes.mean.GetScanline() * planes.height);
  KernelsFor<MotionKernels>().scale(planes.mean.GetWritePtr(), count, 1.0F / framesToLearn);
  KernelsFor<MotionKernels>().scale(planes.variance.GetWritePtr(), count, 1.0F / framesToLearn);
  learnedFrames = learningDone;
  startupUntilMs = LaterBy(now, startupMs);
  reducedUntilMs = now;
}

void CMotionBackground::Model::Classify(const GrayView& image, const MotionStep& step) {
  const MotionKernels& kernels = KernelsFor<MotionKernels>();
  const auto classify = settings.binaryOutputMode ? kernels.classifyBinary : kernels.classifyGraded;
  const auto columns = static_cast<std::size_t>(planes.width);
  const std::int64_t stride = planes.motion.GetScanline();
  float* const means = planes.mean.GetWritePtr();
  float* const variances = planes.variance.GetWritePtr();
  std::uint8_t* const bytes = planes.motion.GetWritePtr();
  std::vector<std::uint8_t>& rowMoves = planes.rowMoves;
  CMotionPacker packer(planes.bits.data(), planes.width);
  const auto pack = [&](std::size_t y) {
    packer.AddRow(rowMoves[y] ? bytes + static_cast<std::int64_t>(y) * stride : nullptr);
  };
  MotionCounts counts;
  std::int64_t cleared = 0;
  for (std::size_t y = 0; y < rowMoves.size(); ++y) {
    const auto row = static_cast<std::int64_t>(y);
    const std::int64_t before = counts.motion;
    classify(means + row * stride, variances + row * stride, bytes + row * stride,
             image.data + row * image.stride, columns, step, counts);
    rowMoves[y] = counts.motion != before;
    // By now all neighbours of the row before are known, and it is still in the cache.
    if (settings.binaryOutputMode && y >= 2 && rowMoves[y - 1])
      cleared += kernels.despeckle(bytes + (row - 1) * stride, stride, columns);
    if (y >= 1) pack(y - 1);
  }
  if (!rowMoves.empty()) pack(rowMoves.size() - 1);
  packer.Finish();
  movingCount = counts.motion - cleared;
  highVarianceCount = counts.highVariance;
  lightChange = planes.width * planes.height / 4 < counts.bigChange;
}

std::int64_t CMotionBackground::Model::CountUnder(const CMask& mask) const {
  const MotionKernels& kernels = KernelsFor<MotionKernels>();
  const std::size_t rows =
      std::min(planes.rowMoves.size(), static_cast<std::size_t>(mask.GetHeight()));
  std::int64_t count = 0;
  for (std::size_t y = 0; y < rows; ++y) {
    if (!planes.rowMoves[y]) continue;
    const std::uint8_t* const row =
        planes.motion.GetPtr() + static_cast<std::int64_t>(y) * planes.motion.GetScanline();
    for (const CMaskRun& run : mask.GetRow(static_cast<int>(y))) {
      const std::int64_t end = std::min<std::int64_t>(run.end, planes.width);
      if (run.start < end)
        count += kernels.countSet(row + run.start, static_cast<std::size_t>(end - run.start));
    }
  }
  return count;
}

}  // namespace ztlib
