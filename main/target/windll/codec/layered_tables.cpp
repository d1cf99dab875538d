#include "main/target/windll/codec/layered_tables.h"

#include <algorithm>

namespace ztlib {

namespace {

using Base = std::array<std::uint8_t, 64>;

// The tables of ITU T.81, annex K.
constexpr Base luminanceBase = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,  //
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,  //
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,  //
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};
constexpr Base chrominanceBase = {
    17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99,  //
    24, 26, 56, 99, 99, 99, 99, 99, 47, 66, 99, 99, 99, 99, 99, 99,  //
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,  //
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};

constexpr float fraction = 64.0F;

// Family 0: the base tables times a factor. Products beyond 16 bits wrap before they are limited,
// as they do in the cameras.
LayeredTables::Table ScaledTable(const Base& base, std::int16_t quality) {
  float scale = static_cast<float>(100 - quality) / 50.0F;
  if (quality <= 1)
    scale = 50.0F;
  else if (quality >= 99)
    scale = 0.02F;
  else if (quality <= 50)
    scale = 50.0F / static_cast<float>(quality);
  LayeredTables::Table table;
  std::ranges::transform(base, table.begin(), [scale](std::uint8_t value) {
    const float scaled = static_cast<float>(value) * fraction * scale + 0.5F;
    const auto wrapped = static_cast<std::int16_t>(static_cast<std::int32_t>(scaled));
    return std::clamp(wrapped, std::int16_t{64}, std::int16_t{16320});
  });
  return table;
}

// An entry of a base table at a quality from 1 to 99, as JPEG encoders scale it.
float ValueAt(std::uint8_t base, int quality) {
  const int percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
  return static_cast<float>(std::clamp((base * percent + 50) / 100, 1, 255));
}

// Family 1: a blend of the base tables at the nearest two of these qualities.
LayeredTables::Table BlendedTable(const Base& base, std::int16_t wanted) {
  constexpr int steps[] = {1, 10, 20, 30, 40, 50, 60, 70, 75, 80, 85, 90, 95, 99};
  const int quality = std::clamp<int>(wanted, 1, 99);
  const int* const upper = quality == 1 ? steps + 1 : std::ranges::lower_bound(steps, quality);
  const int below = upper[-1];
  const float share = static_cast<float>(*upper - quality) / static_cast<float>(*upper - below);
  LayeredTables::Table table;
  std::ranges::transform(base, table.begin(), [=](std::uint8_t value) {
    const float blended =
        ValueAt(value, *upper) * (1.0F - share) + ValueAt(value, below) * share + 0.5F;
    return static_cast<std::int16_t>(blended * fraction);
  });
  return table;
}

}  // namespace

LayeredTables MakeLayeredTables(std::int16_t family, std::int16_t quality) {
  const auto make = family == 0 ? ScaledTable : BlendedTable;
  return {make(luminanceBase, quality), make(chrominanceBase, quality)};
}

}  // namespace ztlib
