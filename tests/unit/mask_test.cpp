#include "main/lib/imgproc/mask.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/lib/imgproc/polygon_filler.h"
#include "tests/support/common.h"
#include "tests/support/test_frames.h"

#include <new>

using namespace ztlib;

namespace {

CMask MaskOf(int width, int height, const PolygonList& polygons) {
  CMask mask;
  mask.SetPolygons(width, height, polygons);
  return mask;
}

TEST(Mask, WorkFollowsWhatPolygonsAdd) {
  constexpr int width = 320, height = 240;
  const auto crossings = [&](const PolygonList& polygons) {
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
  // Arrays of a tree, and the same polygon in pixels of 160 by 120: both ways by the width, and
  // none leaves out the last row and column.
  const std::pair<std::vector<short>, CMaskPolygon> cases[] = {
      {{0, 0, 8192, 0, 8192, 4096, 0, 4096, 7}, {{0, 0}, {80, 0}, {80, 40}, {0, 40}}},
      {{5}, {{0, 0}, {159, 0}, {159, 119}, {0, 119}}}};
  for (const auto& [array, polygon] : cases) {
    CData masks;
    masks.AddShortArray(Tok::Empty, array);
    CMask mask;
    mask.BuildFromData(masks, {160, 120});
    EXPECT_EQ(mask.GetArea(), polygon[2].x * polygon[2].y);
    EXPECT_EQ(mask.GetArea(), MaskOf(160, 120, {polygon}).GetArea());
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

TEST(Mask, FailuresNameTheOperation) {
  const CTestFrames frames;
  const CMask none, small = MaskOf(4, 4, {});
  CMask out;
  for (const auto& [width, height] : {std::pair(5, 4), {4, 5}}) {
    TCImageView<TTGray<unsigned char>> image;
    image.Create(width, height);
    EXPECT_EQ(MessageOf([&] { small.Overlay(image, 1); }),
              " CMask: invalid image dimensions for overlay");
  }
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
