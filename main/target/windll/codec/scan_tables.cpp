#include "main/target/windll/codec/scan_tables.h"

#include <algorithm>
#include <cstring>

namespace ztlib {

namespace {

constexpr unsigned endOfBlock = 0x00;
constexpr unsigned longRun = 0xf0;

bool SameTable(const JHUFF_TBL& a, const JHUFF_TBL& b) {
  return std::memcmp(a.bits, b.bits, sizeof a.bits) == 0 &&
         std::memcmp(a.huffval, b.huffval, sizeof a.huffval) == 0;
}

// Lists the codes. False if there are more than a length has, or one of all ones.
bool ListCodes(ScanTable& table, const JHUFF_TBL& source) {
  std::uint32_t code = 0;
  unsigned symbols = 0;
  table.ends[0] = 0;
  for (unsigned length = 1; length <= ScanTable::maxCodeBits; ++length) {
    table.places[length] = static_cast<std::uint16_t>(symbols - code);
    symbols += source.bits[length];
    code += source.bits[length];
    if (symbols > sizeof table.symbols || code >= std::uint32_t{1} << length) return false;
    table.ends[length] = code << (ScanTable::maxCodeBits - length);
    code *= 2;
  }
  std::memcpy(table.symbols, source.huffval, sizeof table.symbols);
  return !table.isFirst ||
         std::all_of(table.symbols, table.symbols + symbols, [](auto size) { return size < 16; });
}

// The bits of an index that are still to be read.
struct Bits {
  std::uint32_t word;  // left-aligned
  unsigned count;

  [[nodiscard]] std::uint32_t First(unsigned length) const {
    return length == 0 ? 0 : word >> (32 - length);
  }
  [[nodiscard]] Bits Behind(unsigned length) const { return {word << length, count - length}; }
};

struct Code {
  std::uint8_t length;  // 0 if the bits do not tell
  std::uint8_t symbol;
};

// The code that each index begins with.
class CodeIndex {
 public:
  CodeIndex(const ScanTable& table, unsigned indexBits) : shift(32 - indexBits) {
    std::uint32_t next = 0;
    for (unsigned length = 1; length <= indexBits; ++length)
      for (const std::uint32_t end = table.ends[length] << 16 >> shift; next < end;) {
        const std::uint32_t code = next >> (indexBits - length);
        const std::uint32_t behind = (code + 1) << (indexBits - length);
        const auto symbol = table.symbols[static_cast<std::uint16_t>(code + table.places[length])];
        std::fill(codes.begin() + next, codes.begin() + behind,
                  Code{static_cast<std::uint8_t>(length), symbol});
        next = behind;
      }
  }

  [[nodiscard]] Code Find(Bits bits) const {
    const Code code = bits.count == 0 ? Code{} : codes[bits.word >> shift];
    return code.length <= bits.count ? code : Code{};
  }

