#include "client/layered/layered_streams.h"

#include <algorithm>

namespace {

// Where the coefficients of the layers 1 to 3 lie in a block: growing squares, in a snake.
constexpr std::uint8_t positions[] = {
    8,  9,  1,                                               // layer 1
    2,  10, 18, 17, 16, 24, 25, 26, 27, 19, 11, 3,           // layer 2
    4,  12, 20, 28, 36, 35, 34, 33, 32, 40, 41, 42, 43, 44,  // layer 3
    45, 37, 29, 21, 13, 5,  6,  14, 22, 30, 38, 46, 54, 53, 52, 51, 50,
    49, 48, 56, 57, 58, 59, 60, 61, 62, 63, 55, 47, 39, 31, 23, 15, 7};
constexpr std::size_t firstPositions[] = {0, 3, 15, 63};

constexpr std::uint8_t escape = 0x80;

bool FitsByte(int value) {
  return value >= -128 && value <= 127;
}

}  // namespace

void CLayeredStreams::AddGroup(std::span<const LayeredMacroblock> group) {
  for (const LayeredMacroblock& macroblock : group)
    for (std::size_t i = 0; i < macroblock.size(); ++i)
      AddDelta(i < 4 ? 0 : i - 3, macroblock[i][0]);
  for (std::size_t layer = 1; layer < 4; ++layer) {
    sequence.clear();
    for (const LayeredMacroblock& macroblock : group)
      for (const LayeredBlock& block : macroblock)
        for (std::size_t i = firstPositions[layer - 1]; i < firstPositions[layer]; ++i)
          sequence.push_back(block[positions[i]]);
    LayeredBytes& bytes = streams[baseStreams - 1 + layer];
    layer < 3 ? AddSmall(bytes) : AddFine(bytes);
  }
}

int CLayeredStreams::TakeLongForm() {
  if (codes.longFormInterval == 0 || ++codeCount % codes.longFormInterval != 0) return 0;
  return longForms++ % 3 + 1;
}

// The predictor is a 16-bit number and wraps in decoders too.
void CLayeredStreams::AddDelta(std::size_t component, std::int16_t coefficient) {
  const auto delta = static_cast<std::int16_t>(coefficient - predictors[component]);
  predictors[component] = coefficient;
  LayeredBytes& bytes = streams[component];
  const auto bits = static_cast<std::uint16_t>(delta);
  if (FitsByte(delta) && delta != -128 && TakeLongForm() == 0) return AppendNumber(bytes, bits, 1);
  bytes.push_back(escape);
  AppendNumber(bytes, bits, 2);
}

void CLayeredStreams::AddSmall(LayeredBytes& bytes) {
  constexpr int longestRun = 0xFE;
  for (auto at = sequence.begin(); at != sequence.end();) {
    const auto next = std::find_if(at, sequence.end(), [](int value) { return value != 0; });
    if (next - at >= codes.shortestZeroRun && next != at) {
      const auto run = std::min<std::ptrdiff_t>(next - at, longestRun);
      bytes.insert(bytes.end(), {escape, static_cast<std::uint8_t>(run)});
      at += run;
      continue;
    }
    const auto bits = static_cast<std::uint16_t>(*at);
    const int longForm = TakeLongForm();
    if (FitsByte(*at) && *at != -128 && longForm == 0) {
      AppendNumber(bytes, bits, 1);
    } else {
      // A run of nothing is a code too.
      if (longForm == 1) bytes.insert(bytes.end(), {escape, 0});
      bytes.insert(bytes.end(), {escape, 0xFF});
      AppendNumber(bytes, bits, 2);
    }
    ++at;
  }
}

void CLayeredStreams::AddFine(LayeredBytes& bytes) {
  constexpr std::ptrdiff_t longestByte = 0xFC, longest = 0xFFFF;
  const auto addZeros = [&](std::ptrdiff_t run) {
    bytes.insert(bytes.end(), {0xFD, 0});
    AppendNumber(bytes, static_cast<std::uint32_t>(run), 2);
  };
  for (auto at = sequence.begin(); at != sequence.end();) {
    auto next = std::find_if(at, sequence.end(), [](int value) { return value != 0; });
    const int longForm = TakeLongForm();
    if (next - at > longest) {
      addZeros(longest);
      at += longest;
      continue;
    }
    if (next == sequence.end()) {
      if (next - at > longestByte + 1 || longForm != 0) return addZeros(next - at);
      --next;  // the last zero is the coefficient
    }
    auto run = static_cast<std::uint32_t>(next - at);
    if (longForm == 3) {
      addZeros(next - at);
      run = 0;
    }
    const auto bits = static_cast<std::uint16_t>(*next);
    if (!FitsByte(*next) || longForm == 2) {
      bytes.insert(bytes.end(), {0xFE, 0});
      AppendNumber(bytes, run, 2);
      AppendNumber(bytes, bits, 2);
    } else if (run > longestByte || longForm == 1) {
      bytes.insert(bytes.end(), {0xFF, static_cast<std::uint8_t>(bits)});
      AppendNumber(bytes, run, 2);
    } else {
      bytes.insert(bytes.end(), {static_cast<std::uint8_t>(run), static_cast<std::uint8_t>(bits)});
    }
    at = next + 1;
  }
}
