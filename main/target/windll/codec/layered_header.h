#pragma once

#include "main/target/windll/codec/frame_header.h"

#include <cstdint>
#include <optional>
#include <span>

namespace ztlib {

// The second header of layered frames, in front of the coded picture. Every offset in it counts
// from its own first byte. docs/formats.md has the table of its bytes.
struct LayeredHeader {
  static constexpr std::uint32_t size = 112;
  static constexpr std::uint32_t planes = 3;
  static constexpr std::uint32_t layers = 4;

  // Offset within the header of the coded stream of a layer above the first.
  [[nodiscard]] static constexpr std::uint32_t LayerStreamAt(std::uint32_t layer) {
    return 28 + 4 * (layer - 1);
  }

  std::uint32_t baseStream[planes] = {};       // coded streams of layer 0: Y, U, V
  std::uint32_t layerStream[layers - 1] = {};  // of layers 1 to 3; 0 for a missing layer
  std::uint32_t baseBytes[planes] = {};        // decoded sizes
  std::uint32_t layerBytes[layers - 1] = {};
  std::uint32_t model[layers] = {};      // frequency models, which are where the layers start
  std::uint32_t layerSize[layers] = {};  // in bytes
  std::uint32_t groupSize = 0;           // in macroblocks
  std::uint32_t width = 0;               // in pixels
  std::uint32_t height = 0;
  std::int16_t tableFamily = 0;
  std::int16_t quality = 0;

  [[nodiscard]] static LayeredHeader Read(std::span<const std::uint8_t, size> bytes);
};

// Bytes of the block list between the two headers of a layered frame.
[[nodiscard]] constexpr std::uint32_t LayeredListSize(const FrameHeader& header) {
  return header.format == videoFormatLayeredDiff && header.differential != 0 ? header.listSize : 0;
}

// A layered frame from its second header to its end. Nothing if the frame ends before. `header` is
// the one that the frame begins with.
[[nodiscard]] std::optional<std::span<const std::uint8_t>> CodedPictureOf(
    std::span<const std::uint8_t> frame, const FrameHeader& header);

}  // namespace ztlib
