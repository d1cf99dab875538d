#include "tests/support/codec_client.h"
#include "tests/support/export_fixture.h"
#include "tests/support/jpeg_reference.h"

namespace {

using codec_client::Decoder;
using codec_client::Encoder;
using jpeg_reference::Style;

constexpr char process[] = "ztlib_decoder_process";
constexpr char encode[] = "ztlib_encoder_process";
constexpr char add[] = "ztlib_copyAndAddHeader";
constexpr char api[] = "main/target/windll/codec_api";
constexpr std::uint32_t headerSize = 112;

class CodecExports : public ExportTest {
 protected:
  static Bytes FrameOf(const Bytes& stream) {
    Output output;
    ztlib_copyAndAddHeader(&output, Output::Receive, stream.data(),
                           static_cast<std::uint32_t>(stream.size()));
    return output.bytes;
  }
  const Bytes scene = jpeg_reference::Scene(64, 48);
  const Bytes stream = jpeg_reference::Encode(scene, 64, 48);

  // A picture of YUV pixels made of three-byte ones.
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
  const Style styles[] = {{.name = "4:2:0"},
                          {.name = "4:2:2", .lumaDown = 1},
                          {.name = "4:4:4", .lumaAcross = 1, .lumaDown = 1},
                          {.name = "4:4:0", .lumaAcross = 1},
                          {.name = "4:1:1", .lumaAcross = 4, .lumaDown = 1},
                          {.name = "4:1:0", .lumaAcross = 4},
                          {.name = "gray", .lumaAcross = 1, .lumaDown = 1, .components = 1},
                          {.name = "progressive", .progressive = true},
                          {.name = "restart", .restartInterval = 1}};
  const std::pair<int, int> sizes[] = {{96, 64}, {101, 67}, {34, 17}, {4, 5}, {5, 1}, {1, 33}};
  for (const Style& style : styles)
    for (const auto& [width, height] : sizes) {
      const Bytes stream =
          jpeg_reference::Encode(jpeg_reference::Scene(width, height), width, height, style);
      const Bytes frame = FrameOf(stream);
      for (int scale : {1, 2, 3, 4, 5, 8, 16})
        for (int format = ZTLIB_GRAY; format <= ZTLIB_UYVY; ++format) {
          SCOPED_TRACE(testing::Message() << style.name << " " << width << "x" << height << " /"
                                          << scale << " format " << format);
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
            EXPECT_EQ(ExportTest::FrameOf(image)->width, w);
            EXPECT_EQ(ExportTest::FrameOf(image)->height, h);
          }
          Forget();
        }
    }
}

TEST_F(CodecExports, EveryCutOfAStreamFailsAndTheHandleGoesOn) {
  for (bool progressive : {false, true}) {
    const Bytes scene = jpeg_reference::Scene(50, 34);
    const Bytes frame =
        FrameOf(jpeg_reference::Encode(scene, 50, 34, {.progressive = progressive}));
    const Image image = NewImage();
    Decoder decoder(ZTLIB_YUYV);
    decoder.Process(image.get(), frame);
    const Bytes good = BytesOf(image);
    for (std::size_t size = frame.size() - 1; size >= 26; --size) {
      decoder.Process(image.get(), Bytes(frame.begin(), frame.begin() + size));
      ExpectUnknownFailure(process);
    }
    for (std::size_t size : {std::size_t{0}, std::size_t{25}}) {
      decoder.Process(image.get(), Bytes(frame.begin(), frame.begin() + size));
      ExpectFailure(process, "main/target/windll/codec/codec", "Invalid range");
    }
    Bytes longer = frame;
    longer.insert(longer.end(), 100, 0xFF);
    decoder.Process(image.get(), longer);
    ExpectNoFailure();
    EXPECT_EQ(BytesOf(image), good);
  }
}

