#include "main/lib/base/frame_manager.h"
#include "main/lib/imgproc/polygon_filler.h"
#include "tests/equality/steps.h"

#include <utility>

using namespace ztlib;

namespace {

void MixMask(const CMask& mask) {
  Mix(mask.GetArea());
  for (const auto side : {mask.GetLeft(), mask.GetTop(), mask.GetRight(), mask.GetBottom()})
    Mix(side);
  for (int y = -1; y <= mask.GetHeight(); ++y) {
    Mix(y);
    Mix(std::span(mask.GetRow(y)));
  }
}

CMask MaskOf(int width, int height, const PolygonList& polygons) {
  CMask mask;
  mask.SetPolygons(width, height, polygons);
  MixMask(mask);
  return mask;
}

template <class Pixel, class... Values>
void Paint(const CMask& mask, Values... values) {
  for (const bool isInverse : {false, true}) {
    TCImageView<Pixel> image;
    image.Create(mask.GetWidth(), mask.GetHeight());
    isInverse ? mask.OverlayInverse(image, values...) : mask.Overlay(image, values...);
    for (int y = 0; y < image.dy; ++y)
      Mix(std::span(image.RowBytes(y), image.dx * sizeof(Pixel)));
  }
}

}  // namespace

void Masks() {
  Draw draw(7);
  const auto below = [&draw](unsigned limit) { return static_cast<int>(draw.Below(limit)); };
  // Shapes of few and many points, some outside of the picture, some twice.
  Step("masks of polygons", [&] {
    for (int round = 0; round < 3000; ++round) {
      const int width = 1 + below(round % 8 != 0 ? 40 : 300), height = 1 + below(100);
      PolygonList polygons(static_cast<std::size_t>(1 + below(5)));
      for (CMaskPolygon& polygon : polygons) {
        for (int count = below(12); count > 0; --count) {
          const int x = below(static_cast<unsigned>(width + 20)) - 10;
          const int y = below(static_cast<unsigned>(height + 20)) - 10;
          polygon.push_back({x, y});
        }
        if (below(4) == 0) polygon = polygons.front();
      }
      const CMask mask = MaskOf(width, height, polygons);
      const CMask other = MaskOf(width, height, {polygons.back()});
      CMask outside, both;
      CMask::Invert(other, outside);
      MixMask(outside);
      CMask::Intersect(mask, outside, both);
      MixMask(both);
      CMask::Unite(other, both, both);  // whose runs touch
      MixMask(both);
    }
  });
  // Where the float rounds to more than a pixel, and points beyond every size.
  Step("mask of 20 million columns", [] {
    constexpr std::int64_t far = INT64_MAX;
    MaskOf(20000003, 3,
           {{{1, 0}, {16777218, 1}, {20000001, 2}, {3, 2}, {16777219, 0}},
            {{-far, -far}, {far, -far}, {far, far}}});
  });
  Step("masks of trees", [&] {
    for (int round = 0; round < 500; ++round) {
      CData tree;
      for (int arrays = below(3); arrays > 0; --arrays) {
        std::vector<std::int16_t> numbers(static_cast<std::size_t>(below(12)));
        for (std::int16_t& number : numbers)
          number = static_cast<std::int16_t>(below(32) * 1024 - (round % 4 == 0 ? 16384 : 0));
        tree.AddShortArray(Tok::Empty, numbers);
        tree.Append("", CDataValue::OfShortArray(nullptr));
      }
      CMask mask;
      const Size sizes[] = {{9, 7}, {160, 120}, {161, 90}, {0, 0}, {90, 300}};
      mask.BuildFromData(tree, sizes[round % 5]);
      MixMask(mask);
    }
  });
  Step("masks painted", [] {
    const CMask mask = MaskOf(70, 9, {{{0, 0}, {50, 2}, {20, 8}}, {{60, 1}, {69, 1}, {69, 8}}});
    const std::uint8_t a = 1, b = 2, c = 3;
    Paint<TTGray<unsigned char>>(mask, a);
    Paint<TTYUV<unsigned char>>(mask, a, b, c);
    Paint<TTRGB<unsigned char>>(mask, a, b, c);
  });
}
