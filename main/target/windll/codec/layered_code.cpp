#include "main/target/windll/codec/layered_code.h"

#include "main/lib/base/byte_io.h"

#include <bit>
#include <cstring>

namespace ztlib {

namespace {

constexpr std::uint8_t escape = 128;

std::array<std::uint8_t, LayeredCode::planeBlockSize> UnpackPlanes(
    std::span<const std::uint8_t> packed) {
  std::array<std::uint8_t, LayeredCode::planeBlockSize> planes{};
  std::size_t at = 0;
  for (std::size_t i = 0; i < packed.size() && at < planes.size(); ++i) {
    if (packed[i] != escape) {
      planes[at++] = packed[i];
      continue;
    }
    if (++i == packed.size()) break;
    if (packed[i] == 0)
      planes[at++] = escape;
    else
      at += packed[i];
  }
  return planes;
}

// Nodes with their weights, the lightest one first. Which of equal weights comes first is part of
// the format, so each step is as the encoder takes it.
class Heap {
 public:
  struct Entry {
    std::uint16_t node;
    std::uint32_t weight;
  };

  [[nodiscard]] std::size_t Size() const { return size; }

  void Push(Entry entry) { SiftUp(++size, entry); }

  Entry Pop() {
    const Entry top = entries[1];
    const Entry last = entries[size--];
    std::size_t hole = 1;
    for (std::size_t child; (child = 2 * hole) <= size; hole = child) {
      if (child < size && entries[child].weight >= entries[child + 1].weight) ++child;
      entries[hole] = entries[child];
    }
    if (size > 0) SiftUp(hole, last);
    return top;
  }

 private:
  void SiftUp(std::size_t at, Entry entry) {
    for (; at > 1 && entries[at / 2].weight > entry.weight; at /= 2)
      entries[at] = entries[at / 2];
    entries[at] = entry;
  }

  std::array<Entry, 257> entries;  // from 1 on
  std::size_t size = 0;
};

}  // namespace

LayeredCode::Frequencies LayeredCode::UnpackModel(std::span<const std::uint8_t> model) {
  Frequencies frequencies{};
  const std::uint8_t* at = model.data();
  const auto takeWhole = [&](std::size_t symbol) {
    frequencies[symbol] = LoadLE<std::uint16_t>(at);
    at += sizeof(std::uint16_t);
  };
  for (std::size_t symbol = 0; symbol < 8; ++symbol)
    takeWhole(symbol);
  takeWhole(escape);
  for (std::size_t symbol = 249; symbol < 256; ++symbol)
    takeWhole(symbol);

  constexpr std::size_t rare = 240;  // 8 to 127, then 129 to 248
  constexpr std::size_t planeSize = rare / 8;
  const auto planes = UnpackPlanes(model.subspan(modelHeadSize));
  for (std::size_t at8 = 0; at8 < planes.size(); ++at8)
    for (unsigned rest = planes[at8]; rest != 0; rest &= rest - 1) {
      const std::size_t value =
          at8 % planeSize * 8 + static_cast<std::size_t>(std::countr_zero(rest));
      const std::size_t symbol = value + (value < 120 ? 8 : 9);
      frequencies[symbol] =
          static_cast<std::uint16_t>(frequencies[symbol] | 1U << (at8 / planeSize));
    }
  return frequencies;
}

void LayeredCode::Build(const Frequencies& frequencies) {
  BuildTree(frequencies);
  BuildTable();
}

void LayeredCode::BuildTree(const Frequencies& frequencies) {
  Heap heap;
  for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol)
    if (frequencies[symbol] != 0)
      heap.Push({static_cast<std::uint16_t>(firstLeaf + symbol), frequencies[symbol]});
  // One symbol alone takes a bit all the same, and so does byte 0 of a model without symbols.
  if (heap.Size() < 2) {
    const std::uint16_t leaf = heap.Size() == 1 ? heap.Pop().node : firstLeaf;
    tree[0] = {{leaf, leaf}};
    return;
  }
  for (std::size_t node = heap.Size() - 1; node-- > 0;) {
    const Heap::Entry first = heap.Pop();
    const Heap::Entry second = heap.Pop();
    tree[node] = {{first.node, second.node}};
    heap.Push({static_cast<std::uint16_t>(node), first.weight + second.weight});
  }
}

