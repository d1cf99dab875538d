#include "main/target/windll/image_convert/image_convert.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimage.h"
#include "tests/kit/pixels.h"
#include "tests/support/common.h"
#include "tests/support/guarded_memory.h"
#include "tests/support/test_frames.h"

using namespace ztlib;
using namespace kit;

namespace {

// The model makes pixels, which are then stored in the target's format.
constexpr Pixel untouched = {-1, 0, 0};

Canvas Blank(int dx, int dy, const Pixel& pixel = untouched) {
  return Canvas(static_cast<std::size_t>(dy),
                std::vector<Pixel>(static_cast<std::size_t>(dx), pixel));
}

// Makes a pixel of the colour of the row, green, and the colour of the rows above and below.
Pixel OfRow(int y, int inRow, int green, int inColumn) {
  return y % 2 == 0 ? Pixel{inColumn, green, inRow} : Pixel{inRow, green, inColumn};
}

Canvas Model(const RgbImageView&, const BayerImageView& source) {
  Canvas canvas = Blank(source.dx, source.dy);
  for (int y = 1; y <= source.dy - 2; ++y)
    for (int x = 1; x <= source.dx - 2; ++x) {
      const auto p = [&](int i, int j) { return int{source.PtrAt(x + i, y + j)->value}; };
      const int sides = p(-1, 0) + p(1, 0), column = p(0, -1) + p(0, 1);
      const int diagonals = p(-1, -1) + p(1, -1) + p(-1, 1) + p(1, 1);
      canvas[y][x] = x % 2 == y % 2 ? OfRow(y, sides >> 1, p(0, 0), column >> 1)
                                    : OfRow(y, p(0, 0), (sides + column) >> 2, diagonals >> 2);
    }
  return canvas;
}

Canvas Model(const YuyvImageView&, const BayerImageView& source) {
  const int end = source.dx / 4 * 4;
  Canvas canvas = Blank(source.dx, source.dy);
  for (int y = 0; y < source.dy; ++y) {
    const int above = y == 0 ? 1 : y - 1, below = y == source.dy - 1 ? y - 1 : y + 1;
    const auto c = [&](int x) { return int{source.PtrAt(x, y)->value}; };
    const auto v = [&](int x) {
      return (source.PtrAt(x, above)->value + source.PtrAt(x, below)->value + 1) >> 1;
    };
    std::vector<Pixel>& row = canvas[y];
    for (int x = 4; x < end - 4; ++x)
      row[x] = RgbToYuv(x % 2 == y % 2 ? OfRow(y, (c(x - 1) + c(x + 1) + 1) >> 1, c(x), v(x))
                                       : OfRow(y, c(x), (c(x - 1) + 2 * v(x) + c(x + 1) + 2) >> 2,
                                               (v(x - 1) + v(x + 1) + 1) >> 1));
    // At both ends a sample takes U from its left pixel and V from its right one.
    const auto putEnd = [&](int x, const Pixel& left, const Pixel& right) {
      const Pixel l = RgbToYuv(left), r = RgbToYuv(right);
      row[x] = {l[0], l[1], r[2]};
      row[x + 1] = {r[0], l[1], r[2]};
    };
    for (const int x : {0, end - 4}) {
      const int c0 = c(x), c1 = c(x + 1), c2 = c(x + 2), c3 = c(x + 3);
      const int v0 = v(x), v1 = v(x + 1), v2 = v(x + 2), v3 = v(x + 3);
      if (y % 2 == 0) {
        putEnd(x, {v0, c0, c1}, {(v0 + v2) >> 1, (c0 + c2 + 2 * v1) >> 2, c1});
        putEnd(x + 2, {v2, c2, (c1 + c3) >> 1}, {v2, v3, c3});
      } else {
        putEnd(x, {c0, v0, v1}, {(c0 + c2) >> 1, c1, v1});
        putEnd(x + 2, {c2, (2 * v2 + c1 + c3) >> 2, (v1 + v3) >> 1}, {c2, c3, v3});
      }
    }
    if (end == source.dx) continue;
    const Pixel last =
        y % 2 == 0 ? Pixel{v(end), c(end), c(end + 1)} : Pixel{c(end), c(end + 1), v(end + 1)};
    putEnd(end, last, last);
  }
  return canvas;
}

// Returns a byte of a group: 0 and 1 are luma, 2 and 3 chroma.
int At(const BayerBlockImageView& source, int i, int j, int index) {
  return reinterpret_cast<const std::uint8_t*>(source.PtrAt(i, j))[index];
}
// Returns the luma of a pixel. If it is not stored, it is a mean with this rounding.
int Luma(const BayerBlockImageView& s, int x, int y, int rounding) {
  const int i = x / 2, j = y / 2, both = At(s, i, j, 0) + At(s, i, j, 1);
  if (x % 2 == y % 2) return At(s, i, j, x % 2);
  if (x % 2 == 1) return (both + At(s, i, j - 1, 1) + At(s, i + 1, j, 0) + rounding) >> 2;
  return (both + At(s, i - 1, j, 1) + At(s, i, j + 1, 0) + rounding) >> 2;
}

Canvas InnerGroups(const BayerBlockImageView& source, int rounding, const Pixel& border) {
  Canvas canvas = Blank(2 * source.dx, 2 * source.dy, border);
  for (int y = 2; y < 2 * source.dy - 2; ++y)
    for (int x = 2; x < 2 * source.dx - 2; ++x) {
      const int i = x / 2, j = y / 2, side = i + 2 * (x % 2) - 1, column = j + 2 * (y % 2) - 1;
      const auto chroma = [&](int index) {
        return (9 * At(source, i, j, index) + 3 * At(source, side, j, index) +
                3 * At(source, i, column, index) + At(source, side, column, index) + 8) >>
               4;
      };
      canvas[y][x] = {Luma(source, x, y, rounding), chroma(2), chroma(3)};
    }
  return canvas;
}
Canvas Model(const GrayImageView&, const BayerBlockImageView& source) {
  return InnerGroups(source, 0, untouched);
}
Canvas Model(const YuvImageView&, const BayerBlockImageView& source) {
  return InnerGroups(source, 2, untouched);
}
// This conversion goes through a new picture, whose border stays as the frame manager gave it.
Canvas Model(const YuyvImageView&, const BayerBlockImageView& source) {
  return InnerGroups(source, 2, {0xA5, 0xA5, 0xA5});
}

Canvas Model(const RgbImageView&, const BayerBlockImageView& source) {
  const int dx = 2 * source.dx, dy = 2 * source.dy;
  Canvas canvas = Blank(dx, dy);
  for (int y = 0; y < dy; ++y)
    for (int x = 0; x < dx; ++x) {
      const auto u = [&](int a, int b) { return At(source, x / 2 + a, y / 2 + b, 2); };
      const auto v = [&](int a, int b) { return At(source, x / 2 + a, y / 2 + b, 3); };
      const bool isLevel = y < 2 || y >= dy - 2;
      Pixel p = {0, u(0, 0), v(0, 0)};
      if (isLevel || x < 2 || x >= dx - 2) {
        p[0] = At(source, x / 2, y / 2, isLevel ? y % 2 : x % 2);
      } else {
        p[0] = Luma(source, x, y, 0);
        if (x % 2 == y % 2) {
          p[1] = (p[1] + (x % 2 ? u(0, 1) : u(-1, 0))) >> 1;
          p[2] = (p[2] + (x % 2 ? v(1, 0) : v(0, -1))) >> 1;
        } else if (x % 2 == 0) {
          p[1] = (p[1] + u(-1, 0) + u(-1, 1) + u(0, 1)) >> 2;
        } else {
          p[2] = (p[2] + v(1, -1) + v(0, -1) + v(1, 0)) >> 2;
        }
      }
      canvas[y][x] = YuvToRgb(p);
    }
  return canvas;
}

// Returns the pixels of all whole tiles for which the target has room.
template <class T>
Canvas Tiles(const TCImageView<T>& target, const Yuv420ImageView& source) {
  Canvas canvas = Blank(std::min(source.dx, target.dx * PixelTraits<T>::sampleDx / 16) * 16,
                        std::min(source.dy, target.dy / 16) * 16);
  for (std::size_t y = 0; y < canvas.size(); ++y)
    for (std::size_t x = 0; x < canvas[y].size(); ++x) {
      const auto& tile = *source.PtrAt(static_cast<int>(x / 16), static_cast<int>(y / 16));
      const std::size_t chroma = y % 16 / 2 * 8 + x % 16 / 2;
      canvas[y][x] = {tile.y[y % 16 / 8 * 2 + x % 16 / 8][y % 8 * 8 + x % 8], tile.u[chroma],
                      tile.v[chroma]};
    }
  return canvas;
}

Canvas Model(const GrayImageView& target, const Yuv420ImageView& source) {
  return Tiles(target, source);
}
Canvas Model(const RgbImageView& target, const Yuv420ImageView& source) {
  Canvas canvas = Tiles(target, source);
  SmoothChroma(canvas, false);
  for (std::vector<Pixel>& row : canvas)
    std::ranges::transform(row, row.begin(), YuvToRgb);
  return canvas;
}
Canvas Model(const YuvImageView& target, const Yuv420ImageView& source) {
  Canvas canvas = Tiles(target, source);
  SmoothChroma(canvas, true);
  return canvas;
}
template <class Pairs>
Canvas Model(const TCImageView<Pairs>& target, const Yuv420ImageView& source) {
  Canvas canvas = Tiles(target, source);
  BlendChromaRows(canvas);
  return canvas;
}

// Reads a pixel of a format whose samples lie in rows.
template <class S>
Pixel PixelAt(const TCImageView<S>& source, int x, int y) {
  constexpr auto format = static_cast<int>(PixelTraits<S>::format);
  constexpr int shift = format == ZTLIB_UYVY;
  const std::uint8_t* const row = source.RowBytes(y);
  if (format == ZTLIB_BOOL8) return {-row[x] & 255, -row[x] & 255, -row[x] & 255};
  if (format == ZTLIB_GRAY) return {row[x], row[x], row[x]};
  if (format < ZTLIB_YUYV) return {row[4 * x], row[4 * x + 1], row[4 * x + 2]};
  return {row[2 * x + shift], row[x / 2 * 4 + 1 - shift], row[x / 2 * 4 + 3 - shift]};
}
template <class T, class S>
Canvas Model(const TCImageView<T>&, const TCImageView<S>& source) {
  constexpr auto from = static_cast<int>(PixelTraits<S>::format);
  constexpr auto to = static_cast<int>(PixelTraits<T>::format);
  constexpr bool isBlended = from == ZTLIB_UYVY || (from == ZTLIB_YUYV && to != ZTLIB_UYVY);
  Canvas canvas = Blank(source.dx * PixelTraits<S>::sampleDx, source.dy);
  for (int y = 0; y < source.dy; ++y) {
    std::vector<Pixel>& row = canvas[y];
    for (std::size_t x = 0; x < row.size(); ++x)
      row[x] = PixelAt(source, static_cast<int>(x), y);
    for (std::size_t x = 1; isBlended && x + 1 < row.size(); x += 2)
      for (const int c : {1, 2}) {
        const int left = row[x][c];
        row[x][c] = (3 * left + row[x + 1][c] + 2) >> 2;
        // In UYVY the second pixel is blended with the new value of the first.
        row[x + 1][c] = ((from == ZTLIB_UYVY ? row[x][c] : left) + 3 * row[x + 1][c] + 2) >> 2;
      }
    for (Pixel& p : row)
      if (from == ZTLIB_RGB)
        p = RgbToYuv(p);
      else if (to == ZTLIB_BOOL8)
        p = {p[0] != 0};
      else if (from < ZTLIB_RGB && to != ZTLIB_RGB)
        p = {p[0], 128, 128};
      else if (from > ZTLIB_RGB && to == ZTLIB_RGB)
        p = YuvToRgb(p);
  }
  return canvas;
}

template <class T, class S>
void DrawModel(TCImageView<T>& target, const TCImageView<S>& source) {
  const Canvas canvas = Model(target, source);
  const int dx = target.dx * PixelTraits<T>::sampleDx;
  for (int y = 0; y < std::min(target.dy, static_cast<int>(canvas.size())); ++y)
    for (int x = 0; x < std::min(dx, static_cast<int>(canvas[y].size())); ++x)
      if (canvas[y][x] != untouched)
        StorePixel(target.RowBytes(y), x, canvas[y], x,
                   std::max<int>(static_cast<int>(PixelTraits<T>::format), ZTLIB_GRAY));
}
// Each chroma sample of a tile is the mean of four pixels.
template <class S>
void DrawModel(Yuv420ImageView& target, const TCImageView<S>& source) {
  for (int y = 0; y < std::min(target.dy, source.dy / 16) * 16; ++y)
    for (int x = 0; x < std::min(target.dx, source.dx * PixelTraits<S>::sampleDx / 16) * 16; ++x) {
      auto& tile = *target.PtrAt(x / 16, y / 16);
      tile.y[y % 16 / 8 * 2 + x % 16 / 8][y % 8 * 8 + x % 8] =
          static_cast<std::uint8_t>(PixelAt(source, x, y)[0]);
      Pixel sum = {0, 2, 2};
      for (int i = 0; i < 4; ++i)
        for (const std::size_t c : {1U, 2U})
          sum[c] += PixelAt(source, x / 2 * 2 + i % 2, y / 2 * 2 + i / 2)[c];
      tile.u[y % 16 / 2 * 8 + x % 16 / 2] = static_cast<std::uint8_t>(sum[1] >> 2);
      tile.v[y % 16 / 2 * 8 + x % 16 / 2] = static_cast<std::uint8_t>(sum[2] >> 2);
    }
}

// The memory of a picture, whose rows are `gap` samples longer than the picture is wide.
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

// Where the model does not write, the target keeps what it held.
template <class Target, class Source>
void CheckSize(int sourceDx, int sourceDy, int targetDx, int targetDy, std::size_t alignment = 1) {
  static const GuardedMemory sourceMemory(2 << 20);
  static const GuardedMemory targetMemory(2 << 20);
  for (const int gap : {0, 3})
    for (const bool atEnd : {false, true}) {
      const std::size_t offset = gap == 0 ? 0 : alignment;
      Place<Source> source(sourceMemory, sourceDx, sourceDy, gap, atEnd, offset);
      // A picture of odd size that ends with its page is not aligned.
      if (alignment > 1 && atEnd && source.size % alignment != 0) continue;
      Place<Target> target(targetMemory, targetDx, targetDy, gap, atEnd, offset);
      source.Fill(EdgyBytes(source.size));
      const Bytes before = EdgyBytes(target.size);
      target.Fill(before);
      DrawModel(target.view, source.view);
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

template <class Source, class... Targets>
void CheckRows() {
  (CheckSizes<Targets, Source>({255, 641}, 67, 2), ...);
}

TEST(ImageConvert, RowsAndCellsFollowTheModel) {
  const CTestFrames frames;
  CheckRows<BoolImageView, GrayImageView, RgbImageView>();
  CheckRows<GrayImageView, BoolImageView, RgbImageView, YuvImageView, YuyvImageView,
            UyvyImageView>();
  CheckRows<RgbImageView, GrayImageView, YuvImageView, YuyvImageView, UyvyImageView>();
  CheckRows<YuvImageView, GrayImageView, RgbImageView, YuyvImageView, UyvyImageView>();
  CheckRows<YuyvImageView, GrayImageView, RgbImageView, YuvImageView, UyvyImageView>();
  CheckRows<UyvyImageView, GrayImageView, RgbImageView, YuvImageView, YuyvImageView>();
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

// A target may be smaller than the picture that is converted into it.
TEST(ImageConvert, CellsKeepToSmallerTargets) {
  CheckSize<TTRGB<unsigned char>, TTRGBBayer<unsigned char>>(40, 9, 23, 6);
  CheckSize<TTRGB<unsigned char>, TTYUV420Block<unsigned char>>(3, 3, 47, 31);
  CheckSize<TTYUV<unsigned char>, TTYUV420Block<unsigned char>>(3, 3, 32, 33);
  CheckSize<TTUYVY<unsigned char>, TTYUV420Block<unsigned char>>(3, 3, 17, 40);
  CheckSize<TTYUV420Block<unsigned char>, TTYUV<unsigned char>>(33, 40, 3, 3);
}

TEST(ImageConvert, SensorToYuyvNamesTheFirstOfItsConditions) {
  const CTestFrames frames;
  const GuardedMemory memory(4096);
  const std::tuple<int, int, std::size_t, std::size_t, const char*> cases[] = {
      {3, 4, 1, 1, "RGBBayer pic is too small."},
      {4, 3, 0, 0, "RGBBayer pic is too small."},
      {0, 0, 0, 0, "RGBBayer pic is too small."},
      {5, 6, 1, 2, "RGBbayer pic is not aligned."},
      {5, 6, 4, 2, "YUYV pic is not aligned."},
      {5, 6, 4, 8, "RGBBayer.Dx() % 2 != 0"},
      {4, 4, 4, 8, "no exception"},
      {6, 6, 0, 0, "no exception"}};
  for (const auto& [dx, dy, sourceOffset, targetOffset, text] : cases) {
    Place<TTRGBBayer<unsigned char>> source(memory, dx, dy, 0, false, sourceOffset);
    Place<TTYUYV<unsigned char>> target(memory, dx / 2, dy, 0, false, 1024 + targetOffset);
    EXPECT_EQ(MessageOf<CException>([&] { Convert(target.view, source.view); }), text)
        << dx << "x" << dy;
  }
  // The new picture is released again.
  const auto image = CreateNewImageBase(PixelFormat::RGBBAYER, 5, 6);
  EXPECT_EQ(TextOf<CException>([&] {
              (void)image->ConvertToNew(PixelFormat::YUYV);
            }).find("Exception [main/target/windll/image_convert:"),
            0U);
  EXPECT_EQ(CTestFrames::allocated, CTestFrames::released + 1);
}

constexpr std::uint8_t fill = 0xA5;

// The outcome for each pair: "pixels" (whose values are compared with the model elsewhere), "copy",
// "unwritten", or the source that refuses. No format becomes RGBBAYER or YUVBAYERBLOCK.
constexpr char general[] = "image/ztimage_impl";
constexpr char p[] = "pixels";
#define REFUSED(target) "image_convert/image_convert_to" target "_impl"
// clang-format off
constexpr const char* matrix[9][7] = {
    // to BOOL8, GRAY, RGB, YUV, YUYV, UYVY, YUV420BLOCK
    {"copy", p, p, REFUSED("yuv"), REFUSED("yuyv"), REFUSED("uyvy"), REFUSED("yuv420block")},
    {p, "copy", p, p, p, p, "unwritten"},
    {REFUSED("bool"), p, "copy", p, p, p, "unwritten"},
    {REFUSED("bool"), p, p, "copy", p, p, p},
    {REFUSED("bool"), p, p, p, "copy", p, p},
    {REFUSED("bool"), p, p, p, p, "copy", "unwritten"},
    {REFUSED("bool"), REFUSED("gray"), p, REFUSED("yuv"), p, REFUSED("uyvy"), REFUSED("yuv")},
    {REFUSED("bool"), p, p, p, p, REFUSED("uyvy"), "unwritten"},
    {REFUSED("bool"), p, p, p, p, p, "copy"},
};
// clang-format on

// Returns a row of a picture.
Bytes RowOf(const CZTImageImplBase& image, int y, std::size_t size) {
  const auto* const row = static_cast<const std::uint8_t*>(image.GetPtrAt(0, y));
  return {row, row + size};
}

void CheckPair(int source, int target, int width, int height) {
  const auto from = static_cast<PixelFormat>(source);
  const auto to = static_cast<PixelFormat>(target);
  const std::unique_ptr<CZTImageImplBase> image =
      CreateNewImageBase(from, width / GetSampleDx(from), height / GetSampleDy(from));
  for (int y = 0; y < image->GetDy(); ++y) {
    const Bytes row = EdgyBytes(static_cast<std::size_t>(image->GetRowSize()));
    if (!row.empty()) std::memcpy(image->GetPtrAt(0, y), row.data(), row.size());
  }
  const std::string cell = target == ZTLIB_RGBBAYER || target == ZTLIB_YUVBAYERBLOCK
                               ? general
                               : matrix[source][std::min(target, +ZTLIB_RGBBAYER)];
  SCOPED_TRACE(cell + " " + std::to_string(source) + " " + std::to_string(target) + " " +
               std::to_string(width) + "x" + std::to_string(height));
  const int allocated = CTestFrames::allocated;
  if (cell.find('/') != std::string::npos) {
    const std::string text = TextOf<CException>([&] { (void)image->ConvertToNew(to); });
    EXPECT_EQ(text.rfind("Exception [main/target/windll/" + cell + ":", 0), 0U) << text;
    EXPECT_TRUE(text.ends_with("] - Wrong format")) << text;
    EXPECT_EQ(CTestFrames::allocated, allocated);
    return;
  }
  const bool isSensor = from == PixelFormat::RGBBAYER && to == PixelFormat::YUYV;
  if (isSensor && (width < 4 || height < 4 || width % 2 != 0)) return;  // a failure of its own
  const std::unique_ptr<CZTImageImplBase> result = image->ConvertToNew(to);
  const bool isChain = from == PixelFormat::YUVBAYERBLOCK && to == PixelFormat::YUYV;
  EXPECT_EQ(CTestFrames::allocated, allocated + (isChain ? 2 : 1));
  ASSERT_EQ(result->GetPixelFormat(), to);
  ASSERT_EQ(result->GetDx(), image->GetDxInPixels() / GetSampleDx(to));
  ASSERT_EQ(result->GetDy(), image->GetDyInPixels() / GetSampleDy(to));
  if (cell == "pixels") return;
  for (int y = 0; y < result->GetDy(); ++y) {
    const auto size = static_cast<std::size_t>(result->GetRowSize());
    EXPECT_EQ(RowOf(*result, y, size), cell == "copy" ? RowOf(*image, y, size) : Bytes(size, fill));
  }
}

TEST(ImageConvert, EveryCellOfTheMatrix) {
  const CTestFrames frames;
  for (int source = 0; source < 9; ++source)
    for (int target = 0; target < 9; ++target)
      for (const auto& [width, height] : {std::pair{0, 0}, {0, 3}, {1, 2}, {35, 18}, {80, 33}})
        CheckPair(source, target, width, height);
}

}  // namespace
