#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/codec/block_list.h"
#include "main/target/windll/codec/utils/scale_down.h"
#include "main/target/windll/codec/videodecoder_mjpeg_diff.h"
#include "main/target/windll/codec/videoencoder_mjpeg_diff.h"
#include "tests/support/common.h"
#include "tests/support/jpeg_reference.h"
#include "tests/support/test_frames.h"

#include <map>
#include <set>

using namespace ztlib;

namespace {

using Blocks32 = std::vector<std::uint32_t>;

void Fill(CZTImage& image, PixelFormat format, const Bytes& pixels, int width, int height) {
  image.CreateBySizeInPixels(format, width, height);
  std::copy(pixels.begin(), pixels.end(), image.GetPtrAs<std::uint8_t>());
}
Bytes BytesOf(const CZTImage& image) {
  const auto* at = image.GetPtrAs<std::uint8_t>();
  return {at, at + image.GetScanlineSize() * image.GetDy()};
}
// ---- A model with the rules of differential video, one after the other.

// Returns the means of squares of `factor` by `factor` pixels.
Bytes Thumbnail(const Bytes& uyvy, int width, int columns, int rows, int factor) {
  Bytes small;
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < columns; ++x) {
      int sum = 0;
      for (int i = 0; i < factor * factor; ++i)
        sum += uyvy[2 * ((y * factor + i / factor) * width + x * factor + i % factor) + 1];
      small.push_back(static_cast<std::uint8_t>(sum / (factor * factor)));
    }
  return small;
}

struct Options {
  const char* name = "default";
  int width = 160;
  int height = 96;
  int quality = 75;
  int sensitivity = 10;
  int keyInterval = 60;
  int referenceInterval = 4;
  int bits = 6;
  bool advanced = false;
  bool overflowKeys = true;
  bool noisy = false;
};

class ModelEncoder {
 public:
  explicit ModelEncoder(const Options& options) : o(options) {}

  Bytes Encode(const Bytes& now, bool force) {
    const Bytes small = Thumbnail(now, o.width, o.width / 8, o.height / 8, 8);
    int type = counter % static_cast<unsigned>(o.referenceInterval) == 0 ? 5 : o.advanced ? 4 : 3;
    Blocks32 blocks;
    Bytes list, stream;
    if (counter >= static_cast<unsigned>(o.keyInterval) || force || !Compare(small, type, blocks)) {
      type = 0;
      stream = Jpeg(now, o.width, o.height);
      reference = now;
      thumbnail = small;
      counter = 0;
    } else {
      EXPECT_TRUE(PackBlockList(list, blocks, static_cast<std::uint32_t>(o.bits)));
      if (!blocks.empty())
        stream = Jpeg(Strip(now, blocks, type), 16 * static_cast<int>(blocks.size()), 16);
    }
    ++counter;
    const std::int64_t count = std::ssize(blocks), listSize = std::ssize(list);
    const std::int64_t size = std::ssize(stream), total = 112 + listSize + size;
    const bool key = type == 0, fresh = key || type == 5;
    const int format = key ? 7 : 0x10007, quality = 0x100000 | o.quality;
    const std::int64_t jpegAt = key ? 0 : 112 + listSize, own = key ? 0 : size;
    Bytes frame = Words(
        112,
        {3, total, 112, 0,       0,      0,    format, fresh, o.width,         o.height, 0,  0, 0,
         0, 0,     0,   quality, jpegAt, type, 0,      0,     key ? 0 : count, listSize, own});
    for (const Bytes* part : {&list, &stream})
      frame.insert(frame.end(), part->begin(), part->end());
    return frame;
  }

 private:
  bool Compare(const Bytes& small, int type, Blocks32& list) {
    const int columns = o.width / 16, rows = o.height / 16, across = o.width / 8;
    std::set<std::uint32_t> blocks;
    Bytes renewed = thumbnail;
    for (int block = 0; block < columns * rows; ++block) {
      const int x = block % columns, y = block / columns, first = 2 * y * across + 2 * x;
      const int samples[] = {first, first + 1, first + across, first + across + 1};
      int sum = 0;
      for (int i : samples)
        sum += std::abs(thumbnail[i] - small[i]);
      if (sum <= std::max(20 - o.sensitivity, 1)) continue;
      for (int i : samples)
        renewed[i] = small[i];
      for (const auto& [dx, dy] : {std::pair(0, 0), {-1, 0}, {1, 0}, {0, -1}, {0, 1}})
        if (x + dx >= 0 && x + dx < columns && y + dy >= 0 && y + dy < rows)
          blocks.insert(static_cast<std::uint32_t>(block + dy * columns + dx));
    }
    if (o.overflowKeys && static_cast<int>(blocks.size()) > o.width * o.height / 256 * 40 / 100)
      return false;
    if (type == 5) thumbnail = renewed;
    list.assign(blocks.begin(), blocks.end());
    return true;
  }

