#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/imgproc/gray_view.h"
#include "main/lib/imgproc/mask.h"

#include <cstdint>
#include <span>

namespace ztlib {

// The bitmap of moving pixels as it travels in results: a header of 32 bytes, then one bit for each
// pixel, row after row without padding, lowest bit first, then 16 bytes that take the last bits.

[[nodiscard]] std::uint64_t MotionBlobSize(const Size& size);
// `to` has room for that many bytes. Without `bits` no pixel moves.
void WriteMotionBlob(std::uint8_t* to, const Size& size, const std::uint64_t* bits);

// Makes such bits of rows of bytes.
class CMotionPacker {
 public:
  // `bits` is one word longer than the picture has whole words.
  CMotionPacker(std::uint64_t* bits, std::int64_t width)
      : target(reinterpret_cast<std::uint8_t*>(bits)), width(width) {}
  // The next row; null for one without any byte but 0.
  void AddRow(const std::uint8_t* row);
  // Behind the last row.
  void Finish();

 private:
  // The low `count` bits of `word`, 1 to 64; those above are 0.
  void Append(std::uint64_t word, int count);

  std::uint8_t* target;
  std::int64_t width;
  std::uint64_t pending = 0;
  int used = 0;
};

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
