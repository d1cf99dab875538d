#include "main/lib/imgproc/mask.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/lib/imgproc/polygon_filler.h"
#include "tests/support/common.h"
#include "tests/support/test_frames.h"

#include <array>
#include <new>

using namespace ztlib;

namespace {

using Line = std::vector<bool>;
using Pixels = std::vector<Line>;

// A plain model: each polygon is a fan of triangles, whose crossings are sorted and paired by row.
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

// Returns the pixels of the runs, with which area and bounding box must agree. The fuzz target
// tests the order of runs.
Pixels PixelsOf(const CMask& mask) {
  Pixels pixels(std::max(mask.GetHeight(), 0), Line(std::max(mask.GetWidth(), 0)));
  std::int64_t area = 0, left = mask.GetWidth(), top = mask.GetHeight(), right = 0, bottom = 0;
  for (int y = 0; y < mask.GetHeight(); ++y)
    for (const CMaskRun& run : mask.GetRow(y)) {
      area += run.end - run.start;
      std::fill(pixels[y].begin() + run.start, pixels[y].begin() + run.end, true);
      left = std::min<std::int64_t>(left, run.start);
      right = std::max<std::int64_t>(right, run.end);
      top = std::min<std::int64_t>(top, y);
      bottom = y + 1;
    }
  if (area == 0) left = top = 0;
  EXPECT_EQ((std::array{area, left, top, right, bottom}),
            (std::array<std::int64_t, 5>{mask.GetArea(), mask.GetLeft(), mask.GetTop(),
                                         mask.GetRight(), mask.GetBottom()}));
  return pixels;
}

CMask MaskOf(int width, int height, const PolygonList& polygons) {
  CMask mask;
  mask.SetPolygons(width, height, polygons);
  return mask;
}

TEST(Mask, FillsAsCrossingsPairedRowByRowDo) {
  std::mt19937 random{7};
  const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
  for (int round = 0; round < 5000; ++round) {
    const int width = 1 + below(round % 8 ? 40 : 300), height = 1 + below(100);
    PolygonList polygons(1 + below(5));
    for (CMaskPolygon& polygon : polygons) {
      for (int count = below(12); count > 0; --count)
        polygon.push_back({below(width + 20) - 10, below(height + 20) - 10});
      if (below(4) == 0) polygon = polygons.front();
    }
    ASSERT_EQ(PixelsOf(MaskOf(width, height, polygons)), Rasterise(width, height, polygons));
  }
  // Floats round these columns to more than a pixel, and some points are beyond every size.
  const std::int64_t far = INT64_MAX;
  const PolygonList wide = {{{1, 0}, {16777218, 1}, {20000001, 2}, {3, 2}, {16777219, 0}},
                            {{-far, -far}, {far, -far}, {far, far}}};
  EXPECT_TRUE(PixelsOf(MaskOf(20000003, 3, wide)) == Rasterise(20000003, 3, wide));
}

TEST(Mask, WorkFollowsWhatPolygonsAdd) {
  constexpr int width = 320, height = 240;
  const auto crossings = [&](const PolygonList& polygons) {
    EXPECT_EQ(PixelsOf(MaskOf(width, height, polygons)), Rasterise(width, height, polygons));
    CPolygonFiller filler(width, height);
    filler.Fill(polygons);
    return filler.GetCrossingCount();
  };
  const CMaskPolygon triangle = {{0, 0}, {300, 20}, {100, 239}};
  EXPECT_EQ(crossings(PolygonList(500, triangle)), 2U * 239);
  EXPECT_EQ(
      crossings({triangle, {{100, 239}, {300, 20}, {0, 0}}, {{-9, 0}, {300, 20}, {100, 999}}}),
      2U * 239);
  // An edge that a polygon has an even number of times has no effect.
  CMaskPolygon rounds = triangle;
  for (const unsigned passes : {2U, 3U}) {
    rounds.insert(rounds.end(), triangle.begin(), triangle.end());
    EXPECT_EQ(crossings({rounds}), passes % 2 * 2 * 239);
  }
  // Nearly all of these random polygons lie where others have been filled before.
  std::mt19937 random{7};
  const auto point = [&] {
    return CMaskPoint{static_cast<int>(random() % width), static_cast<int>(random() % height)};
  };
  PolygonList scattered(2000);
  for (CMaskPolygon& polygon : scattered)
    polygon = {point(), point(), point()};
  EXPECT_LT(crossings(scattered), 2000U * height / 4);  // of 2000 * height on average
  scattered.push_front({{0, 0}, {319, 0}, {319, 239}, {0, 239}});
  EXPECT_LT(crossings(scattered), 2000U * height / 10);
}

TEST(Mask, TreesHoldVirtualCoordinates) {
  const PolygonList all{{{0, 0}, {8, 0}, {8, 6}, {0, 6}}};
  // Each case has arrays of a tree, a size, and the same polygons in pixels.
  const std::tuple<std::vector<std::vector<short>>, Size, PolygonList> cases[] = {
      {{}, {9, 7}, all},
      {{{}, {5}}, {9, 7}, all},  // none, and half a point
      {{{0, 0, 16384, 16384}}, {160, 120}, {{{0, 0}, {160, 160}}}},
      // Both axes scale with the width, and a last x without y is dropped.
      {{{0, 0, 8192, 0, 8192, 8192, 0, 8192, 7}},
       {160, 120},
       {{{0, 0}, {80, 0}, {80, 80}, {0, 80}}}},
      {{{-9000, -32768, 32767, 0, 16384, 16384}}, {161, 90}, {{{-88, -322}, {322, 0}, {161, 161}}}},
      {{{0, 0, 5, 5, 0, 5}}, {0, 0}, {{{0, 0}}}}};
  for (const auto& [arrays, size, polygons] : cases) {
    CData masks;
    for (const std::vector<short>& array : arrays)
      masks.AddShortArray(Tok::Empty, array);
    masks.Append("", CDataValue::OfShortArray(nullptr));
    CMask mask;
    mask.BuildFromData(masks, size);
    EXPECT_EQ(PixelsOf(mask),
              Rasterise(static_cast<int>(size.width), static_cast<int>(size.height), polygons));
  }
}

TEST(Mask, RefusesWhatIsNoPolygonAndReportsHalfPoints) {
  CData masks;
  masks.AddShortArray(Tok::Empty, {0, 0});
  masks.AddInt(Tok::Empty, 1);
  CMask mask = MaskOf(5, 5, {});
  EXPECT_TRUE(mask.GetRow(-1).empty() && mask.GetRow(5).empty());
  EXPECT_EQ(MessageOf<CDataException>([&] {
              mask.BuildFromData(masks, {5, 5});
            }),
            "Unknown token: 1");
  EXPECT_EQ(mask.GetArea(), 0);
  EXPECT_THROW(mask.BuildFromData({}, {std::int64_t{1} << 40, 5}), std::bad_alloc);
  testing::internal::CaptureStderr();
  mask.SetPolygonsFromArrays(5, 5, {{0, 0, 4, 0, 4, 4, 1}});
  EXPECT_NE(testing::internal::GetCapturedStderr().find(" : data.size() % 2 == 0 is false!\n"),
            std::string::npos);
  EXPECT_EQ(mask.GetArea(), MaskOf(5, 5, {{{0, 0}, {4, 0}, {4, 4}}}).GetArea());
}

// Exactly the samples of the mask are painted, and never the fourth byte.
template <class Pixel, class... Values>
void CheckPainting(Values... values) {
  const CMask mask = MaskOf(70, 9, {{{0, 0}, {50, 2}, {20, 8}}, {{60, 1}, {69, 1}, {69, 8}}});
  const Pixels pixels = PixelsOf(mask);
  const std::uint8_t painted[] = {values..., 0xA5};
  for (const bool inverse : {false, true}) {
    TCImageView<Pixel> image;
    const auto paint = [&](int width, int height) {
      image.Create(width, height);
      inverse ? mask.OverlayInverse(image, values...) : mask.Overlay(image, values...);
    };
    for (const auto& [width, height] : {std::pair(71, 9), {70, 10}})
      EXPECT_EQ(MessageOf([&, w = width, h = height] { paint(w, h); }),
                " CMask: invalid image dimensions for overlay");
    paint(70, 9);
    for (int y = 0; y < image.dy; ++y)
      for (std::size_t i = 0; i < image.dx * sizeof(Pixel); ++i) {
        const bool set = pixels[y][i / sizeof(Pixel)] != inverse;
        ASSERT_EQ(image.RowBytes(y)[i], set ? painted[i % sizeof(Pixel)] : 0xA5) << i << ", " << y;
      }
  }
}

TEST(Mask, PaintsInsideOrOutside) {
  const CTestFrames frames;
  const std::uint8_t a = 1, b = 2, c = 3;
  CheckPainting<TTGray<unsigned char>>(a);
  CheckPainting<TTYUV<unsigned char>>(a, b, c);
  CheckPainting<TTRGB<unsigned char>>(a, b, c);
}

TEST(Mask, FailuresNameTheOperation) {
  const CMask none, small = MaskOf(4, 4, {});
  CMask out;
  EXPECT_EQ(MessageOf([&] { CMask::Invert(none, out); }), "CMask::Invert: input mask is empty");
  for (const auto& [other, text] : {std::pair(MaskOf(5, 5, {}), "input mask widths mismatch"),
                                    {MaskOf(4, 5, {}), "input mask rowcounts mismatch"}}) {
    EXPECT_EQ(MessageOf([&, &b = other] { CMask::Intersect(small, b, out); }),
              std::string("CMask::Intersect: ") + text);
    EXPECT_EQ(MessageOf([&, &b = other] { CMask::Unite(small, b, out); }),
              std::string("CMask::Unite: ") + text);
  }
}

}  // namespace
