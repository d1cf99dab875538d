#pragma once

#include "fuzz/require.h"
#include "main/target/windll/codec/jpeg_decoder.h"

#include <array>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

// Decodes streams on both roads of the JPEG decoder, which must not be told apart.
namespace jpeg_roads {

struct Request {
  ztlib::PixelFormat format;
  std::uint32_t scale;
  bool swapRgb;
  // What the target has more, or less, than the stream has at that scale.
  int wider;
  int higher;
};

inline constexpr std::array formats = {ztlib::PixelFormat::GRAY, ztlib::PixelFormat::RGB,
                                       ztlib::PixelFormat::YUV, ztlib::PixelFormat::YUYV,
                                       ztlib::PixelFormat::UYVY};

class Decoder : public ztlib::CJPEGDecoder {
 public:
  using CJPEGDecoder::CJPEGDecoder;

  struct Outcome {
    bool failed = false;
    long warnings = 0;
    std::size_t bytesLeft = 0;
    std::vector<std::uint8_t> pixels;

    [[nodiscard]] bool operator==(const Outcome& other) const {
      return failed == other.failed && warnings == other.warnings &&
             (failed || (bytesLeft == other.bytesLeft && pixels == other.pixels));
    }
  };
  Outcome Run(std::span<const std::uint8_t> stream, const Request& request, std::uint32_t width,
              std::uint32_t height) {
    Outcome outcome;
    const std::size_t count = std::size_t{width} * height * 4 + 1;
    outcome.pixels.assign(count, 0xA5);
    SetSwapRGB(request.swapRgb);
    try {
      Decode(stream, {request.format, outcome.pixels.data(), width, height}, request.scale);
      outcome.bytesLeft = Object().src->bytes_in_buffer;
    } catch (int) {
      outcome.failed = true;
    }
    outcome.warnings = Object().err->num_warnings;
    return outcome;
  }
};

// A pair of decoders, one for each road, that have read the same streams.
struct Pair {
  Decoder own{ztlib::JpegRoad::own};
  Decoder libjpeg{ztlib::JpegRoad::libjpeg};
  // Larger pictures are left out.
  std::uint64_t maxPixels = 1 << 20;

  // What a decoder reads goes into its tables, so both read everything.
  static ztlib::JpegSize SizeOf(Decoder& decoder, std::span<const std::uint8_t> stream) {
    try {
      return decoder.ReadHeader(stream);
    } catch (int) {
      return {};
    }
  }

  // The outcome of both.
  Decoder::Outcome Compare(std::span<const std::uint8_t> stream, const Request& request) {
    const auto size = SizeOf(libjpeg, stream);
    const auto sameSize = SizeOf(own, stream);
    Require(size.width == sameSize.width && size.height == sameSize.height);
    const auto fit = [&request](std::uint32_t full, int more) {
      const std::int64_t fitting = std::int64_t{full / request.scale} + more;
      return static_cast<std::uint32_t>(fitting < 0 ? 0 : fitting);
    };
    std::uint32_t width = fit(size.width, request.wider);
    const std::uint32_t height = fit(size.height, request.higher);
    if (ztlib::IsPairFormat(request.format)) width &= ~1U;
    if (std::uint64_t{width} * height > maxPixels ||
        std::uint64_t{size.width} * size.height > maxPixels)
      return {};
    const auto expected = libjpeg.Run(stream, request, width, height);
    auto outcome = own.Run(stream, request, width, height);
    Require(outcome == expected);
    return outcome;
  }
};

}  // namespace jpeg_roads
