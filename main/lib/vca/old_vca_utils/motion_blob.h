#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/imgproc/gray_view.h"
#include "main/lib/imgproc/mask.h"
#include "main/lib/vca/old_vca_utils/motion_background.h"

#include <cstdint>
#include <memory>
#include <span>

namespace ztlib {

// The bitmap of moving pixels as it travels in results: a header of 32 bytes, then one bit for each
// pixel, row after row without padding, lowest bit first, then 16 bytes that take the last bits.

// The pixels of `motion` that are not 0.
[[nodiscard]] std::shared_ptr<CBinData> MakeMotionBlob(const ByteImage& motion);
// No pixel at all.
[[nodiscard]] std::shared_ptr<CBinData> MakeBlankMotionBlob(const Size& size);

// Reads a blob that somebody else made. Only what IsKnown and IsWhole vouch for can be counted.
class CMotionBlobView {
 public:
  // Throws std::out_of_range for a blob without a header and the first bits.
  explicit CMotionBlobView(const CBinData& blob);

  [[nodiscard]] bool IsKnown() const;
  // Whether the blob has all bits of its picture.
  [[nodiscard]] bool IsWhole() const;
  [[nodiscard]] Size GetSize() const;
  // All bits, those behind the picture's last one too.
  [[nodiscard]] std::int64_t CountBits() const;
  // The bits under a mask of the picture's size.
  [[nodiscard]] std::int64_t CountBits(const CMask& mask) const;

 private:
  [[nodiscard]] std::int64_t CountRange(std::uint64_t begin, std::uint64_t end) const;
  std::span<const std::uint8_t> bytes;
};

}  // namespace ztlib
