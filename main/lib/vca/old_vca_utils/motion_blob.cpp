#include "main/lib/vca/old_vca_utils/motion_blob.h"

#include "main/lib/base/byte_io.h"
#include "main/lib/vca/old_vca_utils/motion_kernels.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace ztlib {

namespace {

constexpr std::uint32_t formatVersion = 1;
constexpr std::uint32_t imageKind = 0;
constexpr std::size_t kindOffset = 16;
constexpr std::size_t widthOffset = 20;
constexpr std::size_t heightOffset = 24;
constexpr std::size_t headerSize = 32;
constexpr std::size_t tailSize = 16;

}  // namespace

std::uint64_t MotionBlobSize(const Size& size) {
  return headerSize + static_cast<std::uint64_t>(size.width * size.height) / 8 + tailSize;
}

void WriteMotionBlob(std::uint8_t* to, const Size& size, const std::uint64_t* bits) {
  const std::uint64_t blobSize = MotionBlobSize(size);
  const auto filled = (static_cast<std::uint64_t>(size.width * size.height) + 7) / 8;
  std::memset(to, 0, headerSize);
  StoreLE(to, formatVersion);
  StoreLE(to + 4, static_cast<std::uint32_t>(blobSize));
  StoreLE(to + kindOffset, imageKind);
  StoreLE(to + widthOffset, static_cast<std::int32_t>(size.width));
  StoreLE(to + heightOffset, static_cast<std::int32_t>(size.height));
  if (bits)
    std::memcpy(to + headerSize, bits, filled);
  else
    std::memset(to + headerSize, 0, filled);
  std::memset(to + headerSize + filled, 0, blobSize - headerSize - filled);
}

void CMotionPacker::AddRow(const std::uint8_t* row) {
  if (width % 8 == 0) {
    const auto whole = static_cast<std::size_t>(width / 8);
    if (row)
      KernelsFor<MotionKernels>().packBits(target, row, static_cast<std::size_t>(width));
    else
      std::memset(target, 0, whole);
    target += whole;
    return;
  }
  constexpr std::int64_t piece = 512;
  for (std::int64_t x = 0; x < width; x += piece) {
    const std::int64_t count = std::min<std::int64_t>(piece, width - x);
    std::uint64_t words[piece / 64] = {};
    if (row)
      KernelsFor<MotionKernels>().packBits(reinterpret_cast<std::uint8_t*>(words), row + x,
                                           static_cast<std::size_t>(count));
    for (std::int64_t done = 0; done < count; done += 64)
      Append(words[done / 64], static_cast<int>(std::min<std::int64_t>(64, count - done)));
  }
}

void CMotionPacker::Finish() {
  if (used > 0) StoreLE(target, pending);
}

void CMotionPacker::Append(std::uint64_t word, int count) {
  pending |= word << used;
  if (used + count < 64) {
    used += count;
    return;
  }
  StoreLE(target, pending);
  target += sizeof pending;
  pending = used == 0 ? 0 : word >> (64 - used);
  used += count - 64;
}

CMotionBlobView::CMotionBlobView(const CBinData& blob)
    : bytes(blob.Data(), static_cast<std::size_t>(blob.Size())) {
  constexpr std::size_t lastNeeded = headerSize + 3;
  if (bytes.size() > lastNeeded) return;
  char text[128];
  std::snprintf(text, sizeof text,
                "vector::_M_range_check: __n (which is %llu) >= this->size() (which is %llu)",
                static_cast<unsigned long long>(lastNeeded),
                static_cast<unsigned long long>(bytes.size()));
  throw std::out_of_range(text);
}

bool CMotionBlobView::IsKnown() const {
  return LoadLE<std::uint32_t>(bytes.data()) == formatVersion &&
         LoadLE<std::uint32_t>(bytes.data() + kindOffset) == imageKind;
}

Size CMotionBlobView::GetSize() const {
  return {LoadLE<std::int32_t>(bytes.data() + widthOffset),
          LoadLE<std::int32_t>(bytes.data() + heightOffset)};
}

bool CMotionBlobView::IsWhole() const {
  const Size size = GetSize();
  if (size.width <= 0 || size.height <= 0) return false;
  return (static_cast<std::uint64_t>(size.width * size.height) + 7) / 8 <=
         bytes.size() - headerSize;
}

std::int64_t CMotionBlobView::CountBits() const {
  return CountRange(0, (bytes.size() - headerSize) * 8);
}

std::int64_t CMotionBlobView::CountBits(const CMask& mask) const {
  const Size size = GetSize();
  std::int64_t count = 0;
  for (int y = 0; y < size.height; ++y)
    for (const CMaskRun& run : mask.GetRow(y))
      if (run.start < run.end)
        count += CountRange(static_cast<std::uint64_t>(y * size.width + run.start),
                            static_cast<std::uint64_t>(y * size.width + run.end));
  return count;
}

std::int64_t CMotionBlobView::CountRange(std::uint64_t begin, std::uint64_t end) const {
  const std::uint8_t* const bits = bytes.data() + headerSize;
  std::int64_t count = 0;
  while (begin < end) {
    const std::uint64_t offset = begin % 8;
    const std::uint64_t taken = std::min(end - begin, offset == 0 ? 64 : 8 - offset);
    std::uint64_t word = 0;
    std::memcpy(&word, bits + begin / 8, static_cast<std::size_t>((offset + taken + 7) / 8));
    word >>= offset;
    if (taken < 64) word &= (std::uint64_t{1} << taken) - 1;
    count += std::popcount(word);
    begin += taken;
  }
  return count;
}

}  // namespace ztlib
