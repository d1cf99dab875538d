#include "fuzz/require.h"
#include "main/target/windll/codec/block_list.h"

#include <algorithm>
#include <cstring>

using namespace ztlib;

// The input is read twice: as a list that may lie, and, behind its first byte, as distances between
// blocks. The list of these blocks must be read back as it was.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> input(data, size);
  std::vector<std::uint64_t> unpacked;
  for (const std::uint64_t most : {std::uint64_t{4093}, std::uint64_t{3}}) {
    UnpackBlockList(unpacked, input, most);
    Require(unpacked.size() <= most);
  }
  if (input.empty()) return 0;
  const std::uint32_t bits = input[0] % (maxBlockListBits + 1);
  std::vector<std::uint32_t> blocks;
  std::uint32_t block = 0;
  for (const std::uint8_t distance : input.subspan(1).first(std::min<std::size_t>(size - 1, 4093)))
    blocks.push_back(block += distance < 250 ? distance : distance * 3000U);
  std::vector<std::uint8_t> packed = {1, 2, 3};
  if (PackBlockList(packed, blocks, bits)) {
    Require(packed.size() - 3 <= MaxBlockListSize(blocks.size(), bits));
    UnpackBlockList(unpacked, std::span(packed).subspan(3), blocks.size());
    Require(std::ranges::equal(unpacked, blocks));
  } else {
    Require(packed.size() == 3);
  }
  return 0;
}
