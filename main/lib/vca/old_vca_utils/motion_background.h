#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/image_rw.h"
#include "main/lib/imgproc/gray_view.h"
#include "main/lib/imgproc/mask.h"

#include <cstdint>

namespace ztlib {

using ByteImage = TCImageX<unsigned char, long long>;
using FloatImage = TCImageX<float, long long>;

struct MotionStep;

// A background model of one gray plane: a mean and a variance for each pixel, learned over the
// first 32 frames and followed from then on. A pixel is in motion when its squared deviation leaves
// the band that the variance gives. One thread at a time.
class CMotionBackground {
 public:
  CMotionBackground();

  // Reads the settings and starts learning for planes of that size.
  void ConfigureFromData(const CData& item, const Size& size);
  // Starts learning again. Times and what is known about the scene stay. Throws std::bad_alloc,
  // and the model is then as before.
  void Rebuild(const Size& size);
  // Takes in a frame and returns its number of moving pixels, with a mask only of those under it; 0
  // while learning. A plane of another size than the model's starts it again. A plane without
  // memory throws "Using null-pointer".
  std::int64_t ProcessImage(const GrayView& image, const std::int64_t* timeMs,
                            const CMask* mask = nullptr);

  // The moving pixels of the last frame: 0 for background, else 255 or the grade.
  [[nodiscard]] const ByteImage& GetMotion() const { return motion; }
  // The statistics of each pixel; while the model learns, they are sums.
  [[nodiscard]] const FloatImage& GetMean() const { return mean; }
  [[nodiscard]] const FloatImage& GetVariance() const { return variance; }
  // Pixels of the last frame whose variance is more than noise.
  [[nodiscard]] std::int64_t GetHighVarianceCount() const { return highVarianceCount; }
  // Whether a quarter of the last frame changed strongly at once.
  [[nodiscard]] bool IsLightChange() const { return lightChange; }
  // Frames a second, by the last two frames.
  [[nodiscard]] float GetFrameRate() const { return frameRate; }

 private:
  // The rates and the threshold of a frame.
  [[nodiscard]] MotionStep ChooseStep(std::int64_t now);
  void Learn(const GrayView& image);
  void FinishLearning(std::int64_t now);
  // Returns the moving pixels that count, speckles left out.
  std::int64_t Classify(const GrayView& image, const MotionStep& step, const CMask* mask);
  [[nodiscard]] std::int64_t CountRow(std::int64_t y, const CMask& mask) const;

  // A plane without columns has no rows to walk.
  [[nodiscard]] std::int64_t RowCount() const { return width > 0 ? height : 0; }

  FloatImage mean;
  FloatImage variance;
  ByteImage motion;
  std::int64_t width = 0;
  std::int64_t height = 0;
  std::int64_t lastTimeMs = 0;
  std::int64_t reducedUntilMs = 0;  // a noisy scene lowers the threshold until then
  std::int64_t startupUntilMs = 0;
  float maxVariance = 0;
  float baseThreshold = 0;
  float frameRate = 0;
  float sensitivity = 0;
  std::int64_t highVarianceCount = 0;
  std::int64_t learnedFrames = 0;
  bool meltinReduction = false;
  bool highVarianceReduction = false;
  bool alternativeVarianceHandling = false;
  bool forbidHighSensitivityStart = true;
  bool binaryOutputMode = true;
  bool quietScene = true;
  bool configured = false;
  bool lightChange = true;
};

}  // namespace ztlib
