#include "client/block_list.h"

#include "client/frame_header.h"

#include <algorithm>

namespace {

constexpr std::size_t listHeaderSize = 12, runSize = 4;
constexpr unsigned maxBits = 31;

std::uint64_t Short(std::span<const std::uint8_t> bytes) {
  return ztlib::LittleEndian(bytes.first(2));
}

}  // namespace

// Numbers ascend; each is the start of a bucket of 2^bits numbers and an offset in it. A run record
// says before which entry, and by how many buckets, to go on.
std::vector<std::uint64_t> ReadBlockList(std::span<const std::uint8_t> list) {
  std::vector<std::uint64_t> blocks;
  if (list.size() < listHeaderSize) return blocks;
  const std::uint64_t count = ztlib::LittleEndian(list.first(4));
  std::uint64_t runCount = ztlib::LittleEndian(list.subspan(4, 4));
  const unsigned bits = list[8];
  auto runs = list.subspan(listHeaderSize);
  if (bits > maxBits || runCount > runs.size() / runSize) return blocks;
  const auto offsets = runs.subspan(static_cast<std::size_t>(runCount) * runSize);
  // Offsets of no bits are as many as the list says; a run record is then needed for each.
  const std::uint64_t held = bits > 0 ? offsets.size() * 8 / bits : runCount + 1;

  const std::uint64_t step = std::uint64_t{1} << bits;
  std::uint64_t base = 0, bit = 0;
  for (std::uint64_t i = 0; i < std::min(count, held); ++i) {
    if (runCount > 0 && Short(runs) == i) {
      base += Short(runs.subspan(2)) * step;
      runs = runs.subspan(runSize);
      --runCount;
    }
    std::uint64_t offset = 0;
    for (unsigned k = 0; k < bits; ++k, ++bit)
      offset |= (std::uint64_t{offsets[bit / 8]} >> bit % 8 & 1) << k;
    blocks.push_back(base + offset);
  }
  return blocks;
}
