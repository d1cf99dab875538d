#include "main/target/windll/codec/unit_coder.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace ztlib {

namespace {

constexpr std::uint32_t EntryOf(std::uint32_t bits, unsigned length) {
  return bits << 8 | length;
}

// An entry with the bits of a value behind it: of a negative one those of the number below it.
std::uint32_t WithValue(std::uint32_t entry, int value, unsigned size) {
  const auto bits = static_cast<unsigned>(value < 0 ? value - 1 : value) & ((1U << size) - 1);
  return EntryOf((entry >> 8) << size | bits, (entry & 0xff) + size);
}

unsigned SizeOf(int value) {
  return static_cast<unsigned>(std::bit_width(static_cast<unsigned>(std::abs(value))));
}

void SetSymbols(std::uint32_t (&symbols)[256], const JHUFF_TBL& table) {
  std::uint32_t code = 0;
  const std::uint8_t* next = table.huffval;
  for (unsigned length = 1; length <= 16; ++length, code <<= 1)
    for (int i = 0; i < table.bits[length]; ++i)
      symbols[*next++] = EntryOf(code++, length);
}

UnitCodes MakeCodes(const JHUFF_TBL& first, const JHUFF_TBL& others) {
  UnitCodes codes{};
  SetSymbols(codes.symbols, first);
  constexpr int limit = UnitCodes::differences / 2;
  for (int value = 1 - limit; value < limit; ++value)
    codes.first[static_cast<unsigned>(value) % UnitCodes::differences] =
        WithValue(codes.symbols[SizeOf(value)], value, SizeOf(value));
  SetSymbols(codes.symbols, others);
  for (unsigned run = 0; run < UnitCodes::runs; ++run)
    for (int value = -127; value < 127; ++value)
      if (value != 0)
        codes.others[run][static_cast<std::uint8_t>(value)] =
            WithValue(codes.symbols[run << 4 | SizeOf(value)], value, SizeOf(value));
  return codes;
}

// With 14 more bits than the divisor has, the reciprocal is exact for all sums below 2^14; eight
// times a coefficient is at most 2^13.
void SetQuantisers(UnitQuantisers& made, const JQUANT_TBL& table) {
  for (std::size_t i = 0; i < DCTSIZE2; ++i) {
    const unsigned divisor = 8U * table.quantval[i];
    const auto bits = static_cast<unsigned>(std::bit_width(divisor));
    made.halves[i] = static_cast<std::uint16_t>(divisor / 2);
    made.reciprocals[i] = static_cast<std::uint16_t>(((1U << (14 + bits)) - 1) / divisor + 1);
    made.scales[i] = static_cast<std::uint16_t>(1U << (18 - bits));
  }
}

}  // namespace

void UnitCoder::SetTables(const jpeg_compress_struct& object) {
  static const UnitCodes codes[] = {
      MakeCodes(*object.dc_huff_tbl_ptrs[0], *object.ac_huff_tbl_ptrs[0]),
      MakeCodes(*object.dc_huff_tbl_ptrs[1], *object.ac_huff_tbl_ptrs[1])};
  UnitTables* const tables[] = {&luma, &chroma};
  for (std::size_t i = 0; i < 2; ++i) {
    tables[i]->codes = &codes[i];
    SetQuantisers(tables[i]->quantisers, *object.quant_tbl_ptrs[i]);
  }
}

void UnitCoder::Begin(std::span<std::uint8_t> newRoom) {
  room = newRoom;
  stream = {.next = batch.data(), .bits = 0, .count = 0, .lastFirst = {}};
}

bool UnitCoder::CodeRow(UnitKernels::Planes planes, std::size_t blocksAcross, bool hasLower) {
  const UnitKernels& kernels = KernelsFor<UnitKernels>();
  while (blocksAcross > 0) {
    const std::size_t units = std::clamp<std::size_t>(blocksAcross / 2, 1, batchUnits);
    kernels.encode(stream, planes, units, luma, chroma, blocksAcross > 1, hasLower);
    if (!Empty()) return false;
    blocksAcross -= std::min(blocksAcross, 2 * units);
    planes.luma += 2 * DCTSIZE * units;
    for (const std::uint8_t*& plane : planes.chroma)
      plane += DCTSIZE * units;
  }
  return true;
}

bool UnitCoder::Finish() {
  if (stream.count > 0)
    *stream.next++ =
        static_cast<std::uint8_t>(stream.bits << (8 - stream.count) | 0xffU >> stream.count);
  return Empty();
}

bool UnitCoder::Empty() {
  const auto count = static_cast<std::size_t>(stream.next - batch.data());
  stream.next = batch.data();
  if (room.size() > 2 * count + UnitKernels::stuffRoom) {
    std::uint8_t* const end = KernelsFor<UnitKernels>().stuff(room.data(), batch.data(), count);
    room = room.subspan(static_cast<std::size_t>(end - room.data()));
    return true;
  }
  for (const std::uint8_t byte : std::span(batch).first(count)) {
    const std::size_t needed = byte == 0xff ? 2 : 1;
    if (room.size() < needed) return false;
    room[0] = byte;
    if (needed == 2) room[1] = 0;
    room = room.subspan(needed);
  }
  return true;
}

}  // namespace ztlib
