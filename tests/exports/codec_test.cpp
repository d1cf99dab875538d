#include "tests/exports/blobs.h"
#include "tests/support/jpeg_reference.h"

namespace {

using namespace blobs;
using jpeg_reference::Style;
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

  static Bytes Meaningful(const Image& image, int format) {
    return jpeg_reference::Opaque(BytesOf(image), format);
  }
};

TEST_F(CodecExports, DecodesWhatLibjpegDecodes) {
  std::vector<Style> styles = {{.lumaAcross = 1, .lumaDown = 1, .components = 1},
                               {.progressive = true},
                               {.restartInterval = 1}};
  // The tens are the sampling factors across, the units those down.
  constexpr int samplings[][3] = {
      {22, 11, 11}, {21, 11, 11}, {12, 11, 11}, {11, 11, 11}, {22, 22, 11}, {22, 11, 22},
      {22, 21, 21}, {22, 12, 12}, {22, 11, 21}, {11, 22, 22}, {21, 22, 22}, {12, 22, 22},
      {41, 11, 11}, {14, 11, 11}, {42, 11, 11}, {41, 21, 21}, {14, 12, 12}, {31, 11, 11}};
  for (const auto& [y, u, v] : samplings)
    styles.push_back(
        {.lumaAcross = y / 10, .lumaDown = y % 10, .chroma = {u / 10, u % 10, v / 10, v % 10}});
  const std::pair<int, int> sizes[] = {{101, 67}, {48, 32}, {34, 17}, {10, 35},
                                       {6, 9},    {4, 5},   {5, 1},   {1, 33}};
  for (const Style& style : styles)
    for (const auto& [width, height] : sizes) {
      const Bytes stream =
          jpeg_reference::Encode(jpeg_reference::Scene(width, height), width, height, style);
      const Bytes frame = WithHeader(stream);
      for (int scale : {1, 2, 3, 4, 5, 8, 16})
        for (int format = ZTLIB_GRAY; format <= ZTLIB_UYVY; ++format) {
          SCOPED_TRACE(testing::Message() << &style - styles.data() << " " << width << "x" << height
                                          << " /" << scale << " format " << format);
          const int w = width / scale;
          const int h = height / scale;
          const Image image = NewImage();
          Decoder(format, scale).Process(image.get(), frame);
          if (format > ZTLIB_YUV && w % 2 != 0) {
            ExpectFailure(process, "main/target/windll/image/ztimage_impl", "Invalid range");
          } else if (style.components == 1 && format > ZTLIB_RGB) {
            ExpectUnknownFailure(process);
          } else {
            ASSERT_NO_FATAL_FAILURE(ExpectNoFailure());
            ASSERT_EQ(Meaningful(image, format),
                      jpeg_reference::Pixels(stream, format, scale, w, h));
            EXPECT_EQ(FrameOf(image)->width, w);
          }
          Forget();
        }
    }
}

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
  Bytes expected = jpeg_reference::Pixels(stream, ZTLIB_RGB, 2, 32, 24);
  for (std::size_t i = 0; i < expected.size(); i += 4)
    std::swap(expected[i], expected[i + 2]);
  EXPECT_EQ(Meaningful(image, ZTLIB_RGB), expected);

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

// Both exports that read a frame's info must agree.
TEST_F(CodecExports, FrameInfoReadsHeadersOfAllAges) {
  // Each case has a header, the frame's size, the reported type, and the start of the payload.
  const std::tuple<FrameHeader, std::size_t, int, int> cases[] = {
      {{.format = 3, .differential = -1, .refresh = 2, .type = 9}, 150, -1, 112},
      {{.format = 7, .differential = 1, .refresh = 1}, 150, 1, 112},
      {{.format = 7, .differential = 1, .type = 4}, 150, 4, 112},
      {{.format = 7, .refresh = -2, .type = 5}, 112, 5, 112},
      {{.headerSize = 0, .format = 7, .differential = 2}, 150, 0, 64},
      {{.headerSize = 63}, 150, 0, 64},
      {{.headerSize = 151}, 150, 0, 64},
      {{.headerSize = 150}, 150, 0, 150},
      {{.headerSize = 100, .format = 7, .type = 5}, 75, 0, 64},
      {{.headerSize = 76, .format = 7, .type = 5}, 76, 5, 76}};
  for (auto [header, size, reported, start] : cases) {
    header.width = -1;
    header.height = 480;
    const Bytes frame = First(header.With(Bytes(64, 0xEE)), size);
    const ztlib_blob blob{frame.data(), frame.size()};
    std::int32_t info[2][6] = {};
    Output output;
    const void* payload = nullptr;
    std::uint32_t payloadSize = 0;
    ztlib_getFrameInfo1(&blob, &info[0][0], &info[0][1], &info[0][2], &info[0][3], &info[0][4],
                        &info[0][5], &output, Output::Receive);
    ztlib_getFrameInfo2(frame.data(), static_cast<std::uint32_t>(size), &info[1][0], &info[1][1],
                        &info[1][2], &info[1][3], &info[1][4], &info[1][5], &payload, &payloadSize);
    const std::int32_t expected[] = {
        -1, 480, header.format, header.differential, header.refresh, reported};
    for (const auto& read : info)
      EXPECT_TRUE(std::ranges::equal(read, expected));
    EXPECT_EQ(output.calls, 1);
    EXPECT_EQ(output.bytes, From(frame, static_cast<std::size_t>(start)));
    EXPECT_EQ(payload, frame.data() + start);
    EXPECT_EQ(payloadSize, size - start);
    const ztlib_blob shortest{frame.data(), 26};
    EXPECT_EQ(ztlib_getVideoFormat(&shortest), expected[2]);
    ztlib_getFrameInfo2(frame.data(), static_cast<std::uint32_t>(size), nullptr, nullptr, nullptr,
                        nullptr, nullptr, nullptr, nullptr, nullptr);
    ExpectNoFailure();
  }
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

// The memory lies one byte off any alignment. The recorded results are those of the equations,
// whose sums wrap at 32 bits.
TEST(InverseTransform, GivesTheRecordedResultsForAnyCoefficients) {
  std::mt19937 random(3);
  Bytes results;
  for (int run = 0; run < 200; ++run) {
    std::uint8_t memory[2 * 64 + 1];
    std::int16_t values[64] = {8};
    for (int i = 0; run > 0 && i < 64; ++i)
      values[i] = static_cast<std::int16_t>(random() >> (run % 16));
    std::memcpy(memory + 1, values, sizeof values);
    idct8x8_mmx(reinterpret_cast<std::int16_t*>(memory + 1));
    for (int i = 0; run == 0 && i < 64; ++i)
      ASSERT_EQ(memory[1 + 2 * i], 1);
    results.insert(results.end(), memory + 1, memory + sizeof memory);
  }
  EXPECT_EQ(HashOf(results), 0x4fbf42555ee0147eU);
}

}  // namespace
