#include "tests/exports/blobs.h"
#include "tests/support/jpeg_reference.h"

#include <cstdio>

namespace {

using namespace blobs;
using kit::Decoder;
using kit::Encoder;

constexpr char process[] = "ztlib_decoder_process";
constexpr int width = 96;
constexpr int height = 64;

// The frames are a key frame of a gray picture and a plain frame that lays bright blocks over it.
class DifferentialExports : public ExportTest {
 protected:
  static Image Picture(bool bright) {
    Bytes pixels(width * height * 2, 100);
    for (int i = 0; bright && i < 8; ++i)
      std::fill_n(pixels.begin() + ((20 + i) * width + 40) * 2, 16, std::uint8_t{220});
    return NewImage(ZTLIB_UYVY, width, height, pixels);
  }
  Encoder encoder{width, height, ZTLIB_VIDEO_MJPEGDIFF};
  const Bytes key = encoder.Process(Picture(false).get());
  const Bytes plain = encoder.Process(Picture(true).get());

  static Bytes Decode(Decoder& decoder, Bytes frame) {
    const Image image = NewImage();
    decoder.Process(image.get(), frame);
    return BytesOf(image);
  }
};

TEST_F(DifferentialExports, DamageHurtsNoLaterFrame) {
  Decoder decoder(ZTLIB_UYVY, 1, ZTLIB_VIDEO_MJPEGDIFF);
  const Bytes base = Decode(decoder, key);
  const Bytes changed = Decode(decoder, plain);
  ASSERT_NE(changed, base);
  ASSERT_EQ(plain[84], 5);
  const Bytes fresh(base.size(), 0xA5);
  const auto set = [&]<class T>(std::size_t at, T value) {
    Bytes frame = plain;
    Put(frame, at, value);
    return frame;
  };
  const Bytes noStrip = First(plain, 112 + plain[88]);
  const auto withStrip = [&](int w, int h, bool giant = false) {
    Bytes stream =
        jpeg_reference::Encode(jpeg_reference::Scene(w, h), w, h, {.progressive = giant});
    const std::uint8_t size[] = {0xFF, 0xC2};  // the marker in front of the size
    const auto at = std::search(stream.begin(), stream.end(), size, size + 2);
    if (giant) std::fill_n(at + 5, 4, std::uint8_t{0xFF - 1});
    return Joined(noStrip, stream);
  };
  // Each case has the picture that must come out, or null for a failure.
  const std::tuple<const char*, Bytes, const Bytes*> cases[] = {
      {"count of the header below 0", set(84, 0x80000000U), &base},
      {"more entries than blocks", set(112, 0xFFFFFFFFU), &changed},
      {"no entries", set(112, 0U), &base},
      {"32 bits", set(120, std::uint8_t{32}), &base},
      {"entries outside", set(124, 0xFFFFFFFFU), &base},
      {"list behind the end", set(88, 0xFFFFFFFFU), nullptr},
      {"type 6", set(72, 6U), &fresh},
      {"strip of no block", withStrip(14, 16), &base},
      {"strip that says it is a giant", withStrip(80, 16, true), nullptr},
      {"no strip", noStrip, nullptr},
      {"negative width", set(32, 0x80000000U), nullptr},
      {"odd width", set(32, width + 1), nullptr}};
  for (const auto& [name, frame, picture] : cases) {
    SCOPED_TRACE(name);
    const Bytes result = Decode(decoder, frame);
    EXPECT_EQ(failures.empty(), picture != nullptr);
    EXPECT_EQ(result, picture ? *picture : result);
    Forget();
    EXPECT_EQ(Decode(decoder, plain), changed);
  }
  // Strips of other sizes change only blocks of the list, or nothing.
  for (const auto& [w, h] : {std::pair(16, 16), {80, 5}, {80, 40}, {400, 16}})
    EXPECT_NE(Decode(decoder, withStrip(w, h)), base);
  for (std::size_t size = 26; size < plain.size(); ++size)
    Decode(decoder, First(plain, size));
  EXPECT_EQ(failures.size(), plain.size() - 26);
  Forget();
  EXPECT_EQ(Decode(decoder, plain), changed);
}

// The last entry for a block wins, and what a reference frame lays stays.
TEST_F(DifferentialExports, ListsNameBlocksInAnyOrder) {
  constexpr std::size_t columns = width / 16, rowBytes = 32;
  Decoder decoder(ZTLIB_UYVY, 1, ZTLIB_VIDEO_MJPEGDIFF);
  const Bytes base = Decode(decoder, key);
  using List = std::array<std::uint32_t, 5>;
  const auto decode = [&](const List& list, int type) {
    Bytes frame = plain;
    Put(frame, 72, type);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < list.size(); ++i)
      bits |= list[i] << (6 * i);
    Put(frame, 124, bits);
    return Decode(decoder, frame);
  };
  const Bytes strip = decode({0, 1, 2, 3, 4}, 3);
  for (const List& list :
       {List{5, 4, 3, 2, 1}, {23, 0, 63, 0, 22}, {2, 2, 7, 7, 9}, {24, 1, 8, 0, 1}})
    for (const int type : {3, 5}) {
      Bytes expected = base;
      for (std::size_t i = 0; i < list.size(); ++i)
        for (std::size_t y = 0; list[i] < columns * height / 16 && y < 16; ++y)
          std::copy_n(
              &strip[y * width * 2 + i * rowBytes], rowBytes,
              &expected[(list[i] / columns * 16 + y) * width * 2 + list[i] % columns * rowBytes]);
      EXPECT_EQ(decode(list, type), expected) << list[0] << " " << type;
      Bytes empty = First(plain, 124);
      Put(empty, 84, 0);
      EXPECT_EQ(Decode(decoder, empty), type == 5 ? expected : base);
      Decode(decoder, key);
    }
}

