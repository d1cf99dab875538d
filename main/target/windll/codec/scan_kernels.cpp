#include "main/target/windll/codec/scan_kernels.h"

#include <cstring>

namespace ztlib {

namespace {

using Byte = std::uint8_t;

constexpr int lastPlace = blockCoefficients - 1;

inline std::uint64_t LoadBigEndian(const Byte* p) {
  std::uint64_t value;
  std::memcpy(&value, p, sizeof value);
  return __builtin_bswap64(value);
}

// The entry for one symbol behind place `k`, or 0 for bits that have no meaning.
[[gnu::noinline]] std::uint32_t EntryOfSymbol(const ScanTable& table, std::uint64_t bits, int k) {
  const auto word = static_cast<std::uint32_t>(bits >> (64 - ScanTable::maxCodeBits));
  unsigned length = 1;
  while (length <= ScanTable::maxCodeBits && word >= table.ends[length])
    ++length;
  if (length > ScanTable::maxCodeBits) return 0;
  const std::uint32_t code = word >> (ScanTable::maxCodeBits - length);
  const unsigned symbol = table.symbols[(code + table.places[length]) & 0xffff];
  const unsigned run = table.isFirst ? 0 : symbol >> 4;
  const unsigned size = table.isFirst ? symbol : symbol & 15;
  if (size > (table.isFirst ? ScanTable::maxFirstSize : ScanTable::maxSize)) return 0;
  const bool isEnd = !table.isFirst && symbol == 0;
  if (size == 0 && run != 0 && run != 15) return 0;
  std::uint32_t added = 0U - (code << size);
  if (size > 0) {
    const std::uint64_t value = bits << length;
    auto magnitude = static_cast<unsigned>(value >> (64 - size));
    if (value >> 63 == 0) {
      added -= (1U << size) - 1;
      magnitude = (1U << size) - 1 - magnitude;
    }
    const unsigned place = static_cast<unsigned>(k) + run + 1;
    if (place < blockCoefficients &&
        magnitude * table.quantisers[place] > unsigned{ScanTable::maxDequantised})
      return 0;
  }
  return (length + size) | (run + 1) << ScanTable::advanceShift |
         (added & 0xffff) << ScanTable::valueShift | (isEnd ? ScanTable::blockEnds : 0);
}

inline unsigned AdvanceOf(std::uint32_t entry) {
  return entry >> ScanTable::advanceShift & ScanTable::advanceMask;
}

// Goes from look-up to look-up, without a branch between the blocks.
template <unsigned indexBits>
bool ReadBlocksBy(ScanBits& place, const ScanKernels::Step* steps, std::size_t count,
                  std::int16_t* coefficients, Byte* lasts) {
  const Byte* next = place.next;
  std::uint64_t bits = place.bits;
  unsigned bitCount = place.count;
  const Byte* const end = lasts + count;
  const ScanTable* table = steps->first;
  int k = -1;

  // False at the end.
  const auto readEntry = [&]() __attribute__((always_inline)) {
    std::uint32_t entry = table->entries[bits >> (64 - indexBits)];
    const ScanTable* const others = steps[0].others;
    const ScanTable* const nextFirst = steps[1].first;
    k += static_cast<int>(AdvanceOf(entry));
    if (__builtin_expect(k >= lastPlace, 0)) {
      // No entry goes beyond the last place, and behind that comes no end of the block.
      k -= static_cast<int>(AdvanceOf(entry));
      entry = EntryOfSymbol(*table, bits, k);
      k += static_cast<int>(AdvanceOf(entry));
      if (entry == 0 || k > lastPlace) return false;
      if (k == lastPlace) entry |= ScanTable::blockEnds;
    }
    coefficients[scanPlaces.of[k]] =
        static_cast<std::int16_t>((bits >> (-entry & 63)) + (entry >> ScanTable::valueShift));
    *lasts = static_cast<Byte>(k);
    bits <<= entry & ScanTable::lengthMask;
    bitCount -= entry & 0xff;
    const std::int32_t ends = static_cast<std::int32_t>(entry) >> 31;
    table = ends < 0 ? nextFirst : others;
    k |= ends;
    steps -= ends;
    lasts -= ends;
    coefficients += ends & static_cast<std::int32_t>(blockCoefficients);
    return true;
  };

  // Two symbols have 54 bits at most.
  do {
    bits |= LoadBigEndian(next) >> bitCount;
    next += (63 - bitCount) >> 3;
    bitCount |= 56;
  } while (readEntry() && readEntry());
  place = {next, bits, bitCount};
  return lasts == end && k == -1;
}

}  // namespace

constinit const ScanKernels ScanKernels::ZTLIB_INSTRUCTION_SET = {
    .readBlocks10 = ReadBlocksBy<10>,
    .readBlocks12 = ReadBlocksBy<12>,
};

}  // namespace ztlib
