#pragma once

#include "main/target/windll/codec/layered_header.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ztlib {

// Layered frames cut into records of one layer each, and put together again, without a look at the
// pictures. docs/formats.md has the bytes of a record. Results of nothing mean that offsets and
// sizes do not fit the bytes.

using LayerSizes = std::array<std::uint32_t, LayeredHeader::layers>;
using LayerRecords = std::array<std::vector<std::uint8_t>, LayeredHeader::layers>;

[[nodiscard]] constexpr bool IsLayered(std::int16_t format) {
  return format == videoFormatLayered || format == videoFormatLayeredDiff;
}

// Bytes of each layer of a layered frame; the first includes the block list. Layers that have been
// taken out still count, though their bytes are not there.
[[nodiscard]] std::optional<LayerSizes> ReadLayerSizes(std::span<const std::uint8_t> frame);

// The records of all layers of a layered frame.
[[nodiscard]] std::optional<LayerRecords> SplitLayers(std::span<const std::uint8_t> frame);

// A frame from the records of its first one to four layers; those that are not there are marked as
// missing. Empty if the first record is not of a layered format.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> JoinLayers(
    std::span<const std::span<const std::uint8_t>> records);

}  // namespace ztlib
