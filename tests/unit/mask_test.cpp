#include "main/lib/imgproc/mask.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "tests/support/common.h"
#include "tests/support/test_frames.h"

#include <new>

namespace {

using Line = std::vector<bool>;
using Pixels = std::vector<Line>;

// Plainly: each polygon a fan of triangles, whose crossings are sorted and paired row by row.
Pixels Rasterise(int width, int height, const PolygonList& polygons) {
  Pixels pixels(std::max(height, 0), Line(std::max(width, 0)));
  bool anyPoint = false;
  for (CMaskPolygon polygon : polygons) {
    anyPoint |= !polygon.empty();
    std::vector<std::vector<std::int64_t>> crossings(pixels.size());
    for (CMaskPoint& p : polygon)
      p = {std::max<std::int64_t>(0, std::min<std::int64_t>(p.x, width - 1)),
           std::max<std::int64_t>(0, std::min<std::int64_t>(p.y, height - 1))};
    for (std::size_t i = 2; i < polygon.size(); ++i) {
      const CMaskPoint corners[] = {polygon[0], polygon[i - 1], polygon[i], polygon[0]};
      for (int edge = 0; edge < 3; ++edge) {
        const CMaskPoint a = corners[edge], b = corners[edge + 1];
        const float slope =
            static_cast<float>(a.x - b.x) / (a.y == b.y ? 1.0f : static_cast<float>(a.y - b.y));
        const std::int64_t start = slope > 0 ? std::min(a.x, b.x) : std::max(a.x, b.x);
        const std::int64_t first = std::min(a.y, b.y);
        for (std::int64_t y = first; y < std::max(a.y, b.y); ++y)
          crossings[y].push_back(static_cast<std::int64_t>(static_cast<float>(y - first) * slope +
                                                           static_cast<float>(start) + 0.5));
      }
    }
    for (std::size_t y = 0; y < pixels.size(); ++y) {
      std::sort(crossings[y].begin(), crossings[y].end());
      for (std::size_t i = 0; i + 1 < crossings[y].size(); i += 2)
        for (std::int64_t x = crossings[y][i];
             x < std::min<std::int64_t>(crossings[y][i + 1], width); ++x)
          pixels[y][x] = true;
    }
  }
  if (!anyPoint)
    for (Line& line : pixels)
      line.flip();
  return pixels;
}

// What the runs say, which area and bounding box must agree with.
Pixels PixelsOf(const CMask& mask) {
  Pixels pixels(std::max(mask.GetHeight(), 0), Line(std::max(mask.GetWidth(), 0)));
  std::int64_t area = 0, left = mask.GetWidth(), top = mask.GetHeight(), right = 0, bottom = 0;
  for (int y = 0; y < mask.GetHeight(); ++y) {
    int before = -1;
    for (const CMaskRun& run : mask.GetRow(y)) {
      EXPECT_TRUE(before < run.start && run.start < run.end && run.end <= mask.GetWidth());
      before = run.end;
      area += run.end - run.start;
      std::fill(pixels[y].begin() + run.start, pixels[y].begin() + run.end, true);
      left = std::min<std::int64_t>(left, run.start);
      right = std::max<std::int64_t>(right, run.end);
      top = std::min<std::int64_t>(top, y);
      bottom = y + 1;
    }
  }
  if (area == 0) left = top = 0;
  EXPECT_EQ(mask.GetArea(), area);
  EXPECT_TRUE(mask.GetLeft() == left && mask.GetTop() == top && mask.GetRight() == right &&
              mask.GetBottom() == bottom);
  return pixels;
}

CMask MaskOf(int width, int height, const PolygonList& polygons) {
  CMask mask;
  mask.SetPolygons(width, height, polygons);
  return mask;
}

class CRandomShapes {
 public:
  int Below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }
  PolygonList Polygons(int width, int height) {
    PolygonList polygons(1 + Below(3));
    for (CMaskPolygon& polygon : polygons)
      for (int count = Below(9); count > 0; --count)
        polygon.push_back({Below(width + 20) - 10, Below(height + 20) - 10});
    return polygons;
  }

 private:
  std::mt19937 random{7};
};