  // Blocks are counted as in a picture of whole blocks.
  Bytes Strip(const Bytes& now, const Blocks32& blocks, int type) {
    const std::size_t perRow = static_cast<std::size_t>(o.width + 15) / 16;
    Bytes strip(blocks.size() * 16 * 32);
    for (std::size_t i = 0; i < strip.size(); ++i) {
      const std::size_t row = i / 32 / blocks.size(), block = blocks[i / 32 % blocks.size()];
      const std::size_t from =
          (block / perRow * 16 + row) * o.width * 2 + block % perRow * 32 + i % 32;
      strip[i] = static_cast<std::uint8_t>(type == 4 ? (reference[from] - now[from]) / 2 + 128
                                                     : now[from]);
      if (type == 5) reference[from] = now[from];
    }
    return strip;
  }

  [[nodiscard]] Bytes Jpeg(const Bytes& uyvy, int width, int height) const {
    CZTImage picture, four;
    Fill(picture, PixelFormat::UYVY, uyvy, width, height);
    four.ConvertOrMap(PixelFormat::YUV, picture);
    Bytes ycc;
    for (int i = 0; i < width * height; ++i)
      ycc.insert(ycc.end(), &four.GetPtrAs<std::uint8_t>()[4 * i],
                 &four.GetPtrAs<std::uint8_t>()[4 * i + 3]);
    return jpeg_reference::Encode(ycc, width, height, {.quality = o.quality});
  }

  Options o;
  unsigned counter = 0xFFFFFFFF;
  Bytes reference, thumbnail;
};

struct ModelDecoder {
  int format, s;
  Bytes base;

  Bytes Decode(const Bytes& frame) {
    const int width = Get<int>(frame, 32) / s, height = Get<int>(frame, 36) / s;
    const int type = frame[72];
    const Bytes stream(frame.begin() + 112 + Get<std::int32_t>(frame, 88), frame.end());
    if (type == 0) return base = jpeg_reference::Pixels(stream, format, s, width, height);
    Bytes out = base;
    if (stream.empty()) return out;
    std::vector<std::uint64_t> blocks;
    UnpackBlockList(blocks, std::span(frame).subspan(112), 4093);
    const std::size_t count = blocks.size(), side = 16 / s;
    const Bytes strip =
        jpeg_reference::Pixels(stream, format, s, static_cast<int>(count) * 16 / s, 16 / s);

    const unsigned dx = format >= ZTLIB_YUYV ? 2 : 1, sampleSize = format == ZTLIB_GRAY ? 1 : 4;
    const std::size_t rowSize = type == 4 ? 4 / dx * 16 / s : 16 / dx / s * 4;
    const std::size_t perRow = static_cast<std::size_t>(width) / side;
    for (std::size_t at = 0; at < count * side * rowSize; ++at) {
      const std::size_t i = at / rowSize / side, row = at / rowSize % side;
      const std::size_t x = blocks[i] % perRow * 16 / dx / s, y = blocks[i] / perRow * 16 / s;
      const std::size_t to = ((y + row) * (width / dx) + x) * sampleSize + at % rowSize;
      const std::size_t from =
          (row * (count * 16 / s / dx) + i * 16 / dx / s) * sampleSize + at % rowSize;
      if (to >= out.size() || from >= strip.size()) continue;
      const int value = type == 4 ? base[to] - 2 * (strip[from] - 128) : strip[from];
      out[to] = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
      if (type == 5) base[to] = strip[from];
    }
    return jpeg_reference::Opaque(out, format);
  }
};

// ---- Sequences

// Two rectangles move over a still or a noisy background, a light goes on at frame 9, and nothing
// of frame 10 is left in frame 11.
Bytes Picture(const Options& o, int t) {
  std::mt19937 random(static_cast<unsigned>(t));
  Bytes pixels;
  for (int y = 0; y < o.height; ++y)
    for (int x = 0; x < o.width; ++x) {
      const bool first = x >= 9 * t && x < 9 * t + 20 && y >= 30 && y < 50;
      const bool second = t < 11 && x >= 120 && x < 140 && y >= 5 * t && y < 5 * t + 9;
      const int noise = o.noisy ? static_cast<int>(random() % 5) - 2 : 0;
      const int luma = (first ? 220 : second ? 20 : 60 + x / 2 + y) + noise + (t == 9 ? 30 : 0);
      pixels.push_back(static_cast<std::uint8_t>(first ? 90 : 128 + (x + y) % 7 + noise));
      pixels.push_back(static_cast<std::uint8_t>(std::min(luma, 255)));
    }
  return pixels;
}

class Differential : public testing::Test {
 protected:
  CTestFrames frames;