TEST_F(DifferentialExports, FramesWithoutATypeAreCompletedInPlace) {
  Decoder decoder(ZTLIB_UYVY, 1, ZTLIB_VIDEO_MJPEGDIFF);
  Decode(decoder, key);
  const Bytes changed = Decode(decoder, plain);
  const Image image = NewImage();
  for (int differential : {1, 2}) {
    Bytes frame = plain;
    Put(frame, 72, 0);
    Put(frame, 26, static_cast<std::int16_t>(differential));
    decoder.Process(image.get(), frame);
    EXPECT_EQ(frame[72], differential == 1 ? 3 : 0);
    EXPECT_EQ(BytesOf(image) == changed, differential == 1);
  }
  // The second of them was a key frame whose picture is only a strip.
  EXPECT_NE(Decode(decoder, plain), changed);
  ExpectNoFailure();
}

TEST_F(DifferentialExports, AScaleHoldsFromTheSecondKeyFrameOn) {
  Decoder decoder(ZTLIB_UYVY, 2, ZTLIB_VIDEO_MJPEGDIFF);
  Decode(decoder, key);  // still in the old size
  const Bytes second = Decode(decoder, key);
  const Bytes changed = Decode(decoder, plain);
  // A new scale waits for a key frame, and a new format reaches the base with it.
  decoder.Configure(kit::Config().Int("ScaleDown", 1));
  EXPECT_EQ(Decode(decoder, plain), changed);
  decoder.Configure(kit::Config().Int("ScaleDown", 2).Int("PixelFormat", ZTLIB_YUV));
  Bytes empty = First(plain, 112);
  Put(empty, 84, 0);
  const Image image = NewImage();
  decoder.Process(image.get(), empty);
  EXPECT_EQ(FrameOf(image)->format, ZTLIB_UYVY);
  EXPECT_EQ(BytesOf(image), second);
  Decode(decoder, key);
  decoder.Process(image.get(), empty);
  EXPECT_EQ(FrameOf(image)->format, ZTLIB_YUV);
  ExpectNoFailure();
  // A scale at which the format is impossible never comes into force.
  decoder.Configure(kit::Config().Int("ScaleDown", 32).Int("PixelFormat", ZTLIB_UYVY));
  Decode(decoder, key);
  ExpectFailure(process, "main/target/windll/image/ztimage_impl", "Invalid range");
  decoder.Configure(kit::Config().Int("ScaleDown", 2));
  EXPECT_EQ(Decode(decoder, key), second);
  ExpectNoFailure();
}

TEST_F(DifferentialExports, StartsFromAPictureOfTheClient) {
  Decoder decoder(ZTLIB_RGB, 1, ZTLIB_VIDEO_MJPEGDIFF);
  const Image image = NewImage();
  decoder.Process(image.get(), key);
  const Bytes changed = Decode(decoder, plain);
  Decoder other(ZTLIB_RGB, 1, ZTLIB_VIDEO_MJPEGDIFF);
  EXPECT_NE(Decode(other, plain), changed);  // blocks over an undefined picture
  ztlib_decoder_setBaseImage(other.object, image.get());
  EXPECT_EQ(Decode(other, plain), changed);
  // A frame of another video format replaces the decoder, and with it base and configuration.
  Encoder still(width, height);
  Decode(other, still.Process(Picture(true).get()));
  ztlib_decoder_setBaseImage(other.object, image.get());
  Forget();
  Decode(other, plain);
  EXPECT_EQ(failures.size(), 1U);
  Forget();
  other.Configure(kit::Config().Int("PixelFormat", ZTLIB_RGB));
  ztlib_decoder_setBaseImage(other.object, image.get());
  EXPECT_EQ(Decode(other, plain), changed);
  ztlib_decoder_setBaseImage(other.object, nullptr);
  ExpectFailure("ztlib_decoder_setBaseImage", "main/target/windll/codec_api", "Using null-pointer");
}

TEST_F(DifferentialExports, AnotherSizeThanConfiguredEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto encode = [](int configured, int given, int rows) {
    ztlib_registerLogger(
        [](int level, const char* text) { std::fprintf(stderr, "%d %s", level, text); });
    Encoder other(configured, rows, ZTLIB_VIDEO_MJPEGDIFF);
    (void)other.Process(NewImage(ZTLIB_UYVY, given, rows, {100}).get());
  };
  EXPECT_DEATH(encode(96, 104, 64),
               "1 Image dimensions differ! encoder setting: \\(96x64, 12x8\\), "
               "input: \\(104x64, 13x8\\)");
  EXPECT_DEATH(encode(96, 96, 60), "\\(96x60, 12x7\\), input: \\(96x60, 12x8\\)");
}

}  // namespace