TEST(Mask, FillsAsCrossingsPairedRowByRowDo) {
  CRandomShapes shapes;
  for (int round = 0; round < 5000; ++round) {
    const int width = 1 + shapes.Below(round % 8 ? 40 : 300), height = 1 + shapes.Below(40);
    const PolygonList polygons = shapes.Polygons(width, height);
    ASSERT_EQ(PixelsOf(MaskOf(width, height, polygons)), Rasterise(width, height, polygons));
    ASSERT_FALSE(HasFailure()) << round;
  }
  // Where the float rounds to more than a pixel, and points beyond every size.
  const std::int64_t far = INT64_MAX;
  const PolygonList wide = {{{1, 0}, {16777218, 1}, {20000001, 2}, {3, 2}, {16777219, 0}},
                            {{-far, -far}, {far, -far}, {far, far}}};
  EXPECT_TRUE(PixelsOf(MaskOf(20000003, 3, wide)) == Rasterise(20000003, 3, wide));
}

TEST(Mask, SizesWithoutPixelsHaveRowsWithoutRuns) {
  for (const auto& [width, height] : {std::pair(0, 4), {-3, 4}, {4, 0}, {4, -3}, {INT32_MIN, 9}})
    for (const PolygonList& polygons : {PolygonList{}, {{{0, 0}, {3, 0}, {3, 3}}}}) {
      const CMask mask = MaskOf(width, height, polygons);
      EXPECT_EQ(mask.GetWidth(), width);
      EXPECT_EQ(mask.GetHeight(), height);
      EXPECT_EQ(mask.GetArea(), 0);
      for (const int y : {INT32_MIN, -1, 0, 3, 4, INT32_MAX})
        EXPECT_TRUE(mask.GetRow(y).empty());
    }
}

TEST(Mask, TreesHoldVirtualCoordinates) {
  const struct {
    const char* name;
    std::vector<std::vector<short>> arrays;
    Size size;
    PolygonList polygons;  // the same in pixels
  } cases[] = {
      {"none", {}, {9, 7}, {{{0, 0}, {8, 0}, {8, 6}, {0, 6}}}},
      {"empty and half a point", {{}, {5}}, {9, 7}, {{{0, 0}, {8, 0}, {8, 6}, {0, 6}}}},
      {"line", {{0, 0, 16384, 16384}}, {160, 120}, {{{0, 0}, {160, 160}}}},
      {"square by the width, odd value",
       {{0, 0, 8192, 0, 8192, 8192, 0, 8192, 7}},
       {160, 120},
       {{{0, 0}, {80, 0}, {80, 80}, {0, 80}}}},
      {"beyond",
       {{-9000, -32768, 32767, 0, 16384, 16384}},
       {161, 90},
       {{{-88, -322}, {322, 0}, {161, 161}}}},
      {"two",
       {{0, 0, 4096, 0, 4096, 9000, 0, 9000}, {4096, 0, 9000, 0, 9000, 9000, 4096, 9000}},
       {64, 64},
       {{{0, 0}, {35, 0}, {35, 35}, {0, 35}}}},
      {"no size", {{0, 0, 5, 5, 0, 5}}, {0, 0}, {{{0, 0}}}},
  };
  for (const auto& c : cases) {
    CData masks;
    for (const std::vector<short>& array : c.arrays)
      masks.AddShortArray(Tok::Empty, array);
    masks.Append("", CDataValue::OfShortArray(nullptr));
    CMask mask;
    mask.BuildFromData(masks, c.size);
    const int width = static_cast<int>(c.size.width), height = static_cast<int>(c.size.height);
    EXPECT_EQ(PixelsOf(mask), Rasterise(width, height, c.polygons)) << c.name;
    const bool frame = c.arrays.empty();
    EXPECT_TRUE(!frame || mask.GetArea() == (width - 1) * (height - 1)) << c.name;
  }
}

TEST(Mask, RefusesWhatIsNoPolygonAndReportsHalfPoints) {
  CData masks;
  masks.AddShortArray(Tok::Empty, {0, 0});
  masks.AddInt(Tok::Empty, 1);
  CMask mask = MaskOf(5, 5, {});
  EXPECT_EQ(MessageOf<CDataException>([&] {
              mask.BuildFromData(masks, {5, 5});
            }),
            "Unknown token: 1");
  EXPECT_EQ(mask.GetArea(), 0);
  EXPECT_THROW(mask.BuildFromData({}, {std::int64_t{1} << 40, 5}), std::bad_alloc);
  testing::internal::CaptureStderr();
  mask.SetPolygonsFromArrays(5, 5, {{0, 0, 4, 0, 4, 4, 1}});
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(printed.find("------------> ASSERTION FAILED at main/lib/imgproc/mask:"), 0U)
      << printed;
  EXPECT_TRUE(printed.ends_with(" : data.size() % 2 == 0 is false!\n")) << printed;
  EXPECT_EQ(mask.GetArea(), MaskOf(5, 5, {{{0, 0}, {4, 0}, {4, 4}}}).GetArea());
}

