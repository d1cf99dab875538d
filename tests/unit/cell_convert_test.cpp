#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimage.h"
#include "main/target/windll/image_convert/image_convert.h"
#include "tests/support/guarded_memory.h"
#include "tests/support/pixel_model.h"
#include "tests/support/test_frames.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

// The model, picture by picture.

void Set(RgbImageView& target, int x, int y, const Pixel& p) {
  auto& pixel = *target.PtrAt(x, y);
  pixel.b = static_cast<std::uint8_t>(p[0]);
  pixel.g = static_cast<std::uint8_t>(p[1]);
  pixel.r = static_cast<std::uint8_t>(p[2]);
}
void Set(YuvImageView& target, int x, int y, const Pixel& p) {
  auto& pixel = *target.PtrAt(x, y);
  pixel.y = static_cast<std::uint8_t>(p[0]);
  pixel.u = static_cast<std::uint8_t>(p[1]);
  pixel.v = static_cast<std::uint8_t>(p[2]);
}
template <class Pairs>
void SetPair(TCImageView<Pairs>& target, int i, int y, int y0, int u, int y1, int v) {
  auto& sample = *target.PtrAt(i, y);
  sample.y0 = static_cast<std::uint8_t>(y0);
  sample.u = static_cast<std::uint8_t>(u);
  sample.y1 = static_cast<std::uint8_t>(y1);
  sample.v = static_cast<std::uint8_t>(v);
}

void Model(RgbImageView& target, const BayerImageView& source) {
  const auto p = [&](int x, int y) { return int{source.PtrAt(x, y)->value}; };
  for (int y = 1; y <= source.dy - 2; ++y)
    for (int x = 1; x <= source.dx - 2; ++x) {
      if (x >= target.dx || y >= target.dy) continue;
      const int sides = p(x - 1, y) + p(x + 1, y);
      const int column = p(x, y - 1) + p(x, y + 1);
      const int diagonals = p(x - 1, y - 1) + p(x + 1, y - 1) + p(x - 1, y + 1) + p(x + 1, y + 1);
      if (y % 2 == 0 && x % 2 == 0) Set(target, x, y, {column >> 1, p(x, y), sides >> 1});
      if (y % 2 == 0 && x % 2 == 1)
        Set(target, x, y, {diagonals >> 2, (sides + column) >> 2, p(x, y)});
      if (y % 2 == 1 && x % 2 == 0)
        Set(target, x, y, {p(x, y), (sides + column) >> 2, diagonals >> 2});
      if (y % 2 == 1 && x % 2 == 1) Set(target, x, y, {sides >> 1, p(x, y), column >> 1});
    }
}

