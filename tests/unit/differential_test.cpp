#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/codec/block_kernels_variants.h"
#include "main/target/windll/codec/block_list.h"
#include "main/target/windll/codec/utils/scale_down.h"
#include "main/target/windll/codec/videodecoder_mjpeg_diff.h"
#include "main/target/windll/codec/videoencoder_mjpeg_diff.h"
#include "tests/support/jpeg_reference.h"
#include "tests/support/test_frames.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

namespace {

using jpeg_reference::Bytes;
using Blocks32 = std::vector<std::uint32_t>;

template <class T>
void Put(Bytes& bytes, std::size_t at, T value) {
  bytes.resize(std::max(bytes.size(), at + sizeof value));
  std::memcpy(&bytes[at], &value, sizeof value);
}
template <class T>
T Get(const Bytes& bytes, std::size_t at) {
  T value;
  std::memcpy(&value, &bytes.at(at + sizeof value - 1) - (sizeof value - 1), sizeof value);
  return value;
}

void Fill(CZTImage& image, PixelFormat format, const Bytes& pixels, int width, int height) {
  image.CreateBySizeInPixels(format, width, height);
  std::copy(pixels.begin(), pixels.end(), image.GetPtrAs<std::uint8_t>());
}
Bytes BytesOf(const CZTImage& image) {
  const auto* at = image.GetPtrAs<std::uint8_t>();
  return {at, at + image.GetScanlineSize() * image.GetDy()};
}
Bytes Convert(const Bytes& pixels, PixelFormat from, PixelFormat to, int width, int height) {
  CZTImage source, target;
  Fill(source, from, pixels, width, height);
  target.ConvertOrMap(to, source);
  return BytesOf(target);
}

// ---- The rules of differential video, one after the other.

Bytes PackList(const Blocks32& blocks, std::uint32_t bits) {
  Bytes list;
  Put(list, 0, static_cast<std::uint32_t>(blocks.size()));
  Put(list, 8, bits);
  std::vector<bool> stream;
  std::uint64_t base = 0;
  const std::uint64_t step = std::uint64_t{1} << bits;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    std::uint16_t steps = 0;
    for (; blocks[i] >= base + step; base += step)
      ++steps;
    if (steps > 0) {
      Put(list, list.size(), static_cast<std::uint16_t>(i));
      Put(list, list.size(), steps);
    }
    for (std::uint32_t bit = 0; bit < bits; ++bit)
      stream.push_back((blocks[i] - base) >> bit & 1);
  }
  Put(list, 4, static_cast<std::uint32_t>((list.size() - 12) / 4));
  const std::size_t start = list.size();
  if (!blocks.empty()) list.resize(start + (((stream.size() + 7) / 8 + 7) & ~std::size_t{3}));
  for (std::size_t i = 0; i < stream.size(); ++i)
    list[start + i / 8] = static_cast<std::uint8_t>(list[start + i / 8] | stream[i] << i % 8);
  return list;
}

