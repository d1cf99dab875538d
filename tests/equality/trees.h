#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "tests/equality/steps.h"

// Both forms of a tree.
inline void MixTree(const ztlib::CData& tree) {
  const ztlib::CBinData block = ToTagged(tree);
  Mix(std::span(block.Data(), block.Size()));
  Bytes counted(CountedSize(tree));
  WriteCounted(tree, counted.data());
  Mix(std::span(counted));
}