void Model(YuyvImageView& target, const BayerImageView& source) {
  const int end = source.dx / 4 * 4;
  for (int y = 0; y < source.dy; ++y) {
    const int above = y == 0 ? 1 : y - 1;
    const int below = y == source.dy - 1 ? y - 1 : y + 1;
    const auto c = [&](int x) { return int{source.PtrAt(x, y)->value}; };
    const auto v = [&](int x) {
      return (source.PtrAt(x, above)->value + source.PtrAt(x, below)->value + 1) >> 1;
    };
    for (int x = 4; x < end - 4; x += 2) {
      Pixel l, r;
      if (y % 2 == 1) {
        l = {c(x), (c(x - 1) + 2 * v(x) + c(x + 1) + 2) >> 2, (v(x - 1) + v(x + 1) + 1) >> 1};
        r = {(c(x) + c(x + 2) + 1) >> 1, c(x + 1), v(x + 1)};
      } else {
        l = {v(x), c(x), (c(x - 1) + c(x + 1) + 1) >> 1};
        r = {(v(x) + v(x + 2) + 1) >> 1, (c(x) + 2 * v(x + 1) + c(x + 2) + 2) >> 2, c(x + 1)};
      }
      l = RgbToYuv(l);
      r = RgbToYuv(r);
      SetPair(target, x / 2, y, l[0], (l[1] + r[1] + 1) >> 1, r[0], (l[2] + r[2] + 1) >> 1);
    }
    for (const int x : {0, end - 4}) {
      Pixel p[4];  // blue, green, red
      if (y % 2 == 0) {
        const int blue0 = v(x);
        const int blue2 = v(x + 2);
        p[0] = {blue0, c(x), c(x + 1)};
        p[1] = {(blue0 + blue2) >> 1, (c(x) + c(x + 2) + (v(x + 1) << 1)) >> 2, c(x + 1)};
        p[2] = {blue2, c(x + 2), (c(x + 1) + c(x + 3)) >> 1};
        p[3] = {blue2, v(x + 3), c(x + 3)};
      } else {
        const int red0 = v(x + 1);
        const int sum2 = source.PtrAt(x + 2, above)->value + source.PtrAt(x + 2, below)->value + 1;
        p[0] = {c(x), v(x), red0};
        p[1] = {(c(x) + c(x + 2)) >> 1, c(x + 1), red0};
        p[2] = {c(x + 2), ((sum2 & ~1) + c(x + 1) + c(x + 3)) >> 2, (red0 + v(x + 3)) >> 1};
        p[3] = {c(x + 2), c(x + 3), v(x + 3)};
      }
      for (int i = 0; i < 4; i += 2) {
        const Pixel l = RgbToYuv(p[i]);
        const Pixel r = RgbToYuv(p[i + 1]);
        SetPair(target, (x + i) / 2, y, l[0], l[1], r[0], r[2]);
      }
    }
    if (end == source.dx) continue;
    const Pixel last = RgbToYuv(y % 2 == 0 ? Pixel{v(end), c(end), c(end + 1)}
                                           : Pixel{c(end), c(end + 1), v(end + 1)});
    SetPair(target, end / 2, y, last[0], last[1], last[0], last[2]);
  }
}

// A byte of a group: 0 and 1 luma, 2 and 3 chroma.
int At(const BayerBlockImageView& source, int i, int j, int index) {
  return reinterpret_cast<const std::uint8_t*>(source.PtrAt(i, j))[index];
}
// Luma at a site, where it is not stored with that rounding.
int Luma(const BayerBlockImageView& s, int x, int y, int rounding) {
  const int i = x / 2;
  const int j = y / 2;
  if (x % 2 == y % 2) return At(s, i, j, x % 2);
  const int both = At(s, i, j, 0) + At(s, i, j, 1);
  if (x % 2 == 1) return (both + At(s, i, j - 1, 1) + At(s, i + 1, j, 0) + rounding) >> 2;
  return (both + At(s, i - 1, j, 1) + At(s, i, j + 1, 0) + rounding) >> 2;
}

void Model(GrayImageView& target, const BayerBlockImageView& source) {
  for (int y = 2; y <= target.dy - 3; ++y)
    for (int x = 2; x <= target.dx - 3; ++x)
      target.PtrAt(x, y)->y = static_cast<std::uint8_t>(Luma(source, x, y, 0));
}

void Model(YuvImageView& target, const BayerBlockImageView& source) {
  for (int j = 1; j <= source.dy - 2; ++j)
    for (int i = 1; i <= source.dx - 2; ++i)
      for (const int down : {0, 1})
        for (const int across : {0, 1}) {
          const int side = i + 2 * across - 1;
          const int column = j + 2 * down - 1;
          const auto chroma = [&](int index) {
            return (9 * At(source, i, j, index) + 3 * At(source, side, j, index) +
                    3 * At(source, i, column, index) + At(source, side, column, index) + 8) >>
                   4;
          };
          const int x = 2 * i + across;
          const int y = 2 * j + down;
          Set(target, x, y, {Luma(source, x, y, 2), chroma(2), chroma(3)});
        }
}