void LayeredCode::BuildTable() {
  // What each run of bits leads to, one code deep.
  std::array<Reached, tableSize> reached;
  const auto fill = [&](const auto& self, Reached at, std::size_t code) -> void {
    if (at.node >= firstLeaf || at.length == tableBits) {
      for (; code < tableSize; code += std::size_t{1} << at.length)
        reached[code] = at;
      return;
    }
    for (const std::size_t bit : {0U, 1U})
      self(self, {tree[at.node].successor[bit], static_cast<std::uint8_t>(at.length + 1)},
           code | bit << at.length);
  };
  fill(fill, {0, 0}, 0);

  constexpr unsigned maxBytes = 6;
  for (std::size_t bits = 0; bits < tableSize; ++bits) {
    std::uint64_t bytes = 0;
    unsigned count = 0;
    unsigned taken = 0;
    while (count < maxBytes && taken < tableBits) {
      const Reached next = reached[bits >> taken];
      if (next.node < firstLeaf || next.length > tableBits - taken) break;
      bytes |= std::uint64_t{next.node - std::uint64_t{firstLeaf}} << (8 * count++);
      taken += next.length;
    }
    if (count == 0) {
      bytes = reached[bits].node;
      taken = tableBits;
    }
    table[bits] = bytes | std::uint64_t{count} << 48 | std::uint64_t{taken} << 56;
  }
}

std::uint8_t LayeredCode::ByteOfZeros() const {
  std::uint16_t node = 0;
  while (node < firstLeaf)
    node = tree[node].successor[0];
  return static_cast<std::uint8_t>(node - firstLeaf);
}

// Inline, as Decode calls it for every few bytes.
inline void LayeredCode::BitSource::Refill() {
  if (rest.size() >= 8) [[likely]] {
    bits |= LoadLE<std::uint64_t>(rest.data()) << filled;
    rest = rest.subspan(static_cast<std::size_t>((63 - filled) >> 3));
    filled |= 56;
    return;
  }
  for (; filled <= 56 && !rest.empty(); filled += 8, rest = rest.subspan(1))
    bits |= std::uint64_t{rest[0]} << filled;
}

std::size_t LayeredCode::Decode(std::uint8_t* out, std::size_t count, BitSource& source) const {
  // Every step takes tableBits bits at most, and leaves up to two bytes of its eight to be
  // overwritten.
  constexpr int stepsPerRefill = 5;
  static_assert(stepsPerRefill * tableBits <= 56 && stepsPerRefill * 6 + 8 <= slack);
  BitSource in = source;  // in registers
  std::uint8_t* const start = out;
  std::uint8_t* const end = out + count;
  while (out < end) {
    in.Refill();
    if (in.IsAllZeros()) {
      // However long the client says the stream is, what lies behind its end costs no decoding.
      std::memset(out, ByteOfZeros(), static_cast<std::size_t>(end - out));
      out = end;
      break;
    }
    for (int step = 0; step < stepsPerRefill; ++step) {
      const std::uint64_t entry = table[in.bits % tableSize];
      std::memcpy(out, &entry, sizeof entry);
      in.Drop(static_cast<unsigned>(entry >> 56));
      const auto bytes = static_cast<std::uint8_t>(entry >> 48);
      out += bytes;
      if (bytes != 0) [[likely]]
        continue;
      auto node = static_cast<std::uint16_t>(entry);
      for (; node < firstLeaf; in.Drop(1)) {
        if (in.filled <= 0) in.Refill();
        node = tree[node].successor[in.bits & 1];
      }
      *out++ = static_cast<std::uint8_t>(node - firstLeaf);
      break;
    }
  }
  source = in;
  return static_cast<std::size_t>(out - start);
}

}  // namespace ztlib
