#pragma once

#include "main/lib/base/cdata/HAData.h"

#include <array>
#include <cmath>
#include <utility>
#include <vector>

using namespace ztlib;

// Makes configurations of calibrators.

using Numbers = std::vector<std::pair<Token, double>>;
using Marks = std::vector<std::array<double, 4>>;
constexpr Token corner[] = {Tok::X0Virtual, Tok::Y0Virtual, Tok::X1Virtual, Tok::Y1Virtual,
                            Tok::X2Virtual, Tok::Y2Virtual, Tok::X3Virtual, Tok::Y3Virtual};

// `numbers` go by name; `marks` run from foot to head of objects that are `height` meters high.
inline CData MarkedTree(const Numbers& numbers, const Marks& marks = {}, double height = 1.8) {
  CData tree;
  for (const auto& [token, value] : numbers)
    tree.AddDouble(token, value);
  tree.AddDouble(Tok::RefDistanceMeter, height);
  CData& list = tree.AddChild(Tok::RefSegment);
  for (const auto& mark : marks) {
    CData& segment = list.AddChild(Tok::Empty);
    for (std::size_t i = 0; i < mark.size(); ++i)
      segment.AddInt(corner[i], static_cast<int>(std::lround(mark[i])));
  }
  return tree;
}
