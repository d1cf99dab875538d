#pragma once

#include "main/lib/base/processor.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The codes of one kind of component. An entry has its length in the lower eight bits and its bits
// above; 0 stands for what has no entry.
struct UnitCodes {
  // Of first coefficients the difference to the last block's counts, modulo this.
  static constexpr std::size_t differences = 4096;
  // Of other coefficients those that fit into a byte have an entry, except its least and its greatest
  // value, which stand for all beyond.
  static constexpr std::size_t values = 256;
  static constexpr std::size_t runs = 16;

  // With the bits of the value behind the code.
  std::uint32_t first[differences];
  std::uint32_t others[runs][values];
  // Without them, for what has no entry: a run of zeros times 16, and the number of bits.
  std::uint32_t symbols[256];
};

// A coefficient x becomes (|x| + halves) * reciprocals / 2^16 * scales / 2^16, cut after each
// division, with the sign of x. Row by row.
struct UnitQuantisers {
  std::uint16_t halves[64];
  std::uint16_t reciprocals[64];
  std::uint16_t scales[64];
};

struct UnitTables {
  UnitQuantisers quantisers;
  const UnitCodes* codes;
};

// The encoding of units, which are 16 by 16 pixels: four blocks of luma, and one of each chroma.
struct UnitKernels {
  // A stream, without the zeros behind bytes of 255. The lowest `count` of `bits`, less than 32, are
  // still to be written.
  struct Stream {
    std::uint8_t* next;
    std::uint64_t bits;
    unsigned count;
    std::int32_t lastFirst[3];  // the last block's first coefficient, by component
  };
  struct Planes {
    const std::uint8_t* luma;
    const std::uint8_t* chroma[2];
    std::size_t distance;  // of two rows of luma; twice that of chroma
  };
  // Writes what libjpeg-turbo writes with its accurate integer method. Luma blocks that the picture
  // does not reach, on the right or below, have the first coefficient of the block before and no
  // other.
  using Encode = void (*)(Stream& stream, const Planes& planes, std::size_t count,
                          const UnitTables& luma, const UnitTables& chroma, bool hasRight,
                          bool hasLower);
  Encode encode;
  // The most that one unit takes, with what is written behind its end: 6 * 64 codes of at most 26
  // bits, and a word.
  static constexpr std::size_t maxUnitBytes = 1280;

  // Copies bytes, with a zero behind each 255, into a room of at least twice that and `stuffRoom`.
  // Gives the end of the copy.
  static constexpr std::size_t stuffRoom = 32;
  std::uint8_t* (*stuff)(std::uint8_t* target, const std::uint8_t* from, std::size_t count);

  ZT_KERNEL_TABLES(UnitKernels);
};

}  // namespace ztlib