TEST(Mask, CombinesAsItsPixelsDo) {
  CRandomShapes shapes;
  for (int round = 0; round < 500; ++round) {
    const int width = 1 + shapes.Below(80), height = 1 + shapes.Below(20);
    const CMask inputs[] = {MaskOf(width, height, shapes.Polygons(width, height)),
                            MaskOf(width, height, shapes.Polygons(width, height))};
    const Pixels pixels[] = {PixelsOf(inputs[0]), PixelsOf(inputs[1])};
    const auto combined = [&](auto operation) {
      Pixels result = pixels[0];
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          result[y][x] = operation(pixels[0][y][x], pixels[1][y][x]);
      return result;
    };
    CMask out = inputs[1];  // an input may be the output
    CMask::Unite(inputs[0], out, out);
    ASSERT_EQ(PixelsOf(out), combined(std::logical_or<>()));
    out = inputs[0];
    CMask::Intersect(out, inputs[1], out);
    ASSERT_EQ(PixelsOf(out), combined(std::logical_and<>()));
    out = inputs[0];
    CMask::Invert(out, out);
    ASSERT_EQ(PixelsOf(out), combined([](bool a, bool) { return !a; }));
    ASSERT_FALSE(HasFailure()) << round;
  }
}

// Every sample that is painted, and none else; the fourth byte never.
template <class Pixel, class... Values>
void CheckPainting(const CMask& mask, Values... values) {
  const std::uint8_t painted[] = {values...};
  for (const bool inverse : {false, true}) {
    TCImageView<Pixel> image;
    image.Create(mask.GetWidth(), mask.GetHeight());
    const auto paint = [&] {
      inverse ? mask.OverlayInverse(image, values...) : mask.Overlay(image, values...);
    };
    paint();
    const Pixels pixels = PixelsOf(mask);
    for (int y = 0; y < image.dy; ++y)
      for (std::size_t i = 0; i < image.dx * sizeof(Pixel); ++i) {
        const std::size_t sample = i % sizeof(Pixel);
        const bool set = pixels[y][i / sizeof(Pixel)] != inverse && sample < sizeof...(values);
        ASSERT_EQ(image.RowBytes(y)[i], set ? painted[sample] : 0xA5) << i << ", " << y;
      }
    for (const auto& [dx, dy] : {std::pair(1, 0), {0, 1}}) {
      image.Create(mask.GetWidth() + dx, mask.GetHeight() + dy);
      EXPECT_EQ(MessageOf(paint), " CMask: invalid image dimensions for overlay");
    }
  }
}

TEST(Mask, PaintsInsideOrOutside) {
  const CTestFrames frames(&frame_manager::Register);
  const CMask mask = MaskOf(70, 9, {{{0, 0}, {50, 2}, {20, 8}}, {{60, 1}, {69, 1}, {69, 8}}});
  CheckPainting<TTGray<unsigned char>>(mask, std::uint8_t{1});
  CheckPainting<TTYUV<unsigned char>>(mask, std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3});
  CheckPainting<TTRGB<unsigned char>>(mask, std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3});
}

TEST(Mask, FailuresNameTheOperation) {
  const CMask none, small = MaskOf(4, 4, {});
  CMask out;
  const std::string text = TextOf<CException>([&] { CMask::Invert(none, out); });
  EXPECT_EQ(text.find("Exception [main/lib/imgproc/mask:"), 0U) << text;
  EXPECT_TRUE(text.ends_with("] - CMask::Invert: input mask is empty")) << text;
  for (const auto& [other, text] : {std::pair(MaskOf(5, 5, {}), "input mask widths mismatch"),
                                    {MaskOf(4, 5, {}), "input mask rowcounts mismatch"}}) {
    EXPECT_EQ(MessageOf([&, &b = other] { CMask::Intersect(small, b, out); }),
              std::string("CMask::Intersect: ") + text);
    EXPECT_EQ(MessageOf([&, &b = other] { CMask::Unite(small, b, out); }),
              std::string("CMask::Unite: ") + text);
  }
  EXPECT_EQ(out.GetHeight(), 0);
}

}  // namespace
