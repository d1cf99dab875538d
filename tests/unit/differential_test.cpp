#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/codec/block_list.h"
#include "main/target/windll/codec/videoencoder_mjpeg_diff.h"
#include "tests/support/common.h"
#include "tests/support/test_frames.h"

using namespace ztlib;

namespace {

using Blocks32 = std::vector<std::uint32_t>;

void Fill(CZTImage& image, PixelFormat format, const Bytes& pixels, int width, int height) {
  image.CreateBySizeInPixels(format, width, height);
  std::copy(pixels.begin(), pixels.end(), image.GetPtrAs<std::uint8_t>());
}

struct Options {
  int width = 160, height = 96, quality = 75, referenceInterval = 4;
  bool isAdvanced = false;
};

class Differential : public testing::Test {
 protected:
  CTestFrames frames;

  static void Configure(CVideoEncoderMJPEGDIFF& encoder, const Options& o) {
    CData config;
    config.AddInt(Tok::Width, o.width);
    config.AddInt(Tok::Height, o.height);
    config.AddInt(Tok::JPEGQuality, o.quality);
    config.AddInt(Tok::RPFrameInterval, o.referenceInterval);
    config.AddBool(Tok::AdvancedProfile, o.isAdvanced);
    config.AddBool(Tok::GenerateOutOfOrderIFrames, false);
    encoder.Configure(config);
  }
  static Bytes Encode(CVideoEncoderMJPEGDIFF& encoder, const Options& o, const Bytes& pixels,
                      const EncodeRequest& request = {}) {
    CZTImage image;
    Fill(image, PixelFormat::UYVY, pixels, o.width, o.height);
    CBinData frame;
    encoder.Encode(frame, image, request);
    return {frame.Data(), frame.Data() + frame.Size()};
  }
  static Bytes Flat(const Options& o, std::uint8_t value) {
    return Bytes(static_cast<std::size_t>(o.width) * o.height * 2, value);
  }
};

TEST_F(Differential, FramesFollowWhatReceiversHave) {
  for (bool advanced : {false, true}) {
    const Options o{32, 32, 100, 2, advanced};
    CVideoEncoderMJPEGDIFF encoder;
    EXPECT_THROW(Encode(encoder, o, Flat(o, 100)), CException);
    testing::internal::CaptureStderr();
    EXPECT_THROW(encoder.SetQuality(50), CException);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("codec/videoencoder_mjpeg_diff:161"),
              std::string::npos);
    Configure(encoder, o);
    EXPECT_EQ(Encode(encoder, o, Flat(o, 100), {.timestamp = 1ULL << 40})[21], 1);
    // A frame without changes has only a header and an empty list.
    const Bytes plain = Encode(encoder, o, Flat(o, 100));
    ASSERT_EQ(plain.size(), 124U);
    EXPECT_EQ(plain[72], advanced ? 4 : 3);
    // This reference frame is too large to be sent, so reference and order of types stay.
    EXPECT_THROW(Encode(encoder, o, NoiseBytes(32 * 32 * 2)), int);
    const Bytes reference = Encode(encoder, o, Flat(o, 100));
    EXPECT_EQ(reference.size(), 124U);
    EXPECT_EQ(reference[72], 5);
    // They also stay after a configuration that is refused.
    Options odd = o;
    odd.width = odd.height = -16;
    EXPECT_ANY_THROW(Configure(encoder, odd));
    EXPECT_EQ(Encode(encoder, o, Flat(o, 100))[72], advanced ? 4 : 3);
  }
}

TEST_F(Differential, AThumbnailOfTheClientDecidesWhatChanged) {
  const Options o{.width = 64, .height = 48};
  CVideoEncoderMJPEGDIFF encoder;
  Configure(encoder, o);
  Encode(encoder, o, Flat(o, 100));
  EXPECT_EQ(Encode(encoder, o, Flat(o, 102)).size(), 124U);  // not above the threshold
  using Blocks = std::vector<std::uint64_t>;
  // Each case tells where the thumbnail differs and by how much, and the blocks of the next frame.
  // The third frame is a reference frame.
  const std::tuple<int, int, int, Blocks> cases[] = {{3, 3, 10, {}},
                                                     {3, 3, 11, {1, 4, 5, 6, 9}},
                                                     {0, 0, -11, {0, 1, 4}},
                                                     {0, 0, -11, {}},
                                                     {7, 5, 99, {0, 1, 4, 7, 10, 11}}};
  for (const auto& [x, y, by, expected] : cases) {
    Bytes small(48, 100);
    small[static_cast<std::size_t>(y * 8 + x)] = static_cast<std::uint8_t>(100 + by);
    CZTImage thumbnail;
    Fill(thumbnail, PixelFormat::GRAY, small, 8, 6);
    const Bytes frame = Encode(encoder, o, Flat(o, 200), {.thumbnail = &thumbnail});
    Blocks blocks;
    UnpackBlockList(blocks, std::span(frame).subspan(112), 99);
    EXPECT_EQ(blocks, expected) << x << " by " << by;
  }
}

TEST_F(Differential, AStripWiderThanAJpegPictureBecomesAKeyFrame) {
  const Options o{.width = 1024, .height = 1040};
  CVideoEncoderMJPEGDIFF encoder;
  Configure(encoder, o);
  Encode(encoder, o, Flat(o, 100));
  Bytes pixels = Flat(o, 100);
  std::fill_n(pixels.begin(), 1024 * 2 * 16 * 62, std::uint8_t{200});
  EXPECT_EQ(Get<int>(Encode(encoder, o, pixels), 84), 64 * 63);
  const Bytes frame = Encode(encoder, o, Flat(o, 200));  // 4160 blocks
  EXPECT_EQ(frame[72], 0);
  EXPECT_EQ(Get<int>(frame, 84), 0);
}

TEST(BlockList, PacksAsRecorded) {
  Bytes packed;
  ASSERT_TRUE(PackBlockList(packed, Blocks32{0, 63, 64, 200}, 6));
  EXPECT_EQ(packed, (Bytes{4, 0, 0, 0, 2, 0, 0,    0,    6,    0, 0, 0, 2, 0,
                           1, 0, 3, 0, 2, 0, 0xC0, 0x0F, 0x20, 0, 0, 0, 0, 0}));
}

TEST(BlockList, BoundsWhatItWritesAndWhatItBelieves) {
  Bytes packed{1, 2};
  EXPECT_FALSE(PackBlockList(packed, Blocks32{0, 65536}, 0));
  EXPECT_EQ(packed, (Bytes{1, 2}));
  packed.clear();
  ASSERT_TRUE(PackBlockList(packed, Blocks32{3, 65535}, 0));
  // Each case has a field, a wrong value for it, and how many of two entries are left.
  constexpr std::uint32_t lies[][3] = {{0, ~0U, 5}, {0, 0, 0},  {4, ~0U, 2}, {8, 32, 0},
                                       {8, 255, 0}, {8, 31, 1}, {12, 7, 2}};
  for (const auto& [offset, value, left] : lies) {
    Bytes lying = packed;
    Put(lying, offset, value);
    std::vector<std::uint64_t> blocks;
    UnpackBlockList(blocks, lying, 5);
    EXPECT_EQ(blocks.size(), left) << offset << " " << value;
  }
}

}  // namespace