  static void Configure(CVideoEncoderMJPEGDIFF& encoder, const Options& o) {
    CData config;
    config.AddInt(Tok::Width, o.width);
    config.AddInt(Tok::Height, o.height);
    config.AddInt(Tok::JPEGQuality, o.quality);
    config.AddInt(Tok::IVPixelSensitivity, o.sensitivity);
    config.AddInt(Tok::IFrameInterval, o.keyInterval);
    config.AddInt(Tok::RPFrameInterval, o.referenceInterval);
    config.AddInt(Tok::Bits, o.bits);
    config.AddBool(Tok::AdvancedProfile, o.advanced);
    config.AddBool(Tok::GenerateOutOfOrderIFrames, o.overflowKeys);
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

const Options optionSets[] = {
    {},
    {.name = "advanced", .bits = 3, .advanced = true, .noisy = true},
    {.name = "no overflow keys", .referenceInterval = 3, .bits = 0, .overflowKeys = false},
    {.name = "all keys", .keyInterval = 1},
    {.name = "all references", .referenceInterval = 1, .bits = 31, .advanced = true},
    {.name = "most sensitive", .quality = 40, .sensitivity = 99, .noisy = true},
    {.name = "least sensitive", .sensitivity = 0, .keyInterval = 5},
    {.name = "partial", .width = 168, .height = 104, .advanced = true, .overflowKeys = false},
    {.name = "narrow", .width = 8, .height = 256}};

TEST_F(Differential, StreamsAndPicturesAreThoseOfTheModel) {
  const std::string difference = "[MJPEGDIFF] the frame and decoder dimensions differ: ";
  std::map<int, int> seen;
  for (const Options& o : optionSets) {
    SCOPED_TRACE(o.name);
    CVideoEncoderMJPEGDIFF encoder;
    Configure(encoder, o);
    ModelEncoder model(o);
    std::vector<Bytes> stream;
    for (int t = 0; t < 16; ++t) {
      const Bytes pixels = Picture(o, t);
      stream.push_back(Encode(encoder, o, pixels, {.forceKeyFrame = t == 14}));
      ASSERT_EQ(stream.back(), model.Encode(pixels, t == 14)) << t;
      ++seen[Get<int>(stream.back(), 72)];
    }
    if (o.width % 16 != 0) continue;
    for (int scale : {1, 2, 4, 8, 3})
      for (int format = ZTLIB_GRAY; format <= ZTLIB_UYVY; ++format) {
        if (scale == 3 && format > ZTLIB_YUV) continue;  // not whole pairs
        SCOPED_TRACE(testing::Message() << "format " << format << " / " << scale);
        for (unsigned lost : {0x0000U, 0xFFFFU, 0xAAAAU, 0x5A3CU}) {
          CVideoDecoderMJPEGDIFF decoder;
          CData config;
          config.AddInt(Tok::PixelFormat, format);
          config.AddInt(Tok::ScaleDown, scale);
          decoder.Configure(config);
          ModelDecoder reference{format, scale, {}};
          CZTImage out;
          const auto decode = [&](Bytes frame) {
            CBinData data = CBinData::Wrap(frame.data(), frame.size());
            decoder.Decode(out, data);
          };
          // The first key frame at a scale still has the old size, so the next one finds a
          // difference.
          testing::internal::CaptureStdout();
          decode(stream[0]);
          decode(stream[0]);
          ASSERT_EQ(testing::internal::GetCapturedStdout(),
                    scale == 1 ? ""
                               : difference + std::to_string(160 / scale) + "x" +
                                     std::to_string(96 / scale) + " <-> 160x96\n");
          for (std::size_t t = 0; t < stream.size(); ++t) {
            const Bytes expected = reference.Decode(stream[t]);
            if ((lost >> t & 1) && (stream[t][72] == 3 || stream[t][72] == 4)) continue;
            decode(stream[t]);
            ASSERT_EQ(jpeg_reference::Opaque(BytesOf(out), format), expected)
                << t << " without " << lost;
          }
        }
      }
  }
  for (int type : {0, 3, 4, 5})
    EXPECT_GE(seen[type], 10) << type;
}

TEST_F(Differential, FramesFollowWhatReceiversHave) {
  for (bool advanced : {false, true}) {
    Options o{.width = 32, .height = 32, .quality = 100, .overflowKeys = false};
    o.referenceInterval = 2;
    o.advanced = advanced;
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
  const Options o{.width = 64, .height = 48, .overflowKeys = false};
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
  const Options o{.width = 1024, .height = 1040, .overflowKeys = false};
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

// ---- The parts

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

TEST_F(Differential, ScaleDownIsTheTruncatedMeanOfLuma) {
  constexpr int width = 1110, height = 133;
  Bytes pixels = NoiseBytes(width * height * 2);
  std::fill_n(pixels.begin(), width * 128, std::uint8_t{255});
  CZTImage image, small;
  Fill(image, PixelFormat::UYVY, pixels, width, height);
  for (int factor : {2, 4, 16, 32, 64, 6, 128, 1}) {
    small.CreateBySizeInPixels(PixelFormat::GRAY, width / factor, height / factor);
    auto target = small.GetView<TTGray<unsigned char>>();
    const auto scale = [&] {
      ScaleDownUYVY_To_Gray(target, image.GetView<TTUYVY<unsigned char>>(), factor);
      return BytesOf(small) == Thumbnail(pixels, width, target.dx, target.dy, factor);
    };
    if (factor % 6 == 0 || factor == 1 || factor == 128)
      EXPECT_THROW(scale(), CException) << factor;
    else
      EXPECT_TRUE(scale()) << factor;
  }
}

}  // namespace
