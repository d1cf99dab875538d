#include "main/lib/base/cdata/token_table.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace ztlib {

namespace {

constexpr std::uint64_t MurmurHash64A(std::string_view text) {
  constexpr std::uint64_t multiplier = 0xC6A4A7935BD1E995;
  const std::size_t tail = text.size() & 7;
  const auto load = [&text](std::size_t at, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
      value |= std::uint64_t{static_cast<std::uint8_t>(text[at + i])} << (8 * i);
    return value;
  };
  std::uint64_t hash = 0xC70F6907 ^ (text.size() * multiplier);
  for (std::size_t at = 0; at < text.size() - tail; at += 8) {
    std::uint64_t block = load(at, 8) * multiplier;
    block ^= block >> 47;
    hash = (hash ^ (block * multiplier)) * multiplier;
  }
  if (tail != 0) hash = (hash ^ load(text.size() - tail, tail)) * multiplier;
  hash = (hash ^ (hash >> 47)) * multiplier;
  return hash ^ (hash >> 47);
}

constexpr std::string_view texts[] = {
    "",
#define ZT_TOKEN(name) #name,
#include "main/lib/base/cdata/token_list.inc"
#undef ZT_TOKEN
    "{00000000-0000-0000-0000-000000000000}",
    "{FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}",
    "{26797F20-DF5A-4966-BFF4-7F4EC18490E2}",
    "{D920ADD3-361D-4F4B-85DE-2E18F98A04C0}",
    "{9382B5E9-7672-4720-A4C9-27ECE8992E27}",
    "{F0D7B480-DD3C-4A2E-9A8C-6407FCB8CBA5}",
    "{01E8C591-EE4D-5B3F-AB9D-75180DC9DCB6}",
};
static_assert(std::size(texts) == TokenCount);

}  // namespace

constexpr std::array<TokenRow, TokenCount> tokenRows = [] {
  std::array<TokenRow, TokenCount> result{};
  for (std::size_t i = 0; i < result.size(); ++i)
    result[i] = {texts[i], MurmurHash64A(texts[i])};
  return result;
}();

namespace {

// Open addressing by the low bits of the hash; 0 is a free place, so the empty name has none. At
// this load a search for any name ends after one or two places.
constexpr std::size_t placeCount = 4096;
constexpr std::array<std::uint16_t, placeCount> places = [] {
  std::array<std::uint16_t, placeCount> result{};
  for (std::size_t i = 1; i < tokenRows.size(); ++i) {
    std::size_t place = tokenRows[i].hash % placeCount;
    while (result[place] != 0)
      place = (place + 1) % placeCount;
    result[place] = static_cast<std::uint16_t>(i);
  }
  return result;
}();

}  // namespace

Token TokenOf(std::string_view name) {
  const std::uint64_t hash = MurmurHash64A(name);
  for (std::size_t place = hash % placeCount; places[place] != 0; place = (place + 1) % placeCount)
    if (const TokenRow& row = tokenRows[places[place]]; row.hash == hash && row.text == name)
      return places[place];
  return Tok::Empty;
}

std::uint64_t NameHash(std::string_view name) {
  return MurmurHash64A(name);
}

}  // namespace ztlib