void Model(RgbImageView& target, const BayerBlockImageView& source) {
  const int dx = target.dx;
  const int dy = target.dy;
  for (int y = 0; y < dy; ++y)
    for (int x = 0; x < dx; ++x) {
      const int i = x / 2;
      const int j = y / 2;
      const auto u = [&](int a, int b) { return At(source, i + a, j + b, 2); };
      const auto v = [&](int a, int b) { return At(source, i + a, j + b, 3); };
      Pixel p;
      if (y < 2 || y >= dy - 2) {
        p = {At(source, i, j, y == 0 || y == dy - 2 ? 0 : 1), u(0, 0), v(0, 0)};
      } else if (x < 2 || x >= dx - 2) {
        p = {At(source, i, j, x == 0 || x == dx - 2 ? 0 : 1), u(0, 0), v(0, 0)};
      } else if (x % 2 == 0 && y % 2 == 0) {
        p = {Luma(source, x, y, 0), (u(-1, 0) + u(0, 0)) >> 1, (v(0, -1) + v(0, 0)) >> 1};
      } else if (x % 2 == 1 && y % 2 == 1) {
        p = {Luma(source, x, y, 0), (u(0, 1) + u(0, 0)) >> 1, (v(0, 0) + v(1, 0)) >> 1};
      } else if (x % 2 == 0) {
        p = {Luma(source, x, y, 0), (u(0, 0) + u(-1, 0) + u(-1, 1) + u(0, 1)) >> 2, v(0, 0)};
      } else {
        p = {Luma(source, x, y, 0), u(0, 0), (v(1, -1) + v(0, -1) + v(0, 0) + v(1, 0)) >> 2};
      }
      Set(target, x, y, YuvToRgb(p));
    }
}

void Model(YuyvImageView& target, const BayerBlockImageView& source) {
  YuvImageView yuv;
  yuv.Create(2 * source.dx, 2 * source.dy);
  Model(yuv, source);
  for (int y = 0; y < target.dy; ++y)
    for (int i = 0; i < target.dx; ++i) {
      const auto& l = *yuv.PtrAt(2 * i, y);
      const auto& r = *yuv.PtrAt(2 * i + 1, y);
      SetPair(target, i, y, l.y, (l.u + r.u + 1) >> 1, r.y, (l.v + r.v + 1) >> 1);
    }
}

using Canvas = std::vector<std::vector<Pixel>>;  // rows of pixels
Canvas Expand(const Yuv420ImageView& source, int tileX, int tileY) {
  Canvas tile(16, std::vector<Pixel>(16));
  const auto& sample = *source.PtrAt(tileX, tileY);
  for (int quadrant = 0; quadrant < 4; ++quadrant)
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 8; ++x) {
        constexpr int start[] = {0, 4, 32, 36};
        const int chroma = start[quadrant] + y / 2 * 8 + x / 2;
        tile[quadrant / 2 * 8 + y][quadrant % 2 * 8 + x] = {sample.y[quadrant][8 * y + x],
                                                            sample.u[chroma], sample.v[chroma]};
      }
  return tile;
}
void Smooth(Canvas& canvas) {
  const int dy = static_cast<int>(canvas.size());
  const int dx = dy > 0 ? static_cast<int>(canvas[0].size()) : 0;
  for (int m = 1; m <= dy / 2 - 1; ++m)
    for (int n = 1; n <= dx / 2 - 1; ++n)
      for (const int c : {1, 2}) {
        int& p = canvas[2 * m - 1][2 * n - 1][c];
        int& q = canvas[2 * m - 1][2 * n][c];
        int& r = canvas[2 * m][2 * n - 1][c];
        int& s = canvas[2 * m][2 * n][c];
        const int before[] = {p, q, r, s};
        const auto mix = [&](int a, int b, int d, int e) {
          return (a * before[0] + b * before[1] + d * before[2] + e * before[3] + 8) >> 4;
        };
        p = mix(9, 3, 3, 1);
        q = mix(3, 9, 1, 3);
        r = mix(3, 1, 9, 3);
        s = mix(1, 3, 3, 9);
      }
}
// Calls `use` with every tile that the picture has room for.
template <class Pixels, class Use>
void ForTiles(const TCImageView<Pixels>& picture, const Yuv420ImageView& source, Use use) {
  constexpr int across = 16 / PixelTraits<Pixels>::sampleDx;
  for (int j = 0; j < std::min(source.dy, picture.dy / 16); ++j)
    for (int i = 0; i < std::min(source.dx, picture.dx / across); ++i)
      use(i, j);
}