// The mean of squares of `factor` by `factor` pixels.
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
      list = PackList(blocks, static_cast<std::uint32_t>(o.bits));
      if (!blocks.empty())
        stream = Jpeg(Strip(now, blocks, type), 16 * static_cast<int>(blocks.size()), 16);
    }
    ++counter;

    Bytes frame(112);
    Put<std::uint32_t>(frame, 0, 3);
    Put(frame, 4, static_cast<std::uint32_t>(112 + list.size() + stream.size()));
    Put<std::uint32_t>(frame, 8, 112);
    Put<std::uint16_t>(frame, 24, 7);
    Put<std::uint16_t>(frame, 26, type != 0);
    Put<std::uint16_t>(frame, 28, type == 0 || type == 5);
    Put(frame, 32, o.width);
    Put(frame, 36, o.height);
    Put(frame, 64, static_cast<std::uint16_t>(o.quality));
    Put<std::uint16_t>(frame, 66, 16);
    Put(frame, 72, type);
    if (type != 0) {
      Put(frame, 68, static_cast<std::uint32_t>(112 + list.size()));
      Put(frame, 84, static_cast<std::uint32_t>(blocks.size()));
      Put(frame, 88, static_cast<std::uint32_t>(list.size()));
      Put(frame, 92, static_cast<std::uint32_t>(stream.size()));
    }
    frame.insert(frame.end(), list.begin(), list.end());
    frame.insert(frame.end(), stream.begin(), stream.end());
    return frame;
  }

 private:
  bool Compare(const Bytes& small, int type, Blocks32& list) {
    const int columns = o.width / 16, rows = o.height / 16, across = o.width / 8;
    std::set<std::uint32_t> blocks;
    Bytes renewed = thumbnail;
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < columns; ++x) {
        const int samples[] = {2 * y * across + 2 * x, 2 * y * across + 2 * x + 1,
                               (2 * y + 1) * across + 2 * x, (2 * y + 1) * across + 2 * x + 1};
        int sum = 0;
        for (int i : samples)
          sum += std::abs(thumbnail[i] - small[i]);
        if (sum <= std::max(20 - o.sensitivity, 1)) continue;
        for (int i : samples)
          renewed[i] = small[i];
        for (const auto& [dx, dy] : {std::pair(0, 0), {-1, 0}, {1, 0}, {0, -1}, {0, 1}})
          if (x + dx >= 0 && x + dx < columns && y + dy >= 0 && y + dy < rows)
            blocks.insert(static_cast<std::uint32_t>((y + dy) * columns + x + dx));
      }
    if (o.overflowKeys && static_cast<int>(blocks.size()) > o.width * o.height / 256 * 40 / 100)
      return false;
    if (type == 5) thumbnail = renewed;
    list.assign(blocks.begin(), blocks.end());
    return true;
  }

  // Bytes behind the picture, which a last partial block has, are 0.
  Bytes Strip(const Bytes& now, const Blocks32& blocks, int type) {
    const std::size_t perRow = static_cast<std::size_t>(o.width + 15) / 16;
    Bytes strip(blocks.size() * 16 * 32);
    for (std::size_t i = 0; i < blocks.size(); ++i)
      for (std::size_t byte = 0; byte < 16 * 32; ++byte) {
        const std::size_t row = byte / 32;
        const std::size_t from =
            (blocks[i] / perRow * 16 + row) * o.width * 2 + blocks[i] % perRow * 32 + byte % 32;
        std::uint8_t& to = strip[(row * blocks.size() + i) * 32 + byte % 32];
        if (type == 4) to = 128;
        if (from >= now.size()) continue;
        to = static_cast<std::uint8_t>(type == 4 ? (reference[from] - now[from]) / 2 + 128
                                                 : now[from]);
        if (type == 5) reference[from] = now[from];
      }
    return strip;
  }

  [[nodiscard]] Bytes Jpeg(const Bytes& uyvy, int width, int height) const {
    Bytes ycc;
    const Bytes four = Convert(uyvy, PixelFormat::UYVY, PixelFormat::YUV, width, height);
    for (std::size_t i = 0; i < four.size(); ++i)
      if (i % 4 != 3) ycc.push_back(four[i]);
    return jpeg_reference::Encode(ycc, width, height, {.quality = o.quality});
  }

  Options o;
  unsigned counter = 0xFFFFFFFF;
  Bytes reference, thumbnail;
};

class ModelDecoder {
 public:
  ModelDecoder(PixelFormat format, int scale) : format(format), s(scale) {}

  Bytes Decode(const Bytes& frame) {
    const int width = Get<int>(frame, 32) / s, height = Get<int>(frame, 36) / s;
    const int type = Get<int>(frame, 72);
    const auto listSize = Get<std::uint32_t>(frame, 88);
    const Bytes stream(frame.begin() + 112 + listSize, frame.end());
    if (type == 0) return base = Pixels(stream, width, height);
    Bytes out = base;
    if (stream.empty()) return out;
    std::vector<std::uint64_t> blocks;
    UnpackBlockList(blocks, std::span(frame).subspan(112), 4093);
    const std::size_t count = blocks.size();
    const Bytes strip = Pixels(stream, static_cast<int>(count) * 16 / s, 16 / s);

    const bool pairs = format == PixelFormat::YUYV || format == PixelFormat::UYVY;
    const unsigned dx = pairs ? 2 : 1, sampleSize = format == PixelFormat::GRAY ? 1 : 4;
    const std::size_t rowSize = type == 4 ? 4 / dx * 16 / s : 16 / dx / s * 4;
    for (std::size_t i = 0; i < count; ++i) {
      const unsigned perRow = static_cast<unsigned>(width) / (16 / s);
      const std::size_t x = blocks[i] % perRow * 16 / dx / s, y = blocks[i] / perRow * 16 / s;
      for (std::size_t row = 0; row < 16U / s; ++row)
        for (std::size_t byte = 0; byte < rowSize; ++byte) {
          const std::size_t to = ((y + row) * (width / dx) + x) * sampleSize + byte;
          const std::size_t from =
              (row * (count * 16 / s / dx) + i * 16 / dx / s) * sampleSize + byte;
          if (to >= out.size() || from >= strip.size()) continue;
          out[to] = type == 4 ? static_cast<std::uint8_t>(
                                    std::clamp(base[to] - 2 * (strip[from] - 128), 0, 255))
                              : strip[from];
          if (type == 5) base[to] = strip[from];
        }
    }
    return out;
  }

