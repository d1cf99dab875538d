#include "client/layered/layered_tables.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

using Base = std::array<std::uint8_t, 64>;

// ITU T.81, tables K.1 and K.2.
constexpr Base lumaBase{16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
                        14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
                        18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
                        49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};
constexpr Base chromaBase{17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99,
                          24, 26, 56, 99, 99, 99, 99, 99, 47, 66, 99, 99, 99, 99, 99, 99,
                          99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
                          99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};

LayeredTable Scaled(const Base& base, int quality) {
  float scale = (100.0F - static_cast<float>(quality)) / 50.0F;
  if (quality <= 1)
    scale = 50.0F;
  else if (quality >= 99)
    scale = 0.02F;
  else if (quality <= 50)
    scale = 50.0F / static_cast<float>(quality);
  LayeredTable table;
  std::transform(base.begin(), base.end(), table.begin(), [&](int entry) {
    // The coarsest steps do not fit into 16 bits: decoders see what is left of them.
    const auto wide =
        static_cast<std::int32_t>(std::floor(static_cast<float>(entry) * 64.0F * scale + 0.5F));
    return std::clamp(static_cast<std::int16_t>(wide), std::int16_t{64}, std::int16_t{16320});
  });
  return table;
}

float Row(int base, int quality) {
  const int percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
  return static_cast<float>(std::clamp((base * percent + 50) / 100, 1, 255));
}

LayeredTable Blended(const Base& base, int quality) {
  struct CSegment {
    int end, coarse, fine, top, span;  // qualities; `top` has the fine row alone
  };
  constexpr CSegment segments[] = {{11, 1, 10, 10, 9},   {21, 10, 20, 20, 10}, {31, 20, 30, 30, 10},
                                   {41, 30, 40, 40, 10}, {51, 40, 50, 50, 10}, {61, 50, 60, 60, 10},
                                   {71, 60, 70, 70, 10}, {76, 70, 75, 75, 5},  {81, 75, 80, 80, 5},
                                   {86, 80, 85, 85, 5},  {91, 85, 90, 90, 5},  {96, 90, 95, 95, 5},
                                   {100, 95, 99, 99, 4}};
  quality = std::clamp(quality, 1, 99);
  const CSegment& segment = *std::find_if(std::begin(segments), std::end(segments),
                                          [&](const CSegment& s) { return quality < s.end; });
  const float share = static_cast<float>(segment.top - quality) / static_cast<float>(segment.span);
  LayeredTable table;
  std::transform(base.begin(), base.end(), table.begin(), [&](int entry) {
    const float step =
        Row(entry, segment.fine) * (1.0F - share) + Row(entry, segment.coarse) * share;
    return static_cast<std::int16_t>((step + 0.5F) * 64.0F);
  });
  return table;
}

}  // namespace

CLayeredTables MakeLayeredTables(int family, int quality) {
  const auto make = family == 0 ? Scaled : Blended;
  return {make(lumaBase, quality), make(chromaBase, quality)};
}