void Model(GrayImageView& target, const Yuv420ImageView& source) {
  ForTiles(target, source, [&](int i, int j) {
    const Canvas tile = Expand(source, i, j);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x)
        target.PtrAt(16 * i + x, 16 * j + y)->y = static_cast<std::uint8_t>(tile[y][x][0]);
  });
}
void Model(RgbImageView& target, const Yuv420ImageView& source) {
  ForTiles(target, source, [&](int i, int j) {
    Canvas tile = Expand(source, i, j);
    Smooth(tile);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x)
        Set(target, 16 * i + x, 16 * j + y, YuvToRgb(tile[y][x]));
  });
}
void Model(YuvImageView& target, const Yuv420ImageView& source) {
  Canvas all(
      static_cast<std::size_t>(std::min(source.dy, target.dy / 16)) * 16,
      std::vector<Pixel>(static_cast<std::size_t>(std::min(source.dx, target.dx / 16)) * 16));
  ForTiles(target, source, [&](int i, int j) {
    const Canvas tile = Expand(source, i, j);
    for (int y = 0; y < 16; ++y)
      std::copy(tile[y].begin(), tile[y].end(), all[16 * j + y].begin() + 16 * i);
  });
  Smooth(all);
  for (std::size_t y = 0; y < all.size(); ++y)
    for (std::size_t x = 0; x < all[y].size(); ++x)
      Set(target, static_cast<int>(x), static_cast<int>(y), all[y][x]);
}
template <class Pairs>
void ModelOfPairs(TCImageView<Pairs>& target, const Yuv420ImageView& source) {
  ForTiles(target, source, [&](int i, int j) {
    Canvas tile = Expand(source, i, j);
    for (const int upper : {1, 3, 5})
      for (int x = 0; x < 16; ++x)
        for (const int c : {1, 2}) {
          int& a = tile[upper][x][c];
          int& b = tile[upper + 1][x][c];
          a = (3 * a + b + 2) >> 2;
          b = (a + 3 * b + 2) >> 2;
        }
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; x += 2)
        SetPair(target, 8 * i + x / 2, 16 * j + y, tile[y][x][0], tile[y][x][1], tile[y][x + 1][0],
                tile[y][x][2]);
  });
}
void Model(YuyvImageView& target, const Yuv420ImageView& source) {
  ModelOfPairs(target, source);
}
void Model(UyvyImageView& target, const Yuv420ImageView& source) {
  ModelOfPairs(target, source);
}

// Tiles from pixels whose chroma is that of (2 x 2) or (1 x 2) of them.
template <class Pixels, class PixelAt, class ChromaAt>
void ModelOfTiles(Yuv420ImageView& target, const TCImageView<Pixels>& source, PixelAt luma,
                  ChromaAt chroma) {
  ForTiles(source, target, [&](int i, int j) {
    auto& tile = *target.PtrAt(i, j);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x) {
        tile.y[y / 8 * 2 + x / 8][y % 8 * 8 + x % 8] =
            static_cast<std::uint8_t>(luma(16 * i + x, 16 * j + y));
        const Pixel uv = chroma(8 * i + x / 2, 8 * j + y / 2);
        tile.u[y / 2 * 8 + x / 2] = static_cast<std::uint8_t>(uv[1]);
        tile.v[y / 2 * 8 + x / 2] = static_cast<std::uint8_t>(uv[2]);
      }
  });
}
void Model(Yuv420ImageView& target, const YuvImageView& source) {
  ModelOfTiles(
      target, source, [&](int x, int y) { return source.PtrAt(x, y)->y; },
      [&](int x, int y) {
        Pixel sum = {0, 2, 2};
        for (const int across : {0, 1})
          for (const int down : {0, 1}) {
            sum[1] += source.PtrAt(2 * x + across, 2 * y + down)->u;
            sum[2] += source.PtrAt(2 * x + across, 2 * y + down)->v;
          }
        return Pixel{0, sum[1] >> 2, sum[2] >> 2};
      });
}
void Model(Yuv420ImageView& target, const YuyvImageView& source) {
  ModelOfTiles(
      target, source,
      [&](int x, int y) {
        const auto& sample = *source.PtrAt(x / 2, y);
        return x % 2 ? sample.y1 : sample.y0;
      },
      [&](int x, int y) {
        const auto& upper = *source.PtrAt(x, 2 * y);
        const auto& lower = *source.PtrAt(x, 2 * y + 1);
        return Pixel{0, (upper.u + lower.u + 1) >> 1, (upper.v + lower.v + 1) >> 1};
      });
}

