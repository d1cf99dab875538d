#include "client/frame.h"

#include <cstring>
#include <limits>

#include <gtest/gtest.h>

namespace {

TEST(FramePool, HoldsAllRowsWithoutPadding) {
  // These are the bytes of a row in each format; samples of the last two are 2 and 16 rows high.
  constexpr int rowSizes[] = {98, 98, 392, 392, 196, 196, 98, 196, 6 * 384};
  for (int format = ZTLIB_BOOL8; format <= ZTLIB_YUV420BLOCK; ++format) {
    const int row = rowSizes[format];
    const int rows = format == ZTLIB_YUV420BLOCK ? 2 : format == ZTLIB_YUVBAYERBLOCK ? 17 : 34;
    AVFrame* frame = CFramePool::Allocate(98, 34, format);
    ASSERT_NE(frame, nullptr) << format;
    EXPECT_EQ(frame->linesize[0], row) << format;
    // A sanitizer sees a write behind the picture.
    std::memset(frame->data[0], 1, std::size_t(row) * rows);
    CFramePool::Release(frame);
  }
}

TEST(FramePool, ReusesAFrameOfTheSameShapeUnlessItsBufferIsStillSeen) {
  const auto take = [&](int format) {
    AVFrame* const frame = CFramePool::Allocate(64, 48, format);
    const std::uint8_t* const pixels = frame->data[0];
    CFramePool::Release(frame);
    return pixels;
  };
  const std::uint8_t* const pixels = take(ZTLIB_YUV);
  EXPECT_NE(take(ZTLIB_RGB), pixels);
  EXPECT_EQ(take(ZTLIB_YUV), pixels);
  AVFrame* const frame = CFramePool::Allocate(64, 48, ZTLIB_YUV);
  FramePtr seen(av_frame_alloc());
  ASSERT_NE(seen, nullptr);
  seen->buf[0] = av_buffer_ref(frame->buf[0]);
  CFramePool::Release(frame);
  EXPECT_NE(take(ZTLIB_YUV), pixels);
}

TEST(FramePool, RefusesWhatNoPictureNeeds) {
  constexpr int most = std::numeric_limits<int>::max();
  constexpr int shapes[][3] = {{0, 10, 1},      {10, -1, 1},       {10, 10, 9}, {10, 10, -1},
                               {most, most, 8}, {65500, 65500, 2}, {1, 8, 4}};
  for (const auto& [width, height, format] : shapes)
    EXPECT_EQ(CFramePool::Allocate(width, height, format), nullptr)
        << width << "x" << height << " " << format;
}

}  // namespace