TEST_F(CodecExports, EncodesWhatLibjpegEncodes) {
  for (const auto& [width, height, quality] :
       {std::tuple(96, 64, 75), {101, 67, 90}, {48, 50, 20}, {65, 49, 0}, {64, 64, 1000}}) {
    SCOPED_TRACE(testing::Message() << width << "x" << height << " q " << quality);
    Encoder encoder(width, height);
    if (quality != 75) encoder.Configure(CodecConfig().Int("JPEGQuality", quality));
    const Bytes scene = jpeg_reference::Scene(width, height);
    const Bytes frame = encoder.Process(YuvImage(scene, width, height).get());
    ExpectNoFailure();
    ASSERT_GT(frame.size(), headerSize);
    EXPECT_EQ(Bytes(frame.begin() + headerSize, frame.end()),
              jpeg_reference::Encode(scene, width, height, {.quality = quality}));
    EXPECT_EQ(Bytes(frame.begin(), frame.begin() + headerSize),
              Words(headerSize, {3, std::ssize(frame), headerSize, 0, 0, 0, 3, 0, width, height, 0,
                                 0, 0, 0, 0, 0, quality}));
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

  encoder.Configure(CodecConfig().Int("Width", 64).Int("Height", 64));
  const Bytes frame = encoder.Process(image.get());
  EXPECT_EQ(encoder.Process(NewImage().get()), Bytes());
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_NE(failures[0].find("Using null-pointer"), std::string::npos);
  Forget();
  EXPECT_EQ(encoder.Process(YuvImage(scene, 64, 63).get()), Bytes());
  ExpectFailure(encode, encoderSource, "Invalid range");
  // As many pixels in another shape are read as one run.
  EXPECT_EQ(encoder.Process(YuvImage(scene, 32, 128).get()), frame);

  // 629 bytes of tables do not fit into 512.
  encoder.Configure(CodecConfig().Int("Width", 16).Int("Height", 16));
  EXPECT_EQ(encoder.Process(image.get()), Bytes());
  ExpectUnknownFailure(encode);
  for (const auto& [width, height] : {std::pair(0, 64), {65501, 64}}) {
    encoder.Configure(CodecConfig().Int("Width", width).Int("Height", height));
    (void)encoder.Process(NewImage(ZTLIB_YUV, 65501, 64, {}).get());
    ExpectUnknownFailure(encode);
  }

  // A configuration that fails, or is of other kinds, leaves the one in force.
  encoder.Configure(CodecConfig().Int("Width", 64).Int("Height", 64));
  encoder.Configure(CodecConfig().Int("Width", -1).Int("Height", -1).Int("JPEGQuality", 1));
  EXPECT_EQ(failures.size(), 1U);
  Forget();
  encoder.Configure(CodecConfig().Short("Width", 16).Bool("JPEGQuality", true));
  EXPECT_EQ(encoder.Process(image.get()), frame);
  ExpectNoFailure();
}

TEST_F(CodecExports, DecoderConfigurationKeepsWhatIsAbsent) {
  const Bytes frame = FrameOf(stream);
  const Image image = NewImage();
  Decoder decoder(ZTLIB_RGB, 2);
  decoder.Configure(CodecConfig().Bool("SwapRGB", true));
  decoder.Configure(
      CodecConfig().Int("ScaleDown", 0).Short("PixelFormat", ZTLIB_GRAY).Int("SwapRGB", 0));
  decoder.Process(image.get(), frame);
  ExpectNoFailure();
  EXPECT_EQ(ExportTest::FrameOf(image)->width, 32);
  Bytes expected = jpeg_reference::Pixels(stream, ZTLIB_RGB, 2, 32, 24);
  for (std::size_t i = 0; i < expected.size(); i += 4)
    std::swap(expected[i], expected[i + 2]);
  EXPECT_EQ(Meaningful(image, ZTLIB_RGB), expected);

  for (const auto& [format, source, message] :
       {std::tuple(ZTLIB_BOOL8 + 0, "target/windll/image_convert/image_convert_tobool_impl",
                   "Wrong format"),
        {9, "target/windll/image/ztimage_impl", "Invalid range"},
        {-1, "lib/base/pixel_format", "Invalid range"}}) {
    decoder.Configure(CodecConfig().Int("PixelFormat", format));
    decoder.Process(image.get(), frame);
    ExpectFailure(process, std::string("main/") + source, message);
  }
}

TEST_F(CodecExports, RefusedPictureMemoryIsAFailure) {
  const Bytes frame = FrameOf(stream);
  const Image image = NewImage();
  for (int format : {ZTLIB_GRAY, ZTLIB_RGB, ZTLIB_UYVY}) {
    Decoder decoder(format);
    decoder.Process(image.get(), frame);
    const Bytes good = BytesOf(image);
    CTestFrames::refuse = true;
    decoder.Process(image.get(), frame);
    ExpectFailure(process, "main/lib/base/image_rw", "Using null-pointer");
    EXPECT_EQ(ztlib_ztimage_get_avframe(image.get()), nullptr);
    CTestFrames::refuse = false;
    decoder.Process(image.get(), frame);
    ExpectNoFailure();
    EXPECT_EQ(BytesOf(image), good);
  }
}

TEST_F(CodecExports, UnknownFormatsHaveNoCodec) {
  for (int format : {1, 5, -3, 65539}) {
    EXPECT_EQ(ztlib_decoder_create(format), nullptr);
    EXPECT_EQ(ztlib_encoder_create(format), nullptr);
    const std::string number = std::to_string(format);
    EXPECT_EQ(lines, (std::vector<Line>{{1, "CreateDecoder: Unknown video format " + number},
                                        {1, "CreateEncoder: Unknown video format " + number}}));
    EXPECT_TRUE(failures.empty());
    Forget();
  }
  for (int format : {ZTLIB_VIDEO_LAYERED, ZTLIB_VIDEO_LAYEREDDIFF})
    EXPECT_EQ(ztlib_encoder_create(format), nullptr);
  EXPECT_EQ(lines, (std::vector<Line>{{1, "CreateEncoder: Unknown video format 0"},
                                      {1, "CreateEncoder: Unknown video format 4"}}));
  Forget();
}

TEST_F(CodecExports, TheFrameChoosesTheDecoder) {
  Bytes frame = FrameOf(stream);
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
  ztlib_decoder_destroy(nullptr);
  ztlib_encoder_destroy(&handle);
  ztlib_encoder_destroy(nullptr);
  ExpectNoFailure();
}

TEST_F(CodecExports, MissingArgumentsAndShortFramesAreFailures) {
  const Image image = NewImage();
  Decoder decoder;
  Encoder encoder;
  Output output;
  std::uint8_t bytes[63] = {3};
  std::int32_t width = 77;
  const ztlib_blob empty{nullptr, 0};
  const ztlib_blob hollow{nullptr, 112};
  const ztlib_blob tooShort{bytes, sizeof bytes};
  const auto receive = Output::Receive;
  const auto info1 = [&](const ztlib_blob* blob, ztlib_output out) {
    ztlib_getFrameInfo1(blob, &width, nullptr, nullptr, nullptr, nullptr, nullptr, &output, out);
  };
  const auto info2 = [&](const void* data, std::uint32_t size) {
    ztlib_getFrameInfo2(data, size, &width, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr);
  };
  constexpr char null[] = "Using null-pointer";
  constexpr char range[] = "Invalid range";
  const std::tuple<const char*, const char*, std::function<void()>> calls[] = {
      {"ztlib_decoder_config", null, [&] { ztlib_decoder_config(nullptr, &empty); }},
      {"ztlib_decoder_config", null, [&] { ztlib_decoder_config(decoder.object, nullptr); }},
      {"ztlib_decoder_config", null, [&] { ztlib_decoder_config(decoder.object, &hollow); }},
      {"ztlib_encoder_config", null, [&] { ztlib_encoder_config(nullptr, &empty); }},
      {"ztlib_encoder_config", null, [&] { ztlib_encoder_config(encoder.object, nullptr); }},
      {process, null, [&] { ztlib_decoder_process(nullptr, image.get(), bytes, 1); }},
      {process, null, [&] { ztlib_decoder_process(&decoder.object, nullptr, bytes, 1); }},
      {process, null, [&] { ztlib_decoder_process(&decoder.object, image.get(), nullptr, 1); }},
      {encode, null, [&] { ztlib_encoder_process(nullptr, &output, receive, image.get(), 0); }},
      {encode, null,
       [&] { ztlib_encoder_process(encoder.object, nullptr, nullptr, image.get(), 0); }},
      {encode, null, [&] { ztlib_encoder_process(encoder.object, &output, receive, nullptr, 0); }},
      {add, null, [&] { ztlib_copyAndAddHeader(&output, receive, nullptr, 1); }},
      {add, null, [&] { ztlib_copyAndAddHeader(&output, nullptr, bytes, 1); }},
      {"ztlib_getFrameInfo1", null, [&] { info1(nullptr, receive); }},
      {"ztlib_getFrameInfo1", null, [&] { info1(&hollow, receive); }},
      {"ztlib_getFrameInfo1", null, [&] { info1(&tooShort, nullptr); }},
      {"ztlib_getFrameInfo1", range, [&] { info1(&tooShort, receive); }},
      {"ztlib_getFrameInfo2", null, [&] { info2(nullptr, 112); }},
      {"ztlib_getFrameInfo2", range, [&] { info2(nullptr, 0); }},
      {"ztlib_getFrameInfo2", range, [&] { info2(bytes, 63); }},
  };
  for (const auto& [name, message, call] : calls) {
    call();
    ExpectFailure(name, api, message);
  }
  ztlib_copyAndAddHeader(&output, receive, nullptr, 0);
  ExpectUnknownFailure(add);
  ztlib_decoder_config(decoder.object, &empty);
  const ztlib_blob noFormat{bytes, 25};
  for (const ztlib_blob* blob : {&hollow, &empty, &noFormat})
    EXPECT_EQ(ztlib_getVideoFormat(blob), -1);
  EXPECT_EQ(ztlib_getVideoFormat(nullptr), -1);
  ExpectNoFailure();
  EXPECT_EQ(output.calls, 0);
  EXPECT_EQ(width, 77);
}

TEST_F(CodecExports, CopyAndAddHeaderWrapsAPicture) {
  const Bytes stream = jpeg_reference::Encode(jpeg_reference::Scene(101, 67), 101, 67);
  const Bytes frame = FrameOf(stream);
  ASSERT_EQ(Bytes(frame.begin() + headerSize, frame.end()), stream);
  EXPECT_EQ(Bytes(frame.begin(), frame.begin() + headerSize),
            Words(headerSize, {2, std::ssize(frame), headerSize, 0, 0, 0, 3, 0x10000, 101, 67}));
  ExpectNoFailure();
  EXPECT_EQ(FrameOf(Bytes(stream.begin(), stream.begin() + 20)), Bytes());
  ExpectUnknownFailure(add);
}

// Reads a frame's info by both exports, which agree.
TEST_F(CodecExports, FrameInfoReadsHeadersOfAllAges) {
  // Header size; format and differential; refresh; frame type; frame size, reported type, payload.
  const std::uint32_t cases[][7] = {
      {112, 3, 0, 0, 150, 0, 112},       {112, 0xFFFF0003, 2, 9, 150, ~0U, 112},
      {112, 0x10007, 1, 0, 150, 1, 112}, {112, 0x10007, 0, 4, 150, 4, 112},
      {112, 7, 0xFFFE, 5, 112, 5, 112},  {0, 0x20007, 0, 0, 150, 0, 64},
      {63, 3, 0, 0, 150, 0, 64},         {64, 3, 0, 0, 64, 0, 64},
      {151, 3, 0, 0, 150, 0, 64},        {150, 3, 0, 0, 150, 0, 150},
      {100, 7, 0, 5, 75, 0, 64},         {76, 7, 0, 5, 76, 5, 76}};
  for (const auto& [ownSize, format, refresh, type, size, reported, start] : cases) {
    Bytes frame = Words(headerSize, {0, 0, ownSize, 0, 0, 0, format, refresh, ~0U, 480, 0, 0, 0, 0,
                                     0, 0, 0, 0, type});
    frame.resize(112 + 64, 0xEE);
    frame.resize(size);
    const ztlib_blob blob{frame.data(), frame.size()};
    std::int32_t info[2][6] = {};
    Output output;
    const void* payload = nullptr;
    std::uint32_t payloadSize = 0;
    ztlib_getFrameInfo1(&blob, &info[0][0], &info[0][1], &info[0][2], &info[0][3], &info[0][4],
                        &info[0][5], &output, Output::Receive);
    ztlib_getFrameInfo2(frame.data(), size, &info[1][0], &info[1][1], &info[1][2], &info[1][3],
                        &info[1][4], &info[1][5], &payload, &payloadSize);
    const auto word = static_cast<std::int32_t>(format);
    const std::int32_t expected[] = {-1,
                                     480,
                                     static_cast<std::int16_t>(word),
                                     word >> 16,
                                     static_cast<std::int16_t>(refresh),
                                     static_cast<int>(reported)};
    for (const auto& read : info)
      EXPECT_TRUE(std::ranges::equal(read, expected));
    EXPECT_EQ(output.calls, 1);
    EXPECT_EQ(output.bytes, Bytes(frame.begin() + start, frame.end()));
    EXPECT_EQ(payload, frame.data() + start);
    EXPECT_EQ(payloadSize, size - start);
    EXPECT_EQ(ztlib_getVideoFormat(&blob), expected[2]);
    ztlib_getFrameInfo2(frame.data(), size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr, nullptr);
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
      if (i == t) shared.Configure(CodecConfig().Int("LineSize", i));
      decoder.Process(decoded.get(), expected);
    }
    return same;
  });
  EXPECT_EQ(failed, 0);
  ExpectNoFailure();
}

// From memory one byte off any alignment; the recorded results are those of the equations, whose
// sums wrap at 32 bits.
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