// Memory of a picture with rows that are `gap` samples longer than the picture.
template <class T>
struct Place {
  Place(const GuardedMemory& memory, int dx, int dy, int gap, bool atEnd, std::size_t offset) {
    view.dx = dx;
    view.dy = dy;
    view.scanline = dx + gap;
    size = dx > 0 && dy > 0 ? static_cast<std::size_t>((dy - 1) * (dx + gap) + dx) * sizeof(T) : 0;
    view.data = reinterpret_cast<T*>(memory.Room(size, offset, atEnd));
  }
  [[nodiscard]] std::uint8_t* Memory() const { return reinterpret_cast<std::uint8_t*>(view.data); }
  [[nodiscard]] Bytes Content() const { return {Memory(), Memory() + size}; }
  void Fill(const Bytes& bytes) { std::copy(bytes.begin(), bytes.end(), Memory()); }

  TCImageView<T> view;
  std::size_t size;
};

// Whatever lies in the target before stays there where the model does not write.
template <class Target, class Source>
void CheckSize(int sourceDx, int sourceDy, int targetDx, int targetDy, std::size_t alignment = 1) {
  static const GuardedMemory sourceMemory(2 << 20);
  static const GuardedMemory targetMemory(2 << 20);
  for (const int gap : {0, 3})
    for (const bool atEnd : {false, true}) {
      const std::size_t offset = gap == 0 ? 0 : alignment;
      Place<Source> source(sourceMemory, sourceDx, sourceDy, gap, atEnd, offset);
      // What starts at a page's end minus an odd size is not aligned.
      if (alignment > 1 && atEnd && source.size % alignment != 0) continue;
      Place<Target> target(targetMemory, targetDx, targetDy, gap, atEnd, offset);
      source.Fill(EdgyBytes(source.size));
      const Bytes before = EdgyBytes(target.size);
      target.Fill(before);
      Model(target.view, source.view);
      const Bytes expected = target.Content();
      target.Fill(before);
      Convert(target.view, source.view);
      ASSERT_TRUE(target.Content() == expected)
          << int(PixelTraits<Source>::format) << " to " << int(PixelTraits<Target>::format) << ", "
          << sourceDx << "x" << sourceDy << " into " << targetDx << "x" << targetDy << " gap "
          << gap;
    }
}

template <class View>
using SampleOf = typename View::Pixel;

template <class Target, class Source>
void CheckSizes(std::initializer_list<int> wide, int maxDx, int maxDy, std::size_t alignment = 1) {
  using To = PixelTraits<SampleOf<Target>>;
  using From = PixelTraits<SampleOf<Source>>;
  const auto check = [&](int dx, int dy) {
    CheckSize<SampleOf<Target>, SampleOf<Source>>(dx, dy, dx * From::sampleDx / To::sampleDx,
                                                  dy * From::sampleDy / To::sampleDy, alignment);
  };
  for (int dy = 0; dy <= maxDy; ++dy)
    for (int dx = 0; dx <= maxDx; ++dx)
      check(dx, dy);
  for (const int dx : wide)
    check(dx, maxDy);
}

