#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/jpeg_decoder.h"
#include "main/target/windll/codec/videoencoder_mjpeg.h"
#include "main/target/windll/image/ztimage.h"
#include "tests/support/common.h"
#include "tests/support/jpeg_reference.h"
#include "tests/support/test_frames.h"

#include <random>

using namespace ztlib;

namespace {

constexpr PixelFormat targetFormats[] = {PixelFormat::GRAY, PixelFormat::RGB, PixelFormat::YUV,
                                         PixelFormat::YUYV, PixelFormat::UYVY};

std::size_t PixelBytes(PixelFormat format, std::size_t pixels) {
  return kit::PictureSize(static_cast<int>(pixels), 1, static_cast<int>(format));
}

Bytes Decode(CJPEGDecoder& decoder, const Bytes& stream, PixelFormat format, int width, int height,
             std::uint32_t scale = 1) {
  Bytes pixels(PixelBytes(format, static_cast<std::size_t>(width) * height), 0xA5);
  decoder.Decode(stream,
                 {.format = format,
                  .pixels = pixels.data(),
                  .width = static_cast<std::uint32_t>(width),
                  .height = static_cast<std::uint32_t>(height)},
                 scale);
  return pixels;
}

TEST(JpegDecoder, RowsThatNobodyWants) {
  CJPEGDecoder decoder;
  for (int across : {2, 4})
    for (PixelFormat format : targetFormats) {
      const Bytes stream =
          jpeg_reference::Encode(jpeg_reference::Scene(48, 33), 48, 33, {.lumaAcross = across});
      Bytes endless = stream;
      endless.back() = 0xE0;  // a segment without bytes in place of the end
      EXPECT_EQ(Decode(decoder, endless, format, 48, 31), Decode(decoder, stream, format, 48, 31));
      for (int rows : {33, 32})
        EXPECT_THROW(Decode(decoder, endless, format, 48, rows), int);
    }
}

TEST(JpegDecoder, WhatIsNoPictureOfYuv) {
  CJPEGDecoder decoder;
  const Bytes tables = {0xFF, 0xD8, 0xFF, 0xD9}, scene = jpeg_reference::Scene(48, 32);
  const Bytes stream = jpeg_reference::Encode(scene, 48, 32);
  const Bytes red =
      jpeg_reference::Encode(scene, 48, 32, {.lumaAcross = 1, .lumaDown = 1, .space = JCS_RGB});
  EXPECT_THROW(Decode(decoder, red, PixelFormat::YUV, 48, 32), int);
  EXPECT_EQ(decoder.ReadHeader(stream).width, 48U);
  EXPECT_EQ(decoder.ReadHeader(tables).width, 0U);
}

// Repeats the last scan of a progressive stream, a refinement, which is allowed any number of
// times.
Bytes WithLastScan(const Bytes& stream, int count) {
  const std::uint8_t marker[] = {0xFF, 0xDA};
  const auto last = std::find_end(stream.begin(), stream.end(), marker, marker + 2);
  Bytes longer(stream.begin(), last);
  for (; count > 0; --count)
    longer.insert(longer.end(), last, stream.end() - 2);
  longer.insert(longer.end(), {0xFF, 0xD9});
  return longer;
}

TEST(JpegDecoder, PicturesInSeveralScansCostWhatTheirStreamAndTheirTargetJustify) {
  CJPEGDecoder decoder;
  const auto decode = [&decoder](const Bytes& stream, int width, int height, int scale) {
    return Decode(decoder, stream, PixelFormat::RGB, width / scale, height / scale,
                  static_cast<std::uint32_t>(scale));
  };
  // Streams of encoders decode at every scale, even if they have few bytes for their blocks.
  const Bytes flat = jpeg_reference::Encode(Bytes(std::size_t{4000} * 3000 * 3, 77), 4000, 3000,
                                            {.progressive = true});
  for (const int scale : {1, 2, 4, 8})
    EXPECT_NO_THROW(decode(flat, 4000, 3000, scale)) << scale;
  const Bytes small =
      jpeg_reference::Encode(jpeg_reference::Scene(48, 32), 48, 32, {.progressive = true});
  EXPECT_NO_THROW(decode(WithLastScan(small, 400), 48, 32, 1));
  EXPECT_THROW(decode(WithLastScan(small, 600), 48, 32, 1), int);
  const Bytes large =
      jpeg_reference::Encode(jpeg_reference::Scene(640, 480), 640, 480, {.progressive = true});
  for (const int scale : {1, 8}) {
    EXPECT_NO_THROW(decode(WithLastScan(large, 50), 640, 480, scale));
    EXPECT_THROW(decode(WithLastScan(large, 100), 640, 480, scale), int);
  }
  // A target that is far smaller than the picture justifies few scans and little memory.
  EXPECT_THROW(decode(flat, 1000, 1000, 1), int);
  EXPECT_THROW(decode(flat, 4000, 3000, 32), int);
  // Some hundred bytes announce 530 million pixels.
  Bytes giant = small;
  const std::uint8_t size[] = {0xFF, 0xC2};
  const auto at = std::search(giant.begin(), giant.end(), size, size + 2) + 5;
  std::ranges::copy(Bytes{17280 >> 8, 17280 & 0xFF, 30720 >> 8, 30720 & 0xFF}, at);
  EXPECT_THROW(decode(giant, 30720, 17280, 8), int);
}

// Noise of all strengths: blocks without and with all coefficients, long runs and large values.
TEST(JpegEncoder, BothRoadsGiveTheSameStreamsAndNeedTheSameRoom) {
  CJPEGEncoder roads[] = {CJPEGEncoder(JpegRoad::own), CJPEGEncoder(JpegRoad::libjpeg)};
  std::mt19937 random(5);
  for (const std::uint32_t width : {1, 8, 9, 17, 31, 33, 264, 531})
    for (const std::uint32_t height : {1, 8, 9, 24, 33})
      for (const std::uint32_t quality : {1, 20, 50, 75, 90, 95, 100}) {
        Bytes pixels(std::size_t{4} * width * height);
        const unsigned strength = quality % 2 == 0 ? 2 : 256;
        for (std::size_t i = 0; i < pixels.size(); ++i)
          pixels[i] = static_cast<std::uint8_t>(random() % strength * (i / 400 % 7 < 3 ? 1 : 255));
        const JpegPicture picture{.pixels = pixels.data(), .distance = std::size_t{4} * width};
        Bytes streams[] = {Bytes(pixels.size() + 4096), Bytes(pixels.size() + 4096)};
        for (int i = 0; i < 2; ++i) {
          roads[i].Init(width, height, quality);
          const std::size_t size = roads[i].Encode(picture, streams[i]);
          const Bytes wide = {streams[i].begin(), streams[i].begin() + size};
          streams[i].resize(size + 1);
          EXPECT_EQ(roads[i].Encode(picture, streams[i]), size);
          streams[i].resize(size);
          EXPECT_EQ(streams[i], wide);
          for (const std::size_t room : {size, size - 1, size / 2, std::size_t{600}})
            EXPECT_THROW(roads[i].Encode(picture, std::span(streams[i]).first(room)), int);
          streams[i] = wide;
        }
        EXPECT_EQ(streams[0], streams[1]) << width << "x" << height << " at " << quality;
      }
}

class EncoderMJPEG : public testing::Test {
 protected:
  CTestFrames frames;

