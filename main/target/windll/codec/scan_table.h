#pragma once

#include <cstddef>
#include <cstdint>

namespace ztlib {

// Coefficients of a block lie as the transforms take them: four runs of 16, each of two rows of the
// block, (0, 2), (4, 6), (1, 3) and (5, 7), in pairs of one column. Columns come as 0, 2, 1, 3, 4, 6,
// 5, 7, so that a quarter of low frequencies is the first half of two runs, and products of pairs
// are added by one instruction in both directions.
constexpr std::size_t blockCoefficients = 64;
constexpr std::size_t CoefficientIndex(std::size_t row, std::size_t column) {
  const std::size_t run = row % 2 * 2 + row / 4;
  const std::size_t place = column / 4 * 4 + column % 2 * 2 + column / 2 % 2;
  return 16 * run + 2 * place + row / 2 % 2;
}

// Where the coefficients of the scan's order lie.
struct ScanPlaces {
  std::uint8_t of[blockCoefficients];
};
constexpr ScanPlaces scanPlaces = [] {
  ScanPlaces places{};
  std::size_t row = 0;
  std::size_t column = 0;
  for (std::uint8_t& place : places.of) {
    place = static_cast<std::uint8_t>(CoefficientIndex(row, column));
    // Diagonals are passed upwards and downwards in turn.
    const bool isUpwards = (row + column) % 2 == 0;
    std::size_t& to = isUpwards ? column : row;
    std::size_t& from = isUpwards ? row : column;
    if (to == 7)
      ++from;
    else if (++to; from > 0)
      --from;
  }
  return places;
}();

// What the bits of a scan mean, for the coefficients of one kind, the first of a block or the
// others. An entry stands for the bits that its index begins with:
//   bits 0 to 5    how many bits are taken, with those of the value; 0 for what entries leave out
//   bits 8 to 14   how many places of the block are passed
//   bits 15 to 30  what is added to the bits taken, modulo 2^16, to give the value at the last place
//   bit 31         set if the block ends
// An entry takes the end of the block with a value before it, and a first coefficient of 0 with what
// follows it, if the index has room for all of them.
struct ScanTable {
  static constexpr unsigned maxIndexBits = 12;
  static constexpr unsigned maxCodeBits = 16;
  static constexpr unsigned lengthMask = 63;
  static constexpr unsigned advanceShift = 8;
  static constexpr unsigned advanceMask = 127;
  static constexpr unsigned valueShift = 15;
  static constexpr std::uint32_t blockEnds = 0x80000000U;
  // More places than there are, so that a look-up finds both what entries leave out and the end of a
  // full block by one comparison.
  static constexpr std::uint32_t leftOut = advanceMask << advanceShift;
  // No value times its quantiser is larger. With this much the sums of a transform fit into 32 bits.
  static constexpr int maxDequantised = 23000;
  static constexpr unsigned maxFirstSize = 11;
  static constexpr unsigned maxSize = 10;

  std::uint32_t entries[std::size_t{1} << maxIndexBits];

  // All codes: those of a length are below `ends` of it, left-aligned in 16 bits, and those before
  // them above. The symbol of a code is at the code plus `places` of its length, modulo 2^16.
  std::uint32_t ends[maxCodeBits + 1];
  std::uint16_t places[maxCodeBits + 1];
  std::uint8_t symbols[256];
  // In the order of the scan.
  std::uint16_t quantisers[blockCoefficients];
  bool isFirst;
};

}  // namespace ztlib