 private:
  // The top left of what libjpeg gives, whose sizes are rounded up.
  [[nodiscard]] Bytes Pixels(const Bytes& stream, int width, int height) const {
    const bool gray = format == PixelFormat::GRAY;
    const bool rgb = format == PixelFormat::RGB;
    const J_COLOR_SPACE space = gray ? JCS_GRAYSCALE : rgb ? JCS_EXT_BGR : JCS_YCbCr;
    const auto picture = jpeg_reference::Decode(stream, space, s);
    Bytes pixels;
    for (int i = 0; i < width * height; ++i) {
      const std::uint8_t* const at = picture.At(i % width, i / width);
      pixels.insert(pixels.end(), at, at + picture.components);
      if (!gray) pixels.push_back(255);
    }
    if (gray || rgb || format == PixelFormat::YUV) return pixels;
    return Convert(pixels, PixelFormat::YUV, format, width, height);
  }

  PixelFormat format;
  int s;
  Bytes base;
};

// ---- Sequences

// Two rectangles that move over a still or a noisy background, a light that goes on at frame 9, and
// at frame 11 nothing that was there in frame 10.
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
  CTestFrames frames{frame_manager::Register};

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
    {.name = "noisy", .noisy = true},
    {.name = "advanced", .bits = 3, .advanced = true, .noisy = true},
    {.name = "no overflow keys", .referenceInterval = 3, .bits = 0, .overflowKeys = false},
    {.name = "all keys", .keyInterval = 1},
    {.name = "all references", .referenceInterval = 1, .bits = 31, .advanced = true},
    {.name = "most sensitive", .quality = 40, .sensitivity = 99, .noisy = true},
    {.name = "least sensitive", .sensitivity = 0, .keyInterval = 5},
    {.name = "partial blocks",
     .width = 168,
     .height = 104,
     .advanced = true,
     .overflowKeys = false,
     .noisy = true},
    {.name = "narrow", .width = 8, .height = 256}};

