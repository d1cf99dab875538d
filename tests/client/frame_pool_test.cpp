#include "client/frame_pool.h"

#include "ztlib.h"

#include <cstring>
#include <limits>

#include <gtest/gtest.h>

namespace {

TEST(FramePool, HoldsAllRowsWithoutPadding) {
  CFramePool& pool = CFramePool::Instance();
  // Bytes in a row from "bool8" on; samples of the last two formats are 2 and 16 rows high.
  constexpr int rowSizes[] = {98, 98, 392, 392, 196, 196, 98, 196, 6 * 384};
  for (int format = ZTLIB_BOOL8; format <= ZTLIB_YUV420BLOCK; ++format) {
    const int row = rowSizes[format];
    const int rows = format == ZTLIB_YUV420BLOCK ? 2 : format == ZTLIB_YUVBAYERBLOCK ? 17 : 34;
    CFrame* frame = pool.Allocate(98, 34, format);
    ASSERT_NE(frame, nullptr) << format;
    EXPECT_EQ(frame->linesize[0], row) << format;
    // A sanitizer sees the first byte too many.
    std::memset(frame->data[0], 1, std::size_t(row) * rows);
    pool.Release(frame);
  }
}

TEST(FramePool, ReusesAFrameOfTheSameShapeUnlessItsBufferIsStillSeen) {
  CFramePool& pool = CFramePool::Instance();
  CFrame* first = pool.Allocate(64, 48, ZTLIB_YUV);
  const std::uint8_t* pixels = first->data[0];
  pool.Release(first);
  CFrame* other = pool.Allocate(64, 48, ZTLIB_RGB);
  EXPECT_NE(other->data[0], pixels);
  CFrame* again = pool.Allocate(64, 48, ZTLIB_YUV);
  EXPECT_EQ(again->data[0], pixels);
#if defined(ZTCLIENT_FFMPEG)
  FramePtr seen(av_frame_alloc());
  ASSERT_NE(seen, nullptr);
  seen->buf[0] = av_buffer_ref(again->buf[0]);
  pool.Release(again);
  CFrame* fresh = pool.Allocate(64, 48, ZTLIB_YUV);
  EXPECT_NE(fresh->data[0], pixels);
  pool.Release(fresh);
#else
  pool.Release(again);
#endif
  pool.Release(other);
}

TEST(FramePool, RefusesWhatNoPictureNeeds) {
  CFramePool& pool = CFramePool::Instance();
  constexpr int most = std::numeric_limits<int>::max();
  for (const auto& [width, height, format] :
       {std::tuple{0, 10, 1}, std::tuple{10, -1, 1}, std::tuple{10, 10, 9}, std::tuple{10, 10, -1},
        std::tuple{most, most, 8}, std::tuple{65500, 65500, 2}, std::tuple{1, 8, 4}})
    EXPECT_EQ(pool.Allocate(width, height, format), nullptr)
        << width << "x" << height << " " << format;
}

}  // namespace
