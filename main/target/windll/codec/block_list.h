#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ztlib {

// The list of changed blocks in a differential frame. Ascending block numbers are split into the
// start of a bucket of 2^bits numbers and an offset within it; a run record says how many buckets
// lie between one entry and the next. docs/formats.md has the bytes.

// Number of blocks and of run records, bits per offset and three bytes of zero.
inline constexpr std::uint32_t blockListHeaderSize = 12;
inline constexpr std::uint32_t maxBlockListBits = 31;

// Bytes that a list of `count` blocks can take.
[[nodiscard]] std::uint64_t MaxBlockListSize(std::uint64_t count, std::uint32_t bits);

// Appends the list to `out`. `blocks` ascends. False, with nothing appended, if an entry number or
// a distance does not fit into its 16 bits.
[[nodiscard]] bool PackBlockList(std::vector<std::uint8_t>& out,
                                 std::span<const std::uint32_t> blocks, std::uint32_t bits);

// Replaces `blocks` by the first entries of a list, `maxCount` at most. `list` may reach beyond its
// end. A list that lies about its contents ends where its bytes do; what was read before stays.
void UnpackBlockList(std::vector<std::uint64_t>& blocks, std::span<const std::uint8_t> list,
                     std::uint64_t maxCount);

}  // namespace ztlib
