#include "fuzz/require.h"
#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/HAData.h"

#include <cstddef>
#include <cstdint>
#include <vector>

using namespace ztlib;

namespace {

std::vector<std::uint8_t> Written(const CData& tree) {
  std::vector<std::uint8_t> bytes(CountedSize(tree));
  Require(WriteCounted(tree, bytes.data()) == bytes.data() + bytes.size());
  return bytes;
}

CData Parsed(const std::uint8_t* data, std::size_t size) {
  CData tree;
  ByteReader in(data, size);
  std::uint32_t count;
  if (!in.Read(count)) return tree;
  const std::uint8_t* cursor = in.Rest().data();
  Require(ParseCounted(tree, count, cursor, in.Remaining()));
  Require(cursor >= data + sizeof count && cursor <= data + size);
  return tree;
}

}  // namespace

// The block is a node: a count, then elements. A tree that was read has only kinds of this form, so
// it fills the measured size when it is written, and is read back from the same bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::uint8_t> written = Written(Parsed(data, size));
  Require(Written(Parsed(written.data(), written.size())) == written);
  return 0;
}
