#include "tests/exports/blobs.h"
#include "tests/support/jpeg_reference.h"

namespace {

using namespace blobs;
using kit::Decoder;
using kit::Encoder;

constexpr char process[] = "ztlib_decoder_process";
constexpr char encode[] = "ztlib_encoder_process";

class CodecExports : public ExportTest {
 protected:
  const Bytes scene = jpeg_reference::Scene(64, 48);
  const Bytes stream = jpeg_reference::Encode(scene, 64, 48);

  // Makes a picture of YUV pixels from three-byte pixels.
  static Image YuvImage(const Bytes& ycc, int width, int height) {
    Bytes four;
    for (std::size_t i = 0; i < ycc.size(); i += 3)
      four.insert(four.end(), {ycc[i], ycc[i + 1], ycc[i + 2], 0});
    return NewImage(ZTLIB_YUV, width, height, four);
  }
};

TEST_F(CodecExports, EveryCutOfAStreamFailsAndTheHandleGoesOn) {
  for (bool progressive : {false, true}) {
    const Bytes scene = jpeg_reference::Scene(50, 34);
    const Bytes frame =
        WithHeader(jpeg_reference::Encode(scene, 50, 34, {.progressive = progressive}));
    const Image image = NewImage();
    Decoder decoder(ZTLIB_YUYV);
    decoder.Process(image.get(), frame);
    const Bytes good = BytesOf(image);
    for (std::size_t size = frame.size() - 1; size >= 26; --size) {
      decoder.Process(image.get(), First(frame, size));
      ExpectUnknownFailure(process);
    }
    decoder.Process(image.get(), First(frame, 25));
    ExpectFailure(process, "main/target/windll/codec/codec", "Invalid range");
    decoder.Process(image.get(), Joined(frame, Bytes(100, 0xFF)));
    ExpectNoFailure();
    EXPECT_EQ(BytesOf(image), good);
  }
}

TEST_F(CodecExports, EncodesWhatLibjpegEncodes) {
  for (const auto& [width, height, quality] :
       {std::tuple(96, 64, 75), {101, 67, 90}, {48, 50, 20}, {65, 49, 0}, {64, 64, 1000}}) {
    SCOPED_TRACE(testing::Message() << width << "x" << height << " q " << quality);
    Encoder encoder(width, height);
    if (quality != 75) encoder.Configure(kit::Config().Int("JPEGQuality", quality));
    const Bytes scene = jpeg_reference::Scene(width, height);
    const Bytes frame = encoder.Process(YuvImage(scene, width, height).get());
    ExpectNoFailure();
    const FrameHeader header{.width = width, .height = height, .quality = quality};
    EXPECT_EQ(frame,
              header.With(jpeg_reference::Encode(scene, width, height, {.quality = quality})));
  }
}

TEST_F(CodecExports, EncoderRefusesWhatDoesNotFit) {
  const Bytes scene = jpeg_reference::Scene(64, 64);
  const Image image = YuvImage(scene, 64, 64);
  constexpr char encoderSource[] = "main/target/windll/codec/videoencoder_mjpeg";
  Encoder encoder;
  EXPECT_EQ(encoder.Process(image.get()), Bytes());
  ExpectFailure(encode, encoderSource, "Using null-pointer");
  EXPECT_EQ(Encoder(ZTLIB_VIDEO_MJPEGDIFF).Process(image.get()), Bytes());
  ExpectFailure(encode, encoderSource + std::string("_diff"), "Using null-pointer");

  encoder.Configure(kit::Config().Int("Width", 64).Int("Height", 64));
  const Bytes frame = encoder.Process(image.get());
  EXPECT_EQ(encoder.Process(NewImage().get()), Bytes());
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_NE(failures[0].find("Using null-pointer"), std::string::npos);
  Forget();
  EXPECT_EQ(encoder.Process(YuvImage(scene, 64, 63).get()), Bytes());
  ExpectFailure(encode, encoderSource, "Invalid range");
  // A picture with the same number of pixels but another shape is read as one run.
  EXPECT_EQ(encoder.Process(YuvImage(scene, 32, 128).get()), frame);

  // 629 bytes of tables do not fit into 512.
  for (const auto& [width, height] : {std::pair(16, 16), {0, 64}, {65501, 64}}) {
    encoder.Configure(kit::Config().Int("Width", width).Int("Height", height));
    EXPECT_EQ(encoder.Process(NewImage(ZTLIB_YUV, 65501, 64, {}).get()), Bytes());
    ExpectUnknownFailure(encode);
  }

  // A configuration that fails, or whose keys have other kinds, leaves the old one in force.
  encoder.Configure(kit::Config().Int("Width", 64).Int("Height", 64));
  encoder.Configure(kit::Config().Int("Width", -1).Int("Height", -1).Int("JPEGQuality", 1));
  EXPECT_EQ(failures.size(), 1U);
  Forget();
  encoder.Configure(kit::Config().Short("Width", 16).Bool("JPEGQuality", true));
  EXPECT_EQ(encoder.Process(image.get()), frame);
  ExpectNoFailure();
}

TEST_F(CodecExports, DecoderKeepsWhatAConfigurationOmitsAndReportsWhatItCannotDo) {
  const Bytes frame = WithHeader(stream);
  const Image image = NewImage();
  Decoder decoder(ZTLIB_RGB, 2);
  decoder.Configure(kit::Config().Bool("SwapRGB", true));
  decoder.Configure(
      kit::Config().Int("ScaleDown", 0).Short("PixelFormat", ZTLIB_GRAY).Int("SwapRGB", 0));
  decoder.Process(image.get(), frame);
  ExpectNoFailure();
  EXPECT_EQ(FrameOf(image)->width, 32);
  Bytes swapped = BytesOf(image);
  for (std::size_t i = 0; i < swapped.size(); i += 4)
    std::swap(swapped[i], swapped[i + 2]);
  const Image plain = NewImage();
  Decoder(ZTLIB_RGB, 2).Process(plain.get(), frame);
  EXPECT_EQ(BytesOf(plain), swapped);

  CTestFrames::refuse = true;
  decoder.Process(image.get(), frame);
  ExpectFailure(process, "main/lib/base/image_rw", "Using null-pointer");
  EXPECT_EQ(ztlib_ztimage_get_avframe(image.get()), nullptr);
  CTestFrames::refuse = false;
  for (const auto& [format, source, message] :
       {std::tuple(ZTLIB_BOOL8 + 0, "target/windll/image_convert/image_convert_tobool_impl",
                   "Wrong format"),
        {9, "target/windll/image/ztimage_impl", "Invalid range"},
        {-1, "lib/base/pixel_format", "Invalid range"}}) {
    decoder.Configure(kit::Config().Int("PixelFormat", format));
    decoder.Process(image.get(), frame);
    ExpectFailure(process, std::string("main/") + source, message);
  }
}

TEST_F(CodecExports, UnknownFormatsHaveNoCodec) {
  for (int format : {1, 5, -3, 65539, 0, 4}) {
    const std::string text = ": Unknown video format " + std::to_string(format);
    std::vector<Line> expected{{1, "CreateEncoder" + text}};
    EXPECT_EQ(ztlib_encoder_create(format), nullptr);
    if (format != 0 && format != 4) {  // layered video, which is only decoded
      EXPECT_EQ(ztlib_decoder_create(format), nullptr);
      expected.emplace_back(1, "CreateDecoder" + text);
    }
    EXPECT_EQ(lines, expected);
    EXPECT_TRUE(failures.empty());
    Forget();
  }
}

TEST_F(CodecExports, TheFrameChoosesTheDecoder) {
  Bytes frame = WithHeader(stream);
  const Image image = NewImage();
  Decoder decoder(ZTLIB_GRAY);
  decoder.Process(image.get(), frame);
  const Bytes good = BytesOf(image);
  void* const before = decoder.object;
  frame[24] = 5;
  decoder.Process(image.get(), frame);
  EXPECT_EQ(lines, (std::vector<Line>{{1, "CreateDecoder: Unknown video format 5"},
                                      {1, "DecodeFrame: invalid video format: (5)"}}));
  EXPECT_TRUE(failures.empty());
  Forget();
  EXPECT_EQ(decoder.object, before);
  EXPECT_EQ(BytesOf(image), good);

  // A null handle with such a frame ends the process; with a good one it becomes a decoder.
  void* handle = nullptr;
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(ztlib_decoder_process(&handle, image.get(), frame.data(), 112), "");
  frame[24] = 3;
  ztlib_decoder_process(&handle, image.get(), frame.data(),
                        static_cast<std::uint32_t>(frame.size()));
  ExpectFailure(process, "main/target/windll/image_convert/image_convert_tobool_impl",
                "Wrong format");
  EXPECT_NE(handle, nullptr);
  ztlib_decoder_setBaseImage(handle, image.get());
  ztlib_decoder_setBaseImage(nullptr, image.get());
  ztlib_decoder_destroy(&handle);
  EXPECT_EQ(handle, nullptr);
  ztlib_decoder_destroy(&handle);
  ztlib_encoder_destroy(&handle);
  ExpectNoFailure();
}

TEST_F(CodecExports, CopyAndAddHeaderWrapsAPicture) {
  const FrameHeader header{.kind = 2, .addedMark = 1, .width = 64, .height = 48};
  EXPECT_EQ(WithHeader(stream), header.With(stream));
  ExpectNoFailure();
  EXPECT_EQ(WithHeader(First(stream, 20)), Bytes());
  ExpectUnknownFailure("ztlib_copyAndAddHeader");
}

TEST_F(CodecExports, HandlesWorkOnSeveralThreads) {
  Encoder shared(64, 48);
  const Bytes expected = shared.Process(YuvImage(scene, 64, 48).get());
  const int failed = FailuresOnThreads([&](int t) {
    Encoder own(64, 48);
    Decoder decoder(ZTLIB_YUYV);
    const Image source = YuvImage(scene, 64, 48), decoded = NewImage();
    bool same = true;
    for (int i = 0; i < 10; ++i) {
      for (const Encoder* encoder : {&own, &shared})
        same &= encoder->Process(source.get()) == expected;
      if (i == t) shared.Configure(kit::Config().Int("LineSize", i));
      decoder.Process(decoded.get(), expected);
    }
    return same;
  });
  EXPECT_EQ(failed, 0);
  ExpectNoFailure();
}

}  // namespace
