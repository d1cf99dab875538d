#pragma once

#include "main/lib/base/byte_io.h"
#include "main/target/windll/codec/layered_stream.h"

#include <cstddef>
#include <cstdint>

namespace ztlib {

// The coefficients of a block fall into four shells, one for each layer: growing squares around the
// first one, walked in a snake. Positions count row by row.
inline constexpr std::uint8_t shellPositions[64] = {
    0,                                                               //
    8,  9,  1,                                                       //
    2,  10, 18, 17, 16, 24, 25, 26, 27, 19, 11, 3,                   //
    4,  12, 20, 28, 36, 35, 34, 33, 32, 40, 41, 42, 43, 44, 45, 37,  //
    29, 21, 13, 5,  6,  14, 22, 30, 38, 46, 54, 53, 52, 51, 50, 49,  //
    48, 56, 57, 58, 59, 60, 61, 62, 63, 55, 47, 39, 31, 23, 15, 7};
// Coefficients of a block in the shells before each layer's, and in all.
inline constexpr std::size_t shellStarts[5] = {0, 1, 4, 16, 64};

// Layer 0: the next coefficient from the one before it. Behind the end they are all the same.
inline void ReadBaseCoefficient(LayeredStream& in, std::int16_t& coefficient) {
  if (!in.Ready()) return;
  const std::uint8_t* const code = in.Next();
  const bool isLong = code[0] == LayeredStream::escape;
  if (!in.Take(isLong ? 3 : 1)) return;
  const int delta = isLong ? LoadLE<std::int16_t>(code + 1) : static_cast<std::int8_t>(code[0]);
  coefficient = static_cast<std::int16_t>(coefficient + delta);
}

// Layers 1 and 2: calls put(i, coefficient) for those of `count` coefficients that are not in runs
// of zeros. Runs, and with them i, may reach beyond.
template <class Put>
void ReadCoefficients(LayeredStream& in, std::size_t count, Put put) {
  for (std::size_t i = 0; i < count && in.Ready();) {
    const std::uint8_t* const code = in.Next();
    if (code[0] != LayeredStream::escape) {
      if (in.Take(1)) put(i++, static_cast<std::int8_t>(code[0]));
    } else if (code[1] != 0xFF) {
      if (in.Take(2)) i += code[1];
    } else if (in.Take(4)) {
      put(i++, LoadLE<std::int16_t>(code + 2));
    }
  }
}

// Layer 3: the same for codes of a run of zeros and a coefficient.
template <class Put>
void ReadRunsAndCoefficients(LayeredStream& in, std::size_t count, Put put) {
  for (std::size_t i = 0; i < count && in.Ready();) {
    const std::uint8_t* const code = in.Next();
    switch (code[0]) {
      default:
        if (in.Take(2)) {
          i += code[0];
          put(i++, static_cast<std::int8_t>(code[1]));
        }
        break;
      case 0xFD:
        if (in.Take(4)) i += LoadLE<std::uint16_t>(code + 2);
        break;
      case 0xFE:
        if (in.Take(6)) {
          i += LoadLE<std::uint16_t>(code + 2);
          put(i++, LoadLE<std::int16_t>(code + 4));
        }
        break;
      case 0xFF:
        if (in.Take(4)) {
          i += LoadLE<std::uint16_t>(code + 2);
          put(i++, static_cast<std::int8_t>(code[1]));
        }
        break;
    }
  }
}

}  // namespace ztlib
