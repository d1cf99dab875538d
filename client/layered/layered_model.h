#pragma once

#include "client/layered/layered_bytes.h"

#include <array>
#include <cstdint>
#include <span>

using LayeredFrequencies = std::array<std::uint16_t, 256>;

// How a layer's model comes to its frequencies.
enum class ELayeredModels {
  counted,  // from the streams
  flat,     // all symbols alike
  steep,    // as the streams rank them, each as rare as the two rarer ones together: long codes
};

// The frequency model of one layer, as it is stored and as the code that follows from it.
class CLayeredModel {
 public:
  explicit CLayeredModel(const LayeredFrequencies& symbolFrequencies);

  // All streams of a layer share one model. With `hasEmpty` nothing but zeros gives a model without
  // frequencies, from which decoders read zeros.
  static CLayeredModel Of(std::span<const LayeredBytes> streams, ELayeredModels kind,
                          bool hasEmpty);

  void WriteTo(LayeredBytes& out) const;
  // In whole 32-bit words. Every symbol of the stream has a frequency, or none has one.
  void Encode(std::span<const std::uint8_t> stream, LayeredBytes& out) const;

 private:
  // The way from the root, the first bit lowest.
  struct CCode {
    std::uint64_t bits = 0;
    int length = 0;
  };

  LayeredFrequencies frequencies;
  std::array<CCode, 256> codes;
};