 private:
  unsigned shift;
  std::array<Code, std::size_t{1} << ScanTable::maxIndexBits> codes{};
};

std::uint32_t Entry(unsigned length, unsigned advance, std::uint32_t added, bool ends) {
  return length | advance << ScanTable::advanceShift | (added & 0xffff) << ScanTable::valueShift |
         (ends ? ScanTable::blockEnds : 0);
}
unsigned LengthOf(std::uint32_t entry) {
  return entry & ScanTable::lengthMask;
}
unsigned AdvanceOf(std::uint32_t entry) {
  return entry >> ScanTable::advanceShift & ScanTable::advanceMask;
}

// What is added to a code and its value's bits.
std::uint32_t AddedTo(Bits bits, Code code, unsigned size) {
  const bool isNegative = size > 0 && bits.Behind(code.length).First(1) == 0;
  return 0U - (bits.First(code.length) << size) - (isNegative ? (1U << size) - 1 : 0);
}

// An entry of known bits may take more of them, up to `length`, and end the block.
std::uint32_t Extend(std::uint32_t entry, Bits bits, unsigned length) {
  const unsigned before = LengthOf(entry);
  const std::uint32_t value = bits.First(before) + (entry >> ScanTable::valueShift);
  return Entry(length, AdvanceOf(entry), value - bits.First(length), true);
}

bool EndsBlock(const CodeIndex& others, Bits bits, unsigned& length) {
  const Code code = others.Find(bits);
  length = code.length;
  return code.length > 0 && code.symbol == endOfBlock;
}

// An entry for values up to `maxSize` bits.
std::uint32_t WantedEntry(const CodeIndex& codes, Bits bits, unsigned maxSize) {
  const Code code = codes.Find(bits);
  if (code.length == 0) return ScanTable::leftOut;
  const unsigned run = code.symbol >> 4;
  const unsigned size = code.symbol & 15;
  const bool isEnd = code.symbol == endOfBlock;
  if (size == 0 && !isEnd && code.symbol != longRun) return ScanTable::leftOut;
  // The sign has to be known.
  if (size > maxSize || (size > 0 && code.length == bits.count)) return ScanTable::leftOut;
  const unsigned length = code.length + size;
  const std::uint32_t entry = Entry(length, run + 1, AddedTo(bits, code, size), isEnd);
  unsigned endLength = 0;
  if (isEnd || length >= bits.count || !EndsBlock(codes, bits.Behind(length), endLength))
    return entry;
  return Extend(entry, bits, length + endLength);
}

// An entry for values that nobody wants.
std::uint32_t SkippedEntry(const CodeIndex& codes, Bits bits) {
  unsigned length = 0;
  unsigned advance = 0;
  for (;;) {
    const Code code = codes.Find(bits.Behind(length));
    const unsigned size = code.symbol & 15;
    const bool isEnd = code.length > 0 && code.symbol == endOfBlock;
    if (isEnd) return Entry(length + code.length, std::max(advance, 1U), 0, true);
    const bool isSound = code.length > 0 && size <= ScanTable::maxSize &&
                         (size > 0 || code.symbol == longRun) &&
                         advance + (code.symbol >> 4) + 1 < blockCoefficients;
    const bool isKnown = length + code.length + size <= bits.count;
    if (!isSound || (length > 0 && !isKnown)) break;
    length += code.length + size;
    advance += (code.symbol >> 4) + 1;
    if (length >= bits.count) break;
  }
  return length > 0 ? Entry(length, advance, 0, false) : ScanTable::leftOut;
}

// `others` has its entries already.
std::uint32_t FirstEntry(const CodeIndex& codes, const CodeIndex& otherCodes,
                         const ScanTable& others, Bits bits, const ScanTables::Key& key) {
  const Code code = codes.Find(bits);
  const unsigned size = code.symbol;
  if (code.length == 0 || size > ScanTable::maxFirstSize || (size > 0 && code.length == bits.count))
    return ScanTable::leftOut;
  const unsigned length = code.length + size;
  const std::uint32_t entry = Entry(length, 1, AddedTo(bits, code, size), false);
  if (length >= bits.count) return entry;
  unsigned endLength = 0;
  const Bits rest = bits.Behind(length);
  if (EndsBlock(otherCodes, rest, endLength)) return Extend(entry, bits, length + endLength);
  // What the other table says of these bits, followed by any.
  const std::uint32_t next = others.entries[rest.First(key.indexBits)];
  const bool isKnown = LengthOf(next) > 0 && LengthOf(next) <= rest.count;
  if (!isKnown) return entry;
  if (key.wanted == ScanTables::Wanted::firstOnly && (next & ScanTable::blockEnds) != 0)
    return Extend(entry, bits, length + LengthOf(next));
  if (size > 0) return entry;
  return Entry(length + LengthOf(next), 1 + AdvanceOf(next),
               (next >> ScanTable::valueShift) - (bits.First(length) << LengthOf(next)),
               (next & ScanTable::blockEnds) != 0);
}

// The largest size of which all values stay within the bound.
unsigned BoundedSize(const ScanTables::Quantisers& quantisers) {
  const int largest = *std::max_element(quantisers.begin(), quantisers.end());
  unsigned size = ScanTable::maxSize;
  while (((1 << size) - 1) * largest > ScanTable::maxDequantised)
    --size;
  return size;
}

}  // namespace

bool ScanTables::Key::operator==(const Key& other) const {
  return SameTable(first, other.first) && SameTable(others, other.others) &&
         wanted == other.wanted && indexBits == other.indexBits;
}

bool ScanTables::Make(const Key& wanted, const Quantisers& quantisers) {
  const bool isSkipped = wanted.wanted == Wanted::firstOnly;
  // First coefficients are differences and are looked at when they are added up.
  if (isSkipped)
    std::fill_n(others.quantisers, blockCoefficients, std::uint16_t{0});
  else
    std::copy(quantisers.begin(), quantisers.end(), others.quantisers);
  const unsigned boundedSize = isSkipped ? ScanTable::maxSize : BoundedSize(quantisers);
  if (made && key == wanted && maxSize == boundedSize) return true;
  made = false;
  first.isFirst = true;
  others.isFirst = false;
  if (!ListCodes(first, wanted.first) || !ListCodes(others, wanted.others)) return false;
  const CodeIndex firstCodes(first, wanted.indexBits);
  const CodeIndex otherCodes(others, wanted.indexBits);
  const auto fill = [&wanted](ScanTable& table, auto entry) {
    for (std::uint32_t i = 0; i < std::uint32_t{1} << wanted.indexBits; ++i)
      table.entries[i] = entry(Bits{i << (32 - wanted.indexBits), wanted.indexBits});
  };
  fill(others, [&](Bits bits) {
    return isSkipped ? SkippedEntry(otherCodes, bits) : WantedEntry(otherCodes, bits, boundedSize);
  });
  fill(first, [&](Bits bits) { return FirstEntry(firstCodes, otherCodes, others, bits, wanted); });
  key = wanted;
  maxSize = boundedSize;
  made = true;
  return true;
}

}  // namespace ztlib
