#include "main/lib/imgproc/image_cache.h"

#include "tests/support/common.h"

#include <numeric>

using namespace ztlib;

namespace {

// A frame of 6 by 5 pixels whose rows are 8 bytes apart. Luma is 0 to 39, chroma 100 and on.
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
    for (const auto& [level, plane, data, rows] : {std::tuple(0, +planeY, record.luma, 5),
                                                   {0, +planeUV, record.chroma, 2},
                                                   {0, +planeU, nullptr, 0},
                                                   {1, +planeY, nullptr, 0},
                                                   {-1, +planeY, nullptr, 0}}) {
      const GrayView view = cache.GetPlaneView(level, plane);
      EXPECT_TRUE(view.data == data && view.height == rows && view.width == (rows ? 6 : 0) &&
                  view.stride == (rows ? stride : 0))
          << level << ", " << plane;
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
  // A plane has half of the 6 by 2 chroma bytes, and then zeros to the end of 5 rows.
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
  testing::internal::CaptureStderr();
  for (const auto& [level, plane] :
       {std::pair(0, planeU), {1, planeY}, {0, planeUV}, {-1, planeY}}) {
    const auto image = cache.GetImage(level, plane);
    EXPECT_FALSE(image->image.Assigned());
    EXPECT_EQ(image->image.GetDx(), level == 0 ? 6 : 0);
  }
  const std::string where = "------------> ASSERTION FAILED at main/lib/imgproc/image_cache:";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), where + "151 : _plane != planeUV is false!\n" +
                                                        where + "184 : _level >= 0 is false!\n");
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
