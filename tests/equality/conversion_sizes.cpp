// Conversions at every small size and some larger ones, of rows with and without something between
// them. Whatever lies in the target before stays there where nothing is converted to.
#include "main/target/windll/image_convert/image_convert.h"
#include "tests/equality/steps.h"

#include <initializer_list>

using namespace ztlib;

namespace {

// Memory of just the size of a picture, so that a sanitizer sees what is read or written behind it.
// Rows are `gap` samples longer than the picture, and the first begins at `offset`.
template <class View>
struct Place {
  using Sample = typename View::Pixel;
  Place(int dx, int dy, int gap, std::size_t offset, std::uint32_t seed) {
    const bool isEmpty = dx <= 0 || dy <= 0;
    const int samples = isEmpty ? 0 : (dy - 1) * (dx + gap) + dx;
    bytes = Noise(offset + static_cast<std::size_t>(samples) * sizeof(Sample), seed);
    bytes.shrink_to_fit();
    // Values at the ends and around the middle are where rounding shows.
    constexpr std::uint8_t edges[] = {0, 1, 126, 127, 128, 129, 254, 255};
    for (std::uint8_t& byte : bytes)
      if (byte % 2 == 0) byte = edges[byte / 2 % 8];
    view.dx = dx;
    view.dy = dy;
    view.scanline = dx + gap;
    view.data = reinterpret_cast<Sample*>(bytes.data() + offset);
  }
  Bytes bytes;
  View view;
};

template <class Target, class Source>
void One(int sourceDx, int sourceDy, int targetDx, int targetDy, std::size_t alignment = 1) {
  for (const int gap : {0, 3}) {
    const std::size_t offset = gap == 0 ? 0 : alignment;
    const Place<Source> source(sourceDx, sourceDy, gap, offset, 3);
    Place<Target> target(targetDx, targetDy, gap, offset, 4);
    Convert(target.view, source.view);
    Mix(std::span(target.bytes));
  }
}

template <class View>
constexpr int formatOf = static_cast<int>(PixelTraits<typename View::Pixel>::format);
template <class Target, class Source>
std::string Name() {
  return std::string("sizes ") + formatNames[formatOf<Source>] + " to " +
         formatNames[formatOf<Target>];
}

// All sizes up to the largest, and higher than that ones as wide as `wide`.
template <class Target, class Source>
void Sizes(std::initializer_list<int> wide, int maxDx, int maxDy) {
  using To = PixelTraits<typename Target::Pixel>;
  using From = PixelTraits<typename Source::Pixel>;
  const auto one = [](int dx, int dy) {
    One<Target, Source>(dx, dy, dx * From::sampleDx / To::sampleDx,
                        dy * From::sampleDy / To::sampleDy);
  };
  Step(Name<Target, Source>(), [&] {
    for (int dy = 0; dy <= maxDy; ++dy)
      for (int dx = 0; dx <= maxDx; ++dx)
        one(dx, dy);
    for (const int dx : wide)
      one(dx, maxDy);
  });
}

template <class Source, class... Targets>
void Rows() {
  (Sizes<Targets, Source>({255, 641}, 67, 2), ...);
}

}  // namespace

void ConversionSizes() {
  Rows<BoolImageView, GrayImageView, RgbImageView>();
  Rows<GrayImageView, BoolImageView, RgbImageView, YuvImageView, YuyvImageView, UyvyImageView>();
  Rows<RgbImageView, GrayImageView, YuvImageView, YuyvImageView, UyvyImageView>();
  Rows<YuvImageView, GrayImageView, RgbImageView, YuyvImageView, UyvyImageView>();
  Rows<YuyvImageView, GrayImageView, RgbImageView, YuvImageView, UyvyImageView>();
  Rows<UyvyImageView, GrayImageView, RgbImageView, YuvImageView, YuyvImageView>();
  Sizes<RgbImageView, BayerImageView>({63, 64, 65, 66, 67, 68, 255}, 41, 9);
  Sizes<GrayImageView, BayerBlockImageView>({64, 131}, 40, 6);
  Sizes<RgbImageView, BayerBlockImageView>({64, 131}, 40, 6);
  Sizes<YuvImageView, BayerBlockImageView>({64, 131}, 40, 6);
  Sizes<YuyvImageView, BayerBlockImageView>({64, 131}, 20, 5);
  Sizes<GrayImageView, Yuv420ImageView>({66}, 4, 3);
  Sizes<RgbImageView, Yuv420ImageView>({64, 65, 66, 131}, 6, 2);
  Sizes<YuvImageView, Yuv420ImageView>({64, 65, 66, 131}, 6, 2);
  Sizes<YuyvImageView, Yuv420ImageView>({66}, 4, 3);
  Sizes<UyvyImageView, Yuv420ImageView>({66}, 4, 3);
  Sizes<Yuv420ImageView, YuvImageView>({16 * 66}, 49, 33);
  Sizes<Yuv420ImageView, YuyvImageView>({8 * 66}, 25, 33);
  Step(Name<YuyvImageView, BayerImageView>(), [] {
    for (int dy = 4; dy <= 9; ++dy)
      for (int dx = 4; dx <= 140; dx += 2)
        One<YuyvImageView, BayerImageView>(dx, dy, dx / 2, dy, 4);
  });
  Step("sizes of smaller targets", [] {
    One<RgbImageView, BayerImageView>(40, 9, 23, 6);
    One<RgbImageView, Yuv420ImageView>(3, 3, 47, 31);
    One<YuvImageView, Yuv420ImageView>(3, 3, 32, 33);
    One<UyvyImageView, Yuv420ImageView>(3, 3, 17, 40);
    One<Yuv420ImageView, YuvImageView>(33, 40, 3, 3);
  });
}
