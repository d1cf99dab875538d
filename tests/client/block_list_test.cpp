#include "client/block_list.h"

#include "tests/support/common.h"

namespace {

using Blocks = std::vector<std::uint64_t>;

TEST(BlockList, HoldsWhatItsBytesHold) {
  // The offsets 0, 63, 0 and 8 have six bits; entry 2 is one bucket on, and entry 3 two more.
  const Bytes good{4, 0, 0, 0, 2, 0, 0, 0, 6, 0, 0, 0, 2, 0, 1, 0, 3, 0, 2, 0, 0xC0, 0x0F, 0x20};
  const auto changed = [&](std::size_t at, std::uint8_t value) {
    Bytes bytes = good;
    bytes[at] = value;
    return bytes;
  };
  const std::tuple<const char*, Bytes, Blocks> cases[] = {
      {"whole", good, {0, 63, 64, 200}},
      {"fewer than it has", changed(0, 2), {0, 63}},
      {"more than it has", changed(3, 255), {0, 63, 64, 200}},
      {"cut in the offsets", {good.begin(), good.end() - 1}, {0, 63}},
      {"cut in the runs", {good.begin(), good.begin() + 18}, {}},
      {"empty", {}, {}},
      {"runs beyond the end", changed(7, 255), {}},
      {"a run of no steps", changed(14, 0), {0, 63, 0, 136}},
      {"too many bits", changed(8, 32), {}},
      {"no bits", changed(8, 0), {0, 0, 1}},
  };
  for (const auto& [name, list, blocks] : cases)
    EXPECT_EQ(ReadBlockList(list), blocks) << name;
}

}  // namespace
