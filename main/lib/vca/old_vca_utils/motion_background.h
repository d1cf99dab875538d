#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/image_rw.h"
#include "main/lib/imgproc/gray_view.h"
#include "main/lib/imgproc/mask.h"

#include <cstdint>
#include <memory>

namespace ztlib {

using ByteImage = TCImageX<unsigned char, long long>;
using FloatImage = TCImageX<float, long long>;

// A background model of one gray plane: a mean and a variance for each pixel, learned over the
// first 32 frames and followed from then on. A pixel is in motion when its squared deviation leaves
// the band that the variance gives. Objects that see the same frames may share one model, which
// the first of them leads through the frames. One thread at a time.
class CMotionBackground {
 public:
  CMotionBackground();
  ~CMotionBackground();
  CMotionBackground(const CMotionBackground&) = delete;
  CMotionBackground& operator=(const CMotionBackground&) = delete;

  // Reads the settings and starts learning for planes of that size.
  void ConfigureFromData(const CData& item, const Size& size);
  // Starts learning again. Times and what is known about the scene stay. Throws std::bad_alloc,
  // and the model is then as before.
  void Rebuild(const Size& size);
  // Gets the memory that a frame of that size needs, so that ProcessImage will not fail for want of
  // it. Throws std::bad_alloc. Nothing else changes before the frame comes.
  void Prepare(const Size& size);
  // Takes in a frame and returns its number of moving pixels, with a mask only of those under it; 0
  // while learning. A plane of another size than the model's starts it again. A plane without
  // memory throws "Using null-pointer". An object that follows another one comes after it.
  std::int64_t ProcessImage(const GrayView& image, const std::int64_t* timeMs,
                            const CMask* mask = nullptr);

  // The moving pixels of the last frame: 0 for background, else 255 or the grade.
  [[nodiscard]] const ByteImage& GetMotion() const;
  // The same with one bit for each pixel, rows without padding, lowest bit first.
  [[nodiscard]] const std::uint64_t* GetMotionBits() const;
  // The statistics of each pixel; while the model learns, they are sums.
  [[nodiscard]] const FloatImage& GetMean() const;
  [[nodiscard]] const FloatImage& GetVariance() const;
  // Pixels of the last frame whose variance is more than noise.
  [[nodiscard]] std::int64_t GetHighVarianceCount() const;
  // Whether a quarter of the last frame changed strongly at once.
  [[nodiscard]] bool IsLightChange() const;
  // Frames a second, by the last two frames.
  [[nodiscard]] float GetFrameRate() const;

 protected:
  void ReadSettings(const CData& item);
  // Follows the model of `leader`, which has not seen a frame yet, if it has the same settings.
  // Gives whether it does. All frames have to go to both.
  bool Follow(const CMotionBackground& leader);

 private:
  struct Planes;
  struct Model;

  std::shared_ptr<Model> model;
  bool leads = true;
};

}  // namespace ztlib
