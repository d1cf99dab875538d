#pragma once

#include "ztlib.hpp"

#include <memory>
#include <span>

// Makes a coded frame of an image: the library's encoders, and those of formats it only decodes.
class IPictureEncoder {
 public:
  virtual ~IPictureEncoder() = default;

  // The coded frame, header included; valid until the next call.
  [[nodiscard]] virtual std::span<std::uint8_t> Encode(const ztlib::Image& image) = 0;
};

[[nodiscard]] std::unique_ptr<IPictureEncoder> NewEncoder(const ztlib::EncoderSettings& settings);
