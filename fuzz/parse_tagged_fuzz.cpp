#include "fuzz/require.h"
#include "main/lib/base/cdata/HAData.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using namespace ztlib;

namespace {

bool Same(const CBinData& a, const CBinData& b) {
  return std::equal(a.Data(), a.Data() + a.Size(), b.Data(), b.Data() + b.Size());
}

}  // namespace

// The last two bytes are the skip mask, all others the block. A tree that was read can be written,
// in the size that was measured, and is read back from the same bytes; a copy is the same tree.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const auto skipMask = static_cast<std::uint16_t>(data[size - 2] | data[size - 1] << 8);
  CData tree;
  Require(ParseTagged(tree, data, size - 2, skipMask));
  const CBinData written = ToTagged(tree);
  Require(written.Size() == TaggedSize(tree));
  CData again;
  Require(ParseTagged(again, written.Data(), written.Size()));
  Require(Same(ToTagged(again), written));
  CData copy = tree;
  Require(Same(ToTagged(copy), written));

  // Searches agree with and without an index, also after a removal.
  for (std::uint64_t i = 0; i < std::min<std::uint64_t>(tree.Count(), 60); ++i) {
    const std::int64_t key = tree.At(i).key;
    const std::int64_t byName = tree.FindByName(tree.KeyText(key));
    Require(key == 0 ? byName == -1 : byName >= 0 && byName <= static_cast<std::int64_t>(i));
    if (key > 0) Require(byName == copy.Find(static_cast<Token>(key)));
    (void)tree.Type(i);
  }
  if (tree.Count() != 0) {
    const std::uint64_t position = data[0] % tree.Count();
    tree.RemoveAt(position);
    copy.RemoveAt(position);
    Require(Same(ToTagged(tree), ToTagged(copy)));
  }
  return 0;
}
