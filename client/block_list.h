#pragma once

#include <cstdint>
#include <span>
#include <vector>

// The numbers of the blocks that a list names, in rows from the top left of the picture: as many as
// its bytes really hold.
[[nodiscard]] std::vector<std::uint64_t> ReadBlockList(std::span<const std::uint8_t> list);