  static void Configure(CVideoEncoderMJPEG& encoder, int width, int height, int quality = 75) {
    CData config;
    config.AddInt(Tok::Width, width);
    config.AddInt(Tok::Height, height);
    config.AddInt(Tok::JPEGQuality, quality);
    encoder.Configure(config);
  }
  static Bytes Encode(CVideoEncoderMJPEG& encoder, const CZTImage& image,
                      const EncodeRequest& request = {}) {
    CBinData frame;
    encoder.Encode(frame, image, request);
    return {frame.Data(), frame.Data() + frame.Size()};
  }
  static void Fill(CZTImage& image, PixelFormat format, int width, int height) {
    image.CreateBySizeInPixels(format, width, height);
    const Bytes scene = jpeg_reference::Scene(width, height);
    const std::size_t size = kit::PictureSize(width, height, static_cast<int>(format));
    for (std::size_t i = 0; i < size; ++i)
      image.GetPtrAs<std::uint8_t>()[i] = scene[i % scene.size()];
  }
};

TEST_F(EncoderMJPEG, SourcesOfAllFormatsAreEncodedAsTheirConversion) {
  for (const auto& [width, height] : {std::pair(66, 51), {92, 34}, {14, 99}})
    for (PixelFormat format : targetFormats) {
      CZTImage image, yuv;
      Fill(image, format, width, height + 1);
      CVideoEncoderMJPEG encoder;
      Configure(encoder, width, height);
      yuv.ConvertOrMap(PixelFormat::YUV, image);
      const int before = CTestFrames::allocated;
      const Bytes frame = Encode(encoder, image);
      EXPECT_EQ(CTestFrames::allocated, before);  // no second picture
      EXPECT_EQ(frame, Encode(encoder, yuv)) << static_cast<int>(format);
      // A wider picture is read as one run of its converted pixels.
      Configure(encoder, width - 2, height);
      EXPECT_EQ(Encode(encoder, image), Encode(encoder, yuv)) << static_cast<int>(format);
    }
}

TEST_F(EncoderMJPEG, HeadersTellTheRequestAndTheConfiguration) {
  CZTImage image;
  Fill(image, PixelFormat::YUV, 64, 64);
  CVideoEncoderMJPEG encoder;
  testing::internal::CaptureStderr();
  EXPECT_THROW(encoder.SetQuality(50), CException);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("codec/videoencoder_mjpeg:69"),
            std::string::npos);
  Configure(encoder, 64, 64, 80);
  const Bytes frame = Encode(encoder, image, {.timestamp = 0x0123456789ABCDEF});
  EXPECT_EQ(FrameHeader::Read(frame).timestamp, 0x0123456789ABCDEFU);
  encoder.SetQuality(10);
  const Bytes coarse = Encode(encoder, image);
  EXPECT_LT(coarse.size(), frame.size());
  EXPECT_EQ(FrameHeader::Read(coarse).quality, 80);
}

}  // namespace