TEST_F(Differential, StreamsAndPicturesAreThoseOfTheModel) {
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
      for (PixelFormat format : {PixelFormat::GRAY, PixelFormat::RGB, PixelFormat::YUV,
                                 PixelFormat::YUYV, PixelFormat::UYVY}) {
        if (scale == 3 && format > PixelFormat::YUV) continue;  // not whole pairs
        SCOPED_TRACE(testing::Message() << "format " << static_cast<int>(format) << " / " << scale);
        for (unsigned lost : {0x0000U, 0xFFFFU, 0xAAAAU, 0x5A3CU}) {
          CVideoDecoderMJPEGDIFF decoder;
          CData config;
          config.AddInt(Tok::PixelFormat, static_cast<int>(format));
          config.AddInt(Tok::ScaleDown, scale);
          decoder.Configure(config);
          ModelDecoder reference(format, scale);
          CZTImage out;
          const auto decode = [&](Bytes frame) {
            CBinData data = CBinData::Wrap(frame.data(), frame.size());
            decoder.Decode(out, data);
          };
          // The first key frame at a scale still has the old size, which the next one finds.
          testing::internal::CaptureStdout();
          decode(stream[0]);
          decode(stream[0]);
          char line[200];
          std::snprintf(line, sizeof line,
                        "[MJPEGDIFF] the frame and decoder dimensions differ: %ix%i <-> %ix%i\n",
                        o.width / scale, o.height / scale, o.width, o.height);
          ASSERT_EQ(testing::internal::GetCapturedStdout(), scale == 1 ? "" : line);
          for (std::size_t t = 0; t < stream.size(); ++t) {
            const Bytes expected = reference.Decode(stream[t]);
            if ((lost >> t & 1) && (stream[t][72] == 3 || stream[t][72] == 4)) continue;
            decode(stream[t]);
            Bytes pixels = BytesOf(out);
            ASSERT_EQ(pixels.size(), expected.size());
            for (std::size_t i = 3; i < pixels.size(); i += 4)
              if (format == PixelFormat::RGB || format == PixelFormat::YUV) pixels[i] = expected[i];
            ASSERT_EQ(pixels, expected) << t << " without " << lost;
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
    Bytes noise = Flat(o, 0);
    std::mt19937 random(1);
    for (std::uint8_t& byte : noise)
      byte = static_cast<std::uint8_t>(random());
    EXPECT_EQ(Encode(encoder, o, Flat(o, 100), {.timestamp = 1ULL << 40})[21], 1);
    // What has not changed is a frame of header and empty list.
    const Bytes plain = Encode(encoder, o, Flat(o, 100));
    ASSERT_EQ(plain.size(), 124U);
    EXPECT_EQ(plain[72], advanced ? 4 : 3);
    // This reference frame is too large to be sent: reference and order of types stay.
    EXPECT_THROW(Encode(encoder, o, noise), int);
    const Bytes reference = Encode(encoder, o, Flat(o, 100));
    EXPECT_EQ(reference.size(), 124U);
    EXPECT_EQ(reference[72], 5);
    // So does a configuration that is refused.
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
  const auto blocksOf = [&](int x, int y, int by) {
    Bytes small(48, 100);
    small[static_cast<std::size_t>(y * 8 + x)] = static_cast<std::uint8_t>(100 + by);
    CZTImage thumbnail;
    Fill(thumbnail, PixelFormat::GRAY, small, 8, 6);
    const Bytes frame = Encode(encoder, o, Flat(o, 200), {.thumbnail = &thumbnail});
    std::vector<std::uint64_t> blocks;
    UnpackBlockList(blocks, std::span(frame).subspan(112), 99);
    return blocks;
  };
  using Blocks = std::vector<std::uint64_t>;
  EXPECT_EQ(blocksOf(3, 3, 10), Blocks());
  EXPECT_EQ(blocksOf(3, 3, 11), (Blocks{1, 4, 5, 6, 9}));
  EXPECT_EQ(blocksOf(0, 0, -11), (Blocks{0, 1, 4}));  // a reference frame
  EXPECT_EQ(blocksOf(0, 0, -11), Blocks());
  EXPECT_EQ(blocksOf(7, 5, 99), (Blocks{0, 1, 4, 7, 10, 11}));
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

TEST(BlockList, PacksAndUnpacksWhatTheModelSays) {
  Bytes packed;
  ASSERT_TRUE(PackBlockList(packed, Blocks32{0, 63, 64, 200}, 6));
  EXPECT_EQ(packed, (Bytes{4, 0, 0, 0, 2, 0, 0,    0,    6,    0, 0, 0, 2, 0,
                           1, 0, 3, 0, 2, 0, 0xC0, 0x0F, 0x20, 0, 0, 0, 0, 0}));
  std::mt19937 random(1);
  for (std::uint32_t bits : {0, 1, 3, 6, 8, 13, 16, 31})
    for (unsigned count : {0, 1, 2, 7, 100}) {
      Blocks32 blocks(count);
      for (std::uint32_t& block : blocks)
        block = static_cast<std::uint32_t>(random()) % 60000;
      std::ranges::sort(blocks);
      packed.clear();
      ASSERT_TRUE(PackBlockList(packed, blocks, bits));
      ASSERT_EQ(packed, PackList(blocks, bits));
      EXPECT_LE(packed.size(), MaxBlockListSize(count, bits));
      const std::vector<std::uint64_t> expected(blocks.begin(), blocks.end());
      std::vector<std::uint64_t> unpacked;
      for (std::size_t size = 0; size <= packed.size(); ++size) {
        const Bytes cut(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size));
        UnpackBlockList(unpacked, cut, count);
        ASSERT_LE(unpacked.size(), count);
        // Bits of nothing need no bytes, so entries go on when run records are lost.
        ASSERT_TRUE(bits == 0 || std::equal(unpacked.begin(), unpacked.end(), expected.begin()));
      }
      EXPECT_EQ(unpacked, expected);
      UnpackBlockList(unpacked, packed, count / 2);
      EXPECT_EQ(unpacked.size(), count / 2);
    }
}

TEST(BlockList, BoundsWhatItWritesAndWhatItBelieves) {
  Bytes packed{1, 2};
  EXPECT_FALSE(PackBlockList(packed, Blocks32{0, 65536}, 0));
  EXPECT_EQ(packed, (Bytes{1, 2}));
  packed.clear();
  ASSERT_TRUE(PackBlockList(packed, Blocks32{3, 65535}, 0));
  // Field, what it lies, and how many entries are left of two.
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

TEST(BlockKernels, HalveAndDoubleEveryDifference) {
  Bytes left(65536), right(65536), target(65536);
  for (std::size_t i = 0; i < 65536; ++i) {
    left[i] = static_cast<std::uint8_t>(i >> 8);
    right[i] = static_cast<std::uint8_t>(i);
  }
  baselineBlocks.halfDifference(target.data(), left.data(), right.data(), 65536);
  for (int i = 0; i < 65536; ++i)
    ASSERT_EQ(target[i], ((i >> 8) - (i & 255)) / 2 + 128) << i;
  baselineBlocks.addDifference(target.data(), left.data(), right.data(), 65536);
  for (int i = 0; i < 65536; ++i)
    ASSERT_EQ(target[i], std::clamp((i >> 8) - 2 * ((i & 255) - 128), 0, 255)) << i;
}

#if defined(ZTLIB_AVX2)
TEST(BlockKernels, AreTheSameOnEveryInstructionSet) {
  if (!__builtin_cpu_supports("avx2")) GTEST_SKIP();
  std::mt19937 random(1);
  Bytes bytes(65536);
  for (std::uint8_t& byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  const std::uint8_t* const rows[] = {&bytes[1], &bytes[5002], &bytes[10003], &bytes[15000]};
  for (std::size_t count : {0, 1, 5, 15, 16, 31, 32, 33, 100, 1000}) {
    const auto results = [&](const BlockKernels& kernels) {
      std::vector<Bytes> made;
      const auto next = [&] { return made.emplace_back(count + 1, 7).data(); };
      for (unsigned factor = 2; factor <= 64 && count * factor * 2 < 900; factor *= 2)
        kernels.meanLuma(next(), rows[0], 1000, count, factor);
      for (unsigned threshold : {1U, 300U, 500U}) {
        const bool any = kernels.compareGroups(next(), rows, rows + 2, count, threshold);
        *std::prev(made.back().end(), 1) = any;
      }
      kernels.spreadMarks(next(), rows[0], rows[1], rows[2], count);
      kernels.halfDifference(next(), rows[0], rows[1], count);
      kernels.addDifference(next(), rows[0], rows[1], count);
      return made;
    };
    EXPECT_EQ(results(baselineBlocks), results(avx2Blocks)) << count;
  }
}
#endif

TEST_F(Differential, ScaleDownIsTheTruncatedMeanOfLuma) {
  constexpr int width = 1110, height = 133;
  Bytes pixels;
  std::mt19937 random(1);
  for (int i = 0; i < width * height * 2; ++i)
    pixels.push_back(static_cast<std::uint8_t>(i < width * 128 ? 255 : random()));
  CZTImage image, small;
  Fill(image, PixelFormat::UYVY, pixels, width, height);
  const auto& source = image.GetView<TTUYVY<unsigned char>>();
  for (int factor : {2, 4, 8, 16, 32, 64}) {
    small.CreateBySizeInPixels(PixelFormat::GRAY, width / factor, height / factor);
    auto target = small.GetView<TTGray<unsigned char>>();
    ScaleDownUYVY_To_Gray(target, source, factor);
    EXPECT_EQ(BytesOf(small), Thumbnail(pixels, width, target.dx, target.dy, factor)) << factor;
  }
  TCImageView<TTGray<unsigned char>> none;
  for (int factor : {-8, 0, 1, 3, 6, 128})
    EXPECT_THROW(ScaleDownUYVY_To_Gray(none, source, factor), CException) << factor;
}

}  // namespace
