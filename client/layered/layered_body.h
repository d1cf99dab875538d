#pragma once

#include "client/layered/layered_model.h"
#include "client/layered/layered_streams.h"

#include <cstdint>
#include <span>

struct CLayeredBodySettings {
  int quality = 75;
  int tableFamily = 0;  // 0 or 1
  std::uint32_t tableSet = 0;
  std::uint32_t groupSize = 20;  // macroblocks, from 1
  unsigned layers = 0b1111;      // bit i: layer i is there; layer 0 always is
  ELayeredModels models = ELayeredModels::counted;
  bool hasEmptyModels = false;
  CLayeredCodes codes;
};

// Appends the inner header and the layers of `rows` rows of macroblocks to a frame. With
// `isAligned` every layer begins at a multiple of 8 bytes of the frame.
void AppendLayeredBody(LayeredBytes& frame, std::span<const LayeredMacroblock> macroblocks,
                       std::uint32_t width, std::uint32_t height, bool isAligned,
                       const CLayeredBodySettings& settings);