TEST(ImageConvert, CellsFollowTheModel) {
  const CTestFrames frames(&frame_manager::Register);
  CheckSizes<RgbImageView, BayerImageView>({63, 64, 65, 66, 67, 68, 255}, 41, 9);
  CheckSizes<GrayImageView, BayerBlockImageView>({64, 131}, 40, 6);
  CheckSizes<RgbImageView, BayerBlockImageView>({64, 131}, 40, 6);
  CheckSizes<YuvImageView, BayerBlockImageView>({64, 131}, 40, 6);
  CheckSizes<YuyvImageView, BayerBlockImageView>({64, 131}, 20, 5);
  CheckSizes<GrayImageView, Yuv420ImageView>({66}, 4, 3);
  CheckSizes<RgbImageView, Yuv420ImageView>({64, 65, 66, 131}, 6, 2);
  CheckSizes<YuvImageView, Yuv420ImageView>({64, 65, 66, 131}, 6, 2);
  CheckSizes<YuyvImageView, Yuv420ImageView>({66}, 4, 3);
  CheckSizes<UyvyImageView, Yuv420ImageView>({66}, 4, 3);
  CheckSizes<Yuv420ImageView, YuvImageView>({16 * 66}, 49, 33);
  CheckSizes<Yuv420ImageView, YuyvImageView>({8 * 66}, 25, 33);
  for (int dy = 4; dy <= 9; ++dy)
    for (int dx = 4; dx <= 140; dx += 2)
      CheckSize<TTYUYV<unsigned char>, TTRGBBayer<unsigned char>>(dx, dy, dx / 2, dy, 4);
}

// A part of a picture may be smaller than what is converted into it.
TEST(ImageConvert, CellsKeepToSmallerTargets) {
  CheckSize<TTRGB<unsigned char>, TTRGBBayer<unsigned char>>(40, 9, 23, 6);
  CheckSize<TTRGB<unsigned char>, TTYUV420Block<unsigned char>>(3, 3, 47, 31);
  CheckSize<TTYUV<unsigned char>, TTYUV420Block<unsigned char>>(3, 3, 32, 33);
  CheckSize<TTUYVY<unsigned char>, TTYUV420Block<unsigned char>>(3, 3, 17, 40);
  CheckSize<TTYUV420Block<unsigned char>, TTYUV<unsigned char>>(33, 40, 3, 3);
}

std::string FailureOf(YuyvImageView& target, const BayerImageView& source) {
  try {
    Convert(target, source);
  } catch (const CException& e) {
    const std::string text = e.what();
    const std::string start = "Exception [main/target/windll/image_convert:";
    return text.rfind(start, 0) == 0 ? text.substr(text.find(']')) : text;
  }
  return "";
}

TEST(ImageConvert, SensorToYuyvNamesTheFirstOfItsConditions) {
  const CTestFrames frames(&frame_manager::Register);
  const GuardedMemory memory(4096);
  struct Case {
    int dx, dy;
    std::size_t sourceOffset, targetOffset;
    const char* text;
  };
  for (const Case& c : {Case{3, 4, 1, 1, "] - RGBBayer pic is too small."},
                        Case{4, 3, 0, 0, "] - RGBBayer pic is too small."},
                        Case{0, 0, 0, 0, "] - RGBBayer pic is too small."},
                        Case{5, 6, 1, 2, "] - RGBbayer pic is not aligned."},
                        Case{5, 6, 4, 2, "] - YUYV pic is not aligned."},
                        Case{5, 6, 4, 8, "] - RGBBayer.Dx() % 2 != 0"}, Case{4, 4, 4, 8, ""},
                        Case{6, 6, 0, 0, ""}}) {
    Place<TTRGBBayer<unsigned char>> source(memory, c.dx, c.dy, 0, false, c.sourceOffset);
    Place<TTYUYV<unsigned char>> target(memory, c.dx / 2, c.dy, 0, false, 1024 + c.targetOffset);
    EXPECT_EQ(FailureOf(target.view, source.view), c.text) << c.dx << "x" << c.dy;
  }
  // The picture that was asked for goes back.
  const auto image = CreateNewImageBase(PixelFormat::RGBBAYER, 5, 6);
  EXPECT_THROW((void)image->ConvertToNew(PixelFormat::YUYV), CException);
  EXPECT_EQ(CTestFrames::allocated, CTestFrames::released + 1);
}

}  // namespace
