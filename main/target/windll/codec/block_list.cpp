#include "main/target/windll/codec/block_list.h"

#include "main/lib/base/byte_io.h"

#include <algorithm>

namespace ztlib {

namespace {

constexpr std::uint64_t runRecordSize = 4;
constexpr std::uint64_t max16 = 0xFFFF;

// The packed offsets end with slack for readers that load whole words.
std::uint64_t PackedSize(std::uint64_t count, std::uint32_t bits) {
  return ((bits * count + 7) / 8 + 7) & ~std::uint64_t{3};
}

// Bits from the least significant one up.
class BitWriter {
 public:
  explicit BitWriter(std::uint8_t* out) : out(out) {}
  void Put(std::uint64_t value, std::uint32_t bits) {
    pending |= value << filled;
    for (filled += bits; filled >= 8; filled -= 8, pending >>= 8)
      *out++ = static_cast<std::uint8_t>(pending);
  }
  void Flush() {
    if (filled > 0) *out = static_cast<std::uint8_t>(pending);
  }

 private:
  std::uint8_t* out;
  std::uint64_t pending = 0;
  std::uint32_t filled = 0;  // below 8 between calls
};

class BitReader {
 public:
  explicit BitReader(std::span<const std::uint8_t> data) : in(data) {}
  [[nodiscard]] bool Get(std::uint64_t& value, std::uint32_t bits) {
    for (std::uint8_t byte; filled < bits; filled += 8) {
      if (!in.Read(byte)) return false;
      pending |= std::uint64_t{byte} << filled;
    }
    value = pending & ((std::uint64_t{1} << bits) - 1);
    pending >>= bits;
    filled -= bits;
    return true;
  }

 private:
  ByteReader in;
  std::uint64_t pending = 0;
  std::uint32_t filled = 0;
};

}  // namespace

std::uint64_t MaxBlockListSize(std::uint64_t count, std::uint32_t bits) {
  return blockListHeaderSize + runRecordSize * count + PackedSize(count, bits);
}

bool PackBlockList(std::vector<std::uint8_t>& out, std::span<const std::uint32_t> blocks,
                   std::uint32_t bits) {
  const std::uint64_t step = std::uint64_t{1} << bits;
  const std::size_t start = out.size();
  // Run records directly behind the header; the packed offsets follow when their place is known.
  out.resize(start + MaxBlockListSize(blocks.size(), bits));
  std::uint8_t* run = &out[start + blockListHeaderSize];
  std::uint32_t runs = 0;
  std::uint64_t base = 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (blocks[i] < base + step) continue;
    const std::uint64_t steps = (blocks[i] - base) / step;
    if (steps > max16 || i > max16) {
      out.resize(start);
      return false;
    }
    base += steps * step;
    StoreLE(run, static_cast<std::uint16_t>(i));
    StoreLE(run + 2, static_cast<std::uint16_t>(steps));
    run += runRecordSize;
    ++runs;
  }
  StoreLE(&out[start], static_cast<std::uint32_t>(blocks.size()));
  StoreLE(&out[start + 4], runs);
  StoreLE(&out[start + 8], bits);
  if (blocks.empty()) {
    out.resize(start + blockListHeaderSize);
    return true;
  }
  BitWriter writer(run);
  for (const std::uint32_t block : blocks)
    writer.Put(block & (step - 1), bits);
  writer.Flush();
  out.resize(static_cast<std::size_t>(run - out.data()) + PackedSize(blocks.size(), bits));
  return true;
}

void UnpackBlockList(std::vector<std::uint64_t>& blocks, std::span<const std::uint8_t> list,
                     std::uint64_t maxCount) {
  blocks.clear();
  ByteReader in(list);
  std::uint32_t count;
  std::uint32_t runs;
  std::uint32_t bits;
  if (!in.Read(count) || !in.Read(runs) || !in.Read(bits)) return;
  bits &= 0xFF;
  if (bits > maxBlockListBits) return;
  const std::uint64_t step = std::uint64_t{1} << bits;
  const std::uint64_t recordBytes = std::min(runs * runRecordSize, in.Remaining());
  ByteReader records(in.Rest().first(recordBytes));
  BitReader offsets(in.Rest().subspan(recordBytes));

  std::uint16_t entry = 0;
  std::uint16_t steps = 0;
  bool hasRun = records.Read(entry) && records.Read(steps);
  std::uint64_t base = 0;
  for (std::uint64_t i = 0; i < std::min<std::uint64_t>(count, maxCount); ++i) {
    if (hasRun && entry == i) {
      base += steps * step;
      hasRun = records.Read(entry) && records.Read(steps);
    }
    std::uint64_t offset;
    if (!offsets.Get(offset, bits)) return;
    blocks.push_back(base + offset);
  }
}

}  // namespace ztlib
