#include "client/layered/layered_model.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace {

constexpr std::uint32_t firstLeaf = 256;

struct CNode {
  std::uint32_t number = 0, weight = 0;
};

// Which of equal weights leaves first is part of the format: the order of each step counts.
class CHeap {
 public:
  void Push(CNode node) {
    nodes.push_back(node);
    Rise(nodes.size() - 1, node);
  }
  CNode Pop() {
    const CNode top = nodes.front(), last = nodes.back();
    nodes.pop_back();
    if (nodes.empty()) return top;
    std::size_t hole = 0;
    for (std::size_t child = 1; child < nodes.size(); child = 2 * hole + 1) {
      if (child + 1 < nodes.size() && nodes[child].weight >= nodes[child + 1].weight) ++child;
      nodes[hole] = nodes[child];
      hole = child;
    }
    Rise(hole, last);
    return top;
  }
  [[nodiscard]] std::size_t Size() const { return nodes.size(); }

 private:
  void Rise(std::size_t at, CNode node) {
    for (; at > 0 && nodes[(at - 1) / 2].weight > node.weight; at = (at - 1) / 2)
      nodes[at] = nodes[(at - 1) / 2];
    nodes[at] = node;
  }
  std::vector<CNode> nodes;
};

constexpr std::uint8_t planeEscape = 128;
constexpr std::size_t planeBytes = 30, planeCount = 16;

void AppendPacked(LayeredBytes& out, std::span<const std::uint8_t> bytes) {
  constexpr std::ptrdiff_t shortestRun = 3, longestRun = 255;
  for (auto at = bytes.begin(); at != bytes.end();) {
    const auto next = std::find_if(at, bytes.end(), [](int byte) { return byte != 0; });
    if (const auto run = std::min(next - at, longestRun); run >= shortestRun) {
      out.insert(out.end(), {planeEscape, static_cast<std::uint8_t>(run)});
      at += run;
      continue;
    }
    out.push_back(*at);
    if (*at++ == planeEscape) out.push_back(0);
  }
}

LayeredFrequencies Counted(const std::array<std::uint32_t, 256>& counts) {
  LayeredFrequencies frequencies;
  int shift = 0;
  while (*std::max_element(counts.begin(), counts.end()) >> shift > UINT16_MAX)
    ++shift;
  std::transform(counts.begin(), counts.end(), frequencies.begin(), [&](std::uint32_t count) {
    return static_cast<std::uint16_t>(count == 0 ? 0 : std::max(count >> shift, 1U));
  });
  return frequencies;
}

LayeredFrequencies Steep(const std::array<std::uint32_t, 256>& counts) {
  std::array<std::size_t, 256> ranked;
  std::iota(ranked.begin(), ranked.end(), 0);
  std::stable_sort(ranked.begin(), ranked.end(),
                   [&](std::size_t a, std::size_t b) { return counts[a] < counts[b]; });
  LayeredFrequencies frequencies;
  std::uint32_t rarer = 0, present = 1;
  for (const std::size_t symbol : ranked) {
    frequencies[symbol] = static_cast<std::uint16_t>(present);
    rarer = std::exchange(present, std::min<std::uint32_t>(present + rarer, UINT16_MAX));
  }
  return frequencies;
}

}  // namespace

CLayeredModel CLayeredModel::Of(std::span<const LayeredBytes> streams, ELayeredModels kind,
                                bool hasEmpty) {
  std::array<std::uint32_t, 256> counts{};
  for (const LayeredBytes& stream : streams)
    for (const std::uint8_t symbol : stream)
      ++counts[symbol];
  const bool isZero =
      std::all_of(counts.begin() + 1, counts.end(), [](std::uint32_t count) { return count == 0; });
  LayeredFrequencies flat;
  flat.fill(1);
  if (hasEmpty && isZero) return CLayeredModel(LayeredFrequencies{});
  if (kind == ELayeredModels::counted) return CLayeredModel(Counted(counts));
  return CLayeredModel(kind == ELayeredModels::flat ? flat : Steep(counts));
}

CLayeredModel::CLayeredModel(const LayeredFrequencies& symbolFrequencies)
    : frequencies(symbolFrequencies) {
  CHeap heap;
  for (std::uint32_t symbol = 0; symbol < frequencies.size(); ++symbol)
    if (frequencies[symbol] != 0) heap.Push({firstLeaf + symbol, frequencies[symbol]});
  // Without a choice any bit will do, but a bit it takes.
  codes.fill({0, 1});
  if (heap.Size() < 2) return;

  struct CInner {
    std::uint32_t next[2];
  };
  std::vector<CInner> tree(heap.Size() - 1);
  for (auto number = static_cast<std::uint32_t>(tree.size()); number-- > 0;) {
    const CNode first = heap.Pop(), second = heap.Pop();
    tree[number] = {{first.number, second.number}};
    if (number > 0) heap.Push({number, first.weight + second.weight});
  }
  // Inner nodes have higher numbers than those above them.
  std::vector<CCode> ways(tree.size());
  for (std::size_t number = 0; number < tree.size(); ++number)
    for (std::uint64_t bit = 0; bit < 2; ++bit) {
      const CCode& way = ways[number];
      const CCode longer{way.bits | bit << way.length, way.length + 1};
      const std::uint32_t next = tree[number].next[bit];
      (next < firstLeaf ? ways[next] : codes[next - firstLeaf]) = longer;
    }
}

void CLayeredModel::WriteTo(LayeredBytes& out) const {
  for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol)
    if (symbol < 8 || symbol == 128 || symbol > 248) AppendNumber(out, frequencies[symbol], 2);
  std::array<std::uint8_t, planeCount * planeBytes> planes{};
  std::size_t place = 0;
  for (std::size_t symbol = 8; symbol <= 248; ++symbol) {
    if (symbol == 128) continue;
    for (std::size_t plane = 0; plane < planeCount; ++plane)
      planes[plane * planeBytes + place / 8] |=
          static_cast<std::uint8_t>((frequencies[symbol] >> plane & 1) << place % 8);
    ++place;
  }
  AppendPacked(out, planes);
}

void CLayeredModel::Encode(std::span<const std::uint8_t> stream, LayeredBytes& out) const {
  std::uint64_t held = 0;
  int count = 0;
  const auto flush = [&] {
    AppendNumber(out, static_cast<std::uint32_t>(held), 4);
    held >>= 32;
    count -= 32;
  };
  for (const std::uint8_t symbol : stream) {
    // The longest code has fewer than 40 bits: it may have to go in as two parts.
    CCode code = codes[symbol];
    while (code.length > 0) {
      const int part = std::min(code.length, 32);
      held |= (code.bits & ((std::uint64_t{1} << part) - 1)) << count;
      count += part;
      code = {code.bits >> part, code.length - part};
      while (count >= 32)
        flush();
    }
  }
  if (count > 0) flush();
}
