#include "main/lib/imgproc/image_cache.h"

#include "tests/support/common.h"

#include <numeric>

using namespace ztlib;

namespace {

// A frame of 6 by 5 whose rows are 8 bytes apart: luma 0 to 39, chroma pairs from 100 on.
struct Frame {
  std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(60);
  FrameRecord record{{1, 2, 3}, 7, 6, 5, bytes.data(), bytes.data() + 40, nullptr};
  Frame() {
    std::iota(bytes.begin(), bytes.begin() + 40, 0);
    std::iota(bytes.begin() + 40, bytes.end(), 100);
  }
};

TEST(ImageCache, ViewsAreThoseOfTheLastFrame) {
  const Frame frame;
  CImageDataCache cache;
  for (const long long stride : {8, 6}) {
    FrameRecord record = frame.record;
    record.stride = stride == 8 ? 0 : stride;
    cache.SetFrame(record);
    for (int level = -1; level <= 1; ++level)
      for (int plane = -1; plane <= 4; ++plane) {
        const bool isLuma = plane == planeY, isThere = level == 0 && (isLuma || plane == planeUV);
        const GrayView view = cache.GetPlaneView(level, plane);
        EXPECT_EQ(view.data, !isThere ? nullptr : isLuma ? record.luma : record.chroma);
        EXPECT_EQ(view.width, isThere ? 6 : 0);
        EXPECT_EQ(view.height, !isThere ? 0 : isLuma ? 5 : 2);
        EXPECT_EQ(view.stride, isThere ? stride : 0) << level << ", " << plane;
      }
    EXPECT_EQ(cache.GetImage(0, planeY)->image.GetScanline(), stride);
  }
  EXPECT_EQ(cache.GetSize(1).width, 0);
  EXPECT_EQ(cache.GetLevelForWidth(99999), 0);
  EXPECT_EQ(cache.GetPlanePointer(1), nullptr);
}

TEST(ImageCache, PlanesAreSharedUntilTheNextFrame) {
  const Frame frame;
  CImageDataCache cache;
  cache.SetFrame(frame.record);
  const auto u = cache.GetImage(0, planeU);
  EXPECT_EQ(cache.GetImage(0, planeU), u);
  EXPECT_EQ(cache.GetImage(0, planeY)->image.GetPtr(), frame.record.luma);
  EXPECT_EQ(cache.GetImage(0, planeY)->image.GetScanline(), 8);
  // Half of the 6 by 2 chroma bytes, one after the other, then zeros to the end of 5 rows.
  for (const int plane : {planeU, planeV}) {
    const auto image = cache.GetImage(0, plane);
    for (int i = 0; i < 8 * 5; ++i)
      EXPECT_EQ(image->image.GetPtr()[i], i < 6 ? 100 + 2 * i + plane - planeU : 0) << i;
  }
  cache.SetFrame(frame.record);
  EXPECT_NE(cache.GetImage(0, planeU), u);
}

TEST(ImageCache, PlanesThatAreNotThereHaveNoMemory) {
  Frame frame;
  frame.record.chroma = nullptr;
  CImageDataCache cache;
  cache.SetFrame(frame.record);
  const std::string where = "------------> ASSERTION FAILED at main/lib/imgproc/image_cache:";
  for (const auto& [level, plane, printed, width] :
       {std::tuple(0, +planeU, std::string(), 6),
        {1, +planeY, "", 0},
        {0, +planeUV, where + "151 : _plane != planeUV is false!\n", 6},
        {-1, +planeY, where + "184 : _level >= 0 is false!\n", 0}}) {
    testing::internal::CaptureStderr();
    const auto image = cache.GetImage(level, plane);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), printed);
    EXPECT_FALSE(image->image.Assigned());
    EXPECT_EQ(image->image.GetDx(), width);
  }
}

TEST(ImageCache, ADroppedFrameLeavesItsSizeAndNoReference) {
  Frame frame;
  auto owner = std::make_shared<int>(0);
  frame.record.owner = owner;
  CImageDataCache cache;
  cache.SetFrame(frame.record);
  frame.record.owner.reset();
  const std::weak_ptr<int> alive = std::exchange(owner, nullptr);
  auto held = cache.GetImage(0, planeY);
  cache.DropFrame();
  EXPECT_FALSE(alive.expired());  // a plane that is held keeps its frame
  held.reset();
  EXPECT_TRUE(alive.expired());
  EXPECT_EQ(cache.GetPlanePointer(0), nullptr);
  EXPECT_EQ(cache.GetSize(0).height, 5);
  EXPECT_EQ(cache.GetFrameTime().second, 2);
}

}  // namespace
