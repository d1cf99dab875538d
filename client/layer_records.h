#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Layered frames and the four records that they come apart into. All throw ztlib::Error for what
// is no such thing.

inline constexpr std::size_t layerCount = 4;
// No record is shorter.
inline constexpr std::uint32_t layerHeaderSize = 32;

using LayerRecord = std::vector<std::uint8_t>;

struct CLayerSize {
  std::uint32_t bytes = 0;
  bool isThere = true;  // a layer that was cut off keeps its size in the frame
};
[[nodiscard]] std::array<CLayerSize, layerCount> LayerSizes(std::span<const std::uint8_t> frame);

// A frame of the first so many layers, as long as it says; of all four it is what was split.
[[nodiscard]] std::vector<std::uint8_t> JoinWholeFrame(std::span<const LayerRecord> records);
