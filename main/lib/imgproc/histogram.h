#pragma once

#include "main/lib/base/image_rw.h"
#include "main/lib/imgproc/mask.h"

#include <cstdint>

namespace ztlib {

// A working plane of bytes.
using ByteImage = TCImageX<unsigned char, long long>;

// 256 counters by gray value, and the number of pixels that went into them. The object owns its
// counters, copies are deep. Sums beyond 32 bits wrap. For one thread at a time.
class CHistogramData {
 public:
  CHistogramData();
  CHistogramData(const CHistogramData& other);
  CHistogramData& operator=(const CHistogramData& other);
  virtual ~CHistogramData();

  // Clears the bins alone. The number of pixels stays.
  virtual void Clear();

  std::int32_t* bins;
  std::int32_t img_pixel_num_ = 0;
};

// The gray histogram of a plane of 8-bit pixels, and what can be read off it.
class CHistogram : public CHistogramData {
 public:
  virtual void Assign(const CHistogram& other);
  virtual void Add(const CHistogram& other);

  // An image without memory is logged and counts nothing.
  void Make(const ByteImage& img);
  // Counts the pixels inside of the mask, as far as the image reaches.
  void Make(const ByteImage& img, const CMask& mask);

  // The first bin up to which half of the pixels lie, 255 if there is none. 0 without pixels, and
  // 255 for a single pixel.
  [[nodiscard]] int Median() const;

  // The mean power of the distance from 128 (not from the mean); an order below 1 counts pixels.
  // Recounts the pixels first. Throws CException if there are none.
  [[nodiscard]] float CentralMoment(int order);

  // The relative entropy of this distribution as seen from `other`, in nats. Empty bins are no
  // special case, so the result may be infinite or not a number. Throws CException if either has no
  // pixels.
  [[nodiscard]] float RelativeEntropy(const CHistogram& other) const;

  // The bin at which the sum of the bins, added from `start` in steps of `step`, reaches `goal`;
  // the nearest end if it never does, or `start` if there is nothing to walk.
  [[nodiscard]] int FindBound(int start, int step, int goal) const;

  // The mean gray value and a range around it that holds about `part` * 5 / 1024 of the pixels on
  // either side.
  void GetRange(int& low, int& high, int& mean, int part) const;

  // A table that spreads the occupied range over 0 to 255, after `percent` of the pixels, one half
  // of them at either end, have been cut off. The identity if fewer than `minimum` steps are left.
  void Stretch(std::uint8_t lut[256], float percent, int minimum) const;

  // Bars of `value` from the image's bottom, a column per bin, the tallest over all rows.
  void Draw(ByteImage& image, std::uint8_t value) const;

 private:
  [[nodiscard]] std::int64_t Sum() const;
};

// Counters of brightness over another scale than pixels of one picture.
class CIntensityDiagram : public CHistogramData {
 public:
  ~CIntensityDiagram() override;
};

// Entry i of `count` becomes i + `offset`, clamped to 0 to 255.
void FillShifted(int offset, std::uint8_t* table, int count);

// Each bin becomes the mean of the bins up to `radius` away from it, cut off; the window ends with
// the histogram. `out` may be `in`. The second form writes the bins `low` to `high` alone, and
// throws CException "Invalid range" if one of them is no bin.
void TBlur(const CHistogram& in, CHistogram& out, int radius);
void TBlur(CHistogram& histogram, int low, int high, int radius);

// Replace each pixel by its entry in a table, the second with entries clamped to 0 to 255. For
// working planes and for views of pixels of one byte. An image without memory is logged and left.
template <class Image>
void TApply(Image& r_img, const std::uint8_t lut[256]);
template <class Image>
void TApplyAndSaturation(Image& r_img, const int lut[256]);

}  // namespace ztlib

#include "main/lib/imgproc/histogram_impl.h"
