#pragma once

#include "client/layered/layered_bytes.h"
#include "client/layered/layered_transform.h"

#include <array>
#include <cstdint>
#include <span>

// Y0, Y1, Y2, Y3, U, V of 16 by 16 pixels.
using LayeredMacroblock = std::array<LayeredBlock, 6>;

struct CLayeredCodes {
  int shortestZeroRun = 3;   // what layers 1 and 2 write as a run, shorter ones as zeros
  int longFormInterval = 0;  // each so many codes one takes a longer form than it needs; 0: none
};

// Turns the coefficients of a frame into the six byte streams that are then entropy coded.
class CLayeredStreams {
 public:
  explicit CLayeredStreams(const CLayeredCodes& codeSettings) : codes(codeSettings) {}

  // Runs of zeros end with the group.
  void AddGroup(std::span<const LayeredMacroblock> group);

  static constexpr std::size_t baseStreams = 3;
  // Y, U and V of layer 0, then the layers 1 to 3.
  std::array<LayeredBytes, 6> streams;

 private:
  void AddDelta(std::size_t component, std::int16_t coefficient);
  // The coefficients of one of the layers 1 to 3, in their order.
  void AddSmall(LayeredBytes& bytes);
  void AddFine(LayeredBytes& bytes);
  // The number of the long form if this code takes one, else 0.
  int TakeLongForm();

  CLayeredCodes codes;
  std::array<std::int16_t, baseStreams> predictors{};
  std::vector<std::int16_t> sequence;
  int codeCount = 0, longForms = 0;
};
