// Layered video through the exports, beside a plain decoder and the encoder of the client.
#include "client/layered/layered_encoder.h"
#include "tests/support/codec_client.h"
#include "tests/support/export_fixture.h"
#include "tests/support/jpeg_reference.h"
#include "tests/support/layered_reference.h"

#include <deque>

namespace {

using namespace codec_client;

constexpr int formats[] = {ZTLIB_RGB, ZTLIB_YUV, ZTLIB_YUYV, ZTLIB_UYVY};
constexpr int scales[] = {1, 2, 4, 8};
constexpr char layeredSource[] = "main/target/windll/codec/videodecoder_mjpeg_old";
constexpr char diffSource[] = "main/target/windll/codec/videodecoder_mjpeg_diff_old";

void Put(Bytes& bytes, std::size_t at, std::uint32_t value, int size = 4) {
  StoreNumber(bytes, at, value, size);
}
std::uint32_t Get(const Bytes& bytes, std::size_t at) {
  return ::Get<std::uint32_t>(bytes, at);
}
Bytes From(const Bytes& bytes, std::size_t at) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end()};
}

// What the plain decoder makes of a coded picture in a new frame.
Bytes Expected(const Bytes& coded, int width, int height, int scale, int format) {
  Bytes picture(CTestFrames::PictureSize(width / scale, height / scale, format), 0xA5);
  layered_reference::Draw(picture, width / scale, height / scale, coded, scale, format);
  return picture;
}

// A coded picture of random models and random bits: whatever bits are there, they mean something.
Bytes RandomPicture(unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&random](unsigned limit) { return random() % limit; };
  Bytes coded(112);
  // Some streams are longer than what is decoded of one at a time.
  const unsigned across = seed % 40 == 0 ? 60 : below(9);
  const unsigned width = 16 * across + below(16), height = 16 * below(4) + below(16);
  const unsigned squares = (width / 16) * (height / 16);
  Put(coded, 96, below(4) == 0 ? 0xFFFFFFFF : 1 + below(9));
  Put(coded, 100, width);
  Put(coded, 104, height);
  Put(coded, 108, below(2), 2);
  Put(coded, 110, below(120) - 5, 2);
  constexpr unsigned perSquare[] = {4, 1, 1, 18, 72, 200};
  for (unsigned stream = 0; stream < 6; ++stream) {
    const unsigned layer = stream < 3 ? 0 : stream - 2;
    if (stream != 1 && stream != 2) {
      Put(coded, 64 + 4 * layer, static_cast<std::uint32_t>(coded.size()));
      const unsigned kind = below(8);  // no symbol, one, all alike, powers of two, or any
      for (unsigned i = 0; i < 16; ++i) {
        const unsigned any = below(16) < 9 ? below(500) : 20000 + below(40000);
        const unsigned weights[] = {0, i == 8, 5, 1U << i, any};
        AppendNumber(coded, weights[std::min(kind, 4U)], 2);
      }
      // Few bits in the planes, runs of zeros between them and more than there is room for.
      for (unsigned length = kind < 3 ? 0 : below(60); length > 0; --length) {
        AppendNumber(coded, 128 | below(256) << 8, 2);
        AppendNumber(coded, below(256), 1);
      }
      for (unsigned zeros = 0; zeros < 4; ++zeros)
        AppendNumber(coded, 128 | 250U << 8, 2);
    }
    if (layer > 0 && below(6) == 0) continue;
    // Some streams end early, some behind the end of the frame.
    const unsigned full = squares * perSquare[stream] + (stream == 0 ? 0 : below(40));
    const unsigned count = stream > 0 && below(5) == 0 ? below(full + 1) : full;
    Put(coded, 16 + 4 * stream, static_cast<std::uint32_t>(coded.size()));
    Put(coded, 40 + 4 * stream, count);
    for (unsigned left = (count + 7) / 8 + (below(3) == 0 ? 0 : count / 2); left > 0; --left)
      AppendNumber(coded, below(256), 1);
  }
  return coded;
}

// A key frame of the scene, or one with some of its blocks.
Bytes Encode(const CLayeredSettings& settings, int width, int height, unsigned seed = 1,
             std::span<const std::uint32_t> blocks = {}) {
  const CLayeredPlanes planes(jpeg_reference::Scene(width, height, seed).data(), 2 * width, width,
                              height);
  CLayeredEncoder encoder(settings);
  return blocks.empty() ? encoder.Encode(planes.Picture())
                        : *encoder.EncodeBlocks(planes.Picture(), blocks);
}
CLayeredSettings Differential() {
  CLayeredSettings settings;
  settings.isDifferential = true;
  settings.listBits = 3;
  return settings;
}

class LayeredExports : public ExportTest {
 protected:
  LayeredExports() {
    for (const int scale : scales)
      for (const int format : formats)
        decoders.emplace_back(format, scale, ZTLIB_VIDEO_LAYERED);
  }
  // Decodes a frame in every format and at every scale and compares with the plain decoder.
  void ExpectAsPlain(const Bytes& frame) {
    const Image image = NewImage();
    for (std::size_t i = 0; i < 16; ++i) {
      decoders[i].Process(image.get(), frame);
      ExpectNoFailure();
      ASSERT_EQ(BytesOf(image),
                Expected(From(frame, 112), static_cast<int>(Get(frame, 32)),
                         static_cast<int>(Get(frame, 36)), scales[i / 4], formats[i % 4]))
          << "scale " << scales[i / 4] << " format " << formats[i % 4];
    }
  }
  // Kept from frame to frame, as their buffers are.
  std::deque<Decoder> decoders;

  static void ExpectRefused(const char* source, const char* text) {
    ExpectFailure("ztlib_decoder_process", source, text);
  }
  static Bytes Compose(const std::vector<Bytes>& records) {
    const std::optional<Bytes> frame = JoinLayers(records);
    EXPECT_EQ(frame.has_value(), failures.empty());
    return frame.value_or(Bytes());
  }
  static std::vector<Bytes> Decompose(const Bytes& frame, std::int32_t expected = 4) {
    std::vector<Output> outputs(4);
    void* users[4] = {&outputs[0], &outputs[1], &outputs[2], &outputs[3]};
    const ztlib_blob blob{frame.data(), frame.size()};
    EXPECT_EQ(ztlib_decomposeToLayers(&blob, users, Output::Receive), expected);
    std::vector<Bytes> records;
    for (const Output& output : outputs) {
      EXPECT_EQ(output.calls, expected / 4);
      records.push_back(output.bytes);
    }
    return records;
  }
};

TEST_F(LayeredExports, AnyBitsAreWhatThePlainDecoderMakesOfThem) {
  for (unsigned seed = 0; seed < 250; ++seed) {
    const Bytes coded = RandomPicture(seed);
    // The frame's size is that of the picture, or none that fits.
    Bytes frame(112);
    for (const std::size_t at : {32, 36})
      Put(frame, at, seed % 3 == 0 ? 64 : Get(coded, 68 + at) / 16 * 16 + seed % 3 / 2 * 16);
    frame.insert(frame.end(), coded.begin(), coded.end());
    SCOPED_TRACE(seed);
    ExpectAsPlain(frame);
    if (HasFatalFailure()) return;
  }
}

TEST_F(LayeredExports, DifferentialFramesLieOverTheKeyFrame) {
  constexpr int width = 112, height = 64, count = 5;
  const std::uint32_t blocks[count] = {0, 6, 9, 20, 27};
  const Bytes key = Encode(Differential(), width, height);
  Bytes diff = Encode(Differential(), width, height, 9, blocks);
  // The type of the frame says nothing.
  Put(diff, 72, 5);
  Bytes none(diff.begin(), diff.begin() + 112);
  Put(none, 84, 0);
  for (const int scale : scales)
    for (const int format : formats) {
      SCOPED_TRACE(testing::Message() << "scale " << scale << " format " << format);
      const Bytes base = Expected(From(key, 112), width, height, scale, format);
      const Bytes strip = Expected(From(diff, 112 + Get(diff, 88)), count * 16, 16, scale, format);
      const std::size_t row = base.size() / (height / scale), part = row / (width / 16);
      const auto side = static_cast<std::size_t>(16 / scale);
      Bytes expected = base;
      for (std::size_t i = 0; i < count; ++i)
        for (std::size_t y = 0; y < side; ++y)
          std::copy_n(&strip[(y * count + i) * part], part,
                      &expected[(blocks[i] / 7 * side + y) * row + blocks[i] % 7 * part]);
      Decoder decoder(format, scale, ZTLIB_VIDEO_LAYEREDDIFF);
      const Image image = NewImage();
      const auto expectPicture = [&](const Bytes& frame, const Bytes& picture) {
        decoder.Process(image.get(), frame);
        EXPECT_EQ(BytesOf(image), picture);
        ztlib_decoder_setBaseImage(decoder.object, image.get());
      };
      testing::internal::CaptureStdout();
      expectPicture(key, base);
      expectPicture(diff, expected);
      expectPicture(none, base);
      // A new scale comes with the next key frame, which has the new size.
      const int other = 8 / scale;
      decoder.Configure(CodecConfig().Int("ScaleDown", other));
      expectPicture(diff, expected);
      expectPicture(key, Expected(From(key, 112), width, height, other, format));
      EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
      ExpectNoFailure();
    }
}

TEST_F(LayeredExports, LayersAreSplitAndJoinedByteForByte) {
  const std::uint32_t blocks[] = {1, 2, 3, 14};
  for (const Bytes& frame : {Encode({}, 80, 48), Encode(Differential(), 80, 48),
                             Encode(Differential(), 80, 48, 2, blocks)}) {
    const std::size_t list = Get(frame, 88), inner = 112 + list;
    const auto layerAt = [&](std::size_t i) { return inner + Get(frame, inner + 64 + 4 * i); };
    const auto layerSize = [&](std::size_t i) { return Get(frame, inner + 80 + 4 * i); };
    const ztlib_blob blob{frame.data(), frame.size()};
    EXPECT_EQ(ztlib_getLayerCount(&blob), 4);
    std::uint32_t sizes[4] = {};
    ztlib_getLayerSizes(&blob, sizes);
    const std::vector<Bytes> records = Decompose(frame);
    std::size_t total = 128;
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(sizes[i], layerSize(i) + (i == 0 ? list : 0));
      Bytes expected(32);
      if (i == 0) expected.insert(expected.end(), frame.begin(), frame.begin() + inner + 112);
      expected.insert(expected.end(), &frame[layerAt(i)], &frame[layerAt(i)] + layerSize(i));
      Put(expected, 0, 1);
      Put(expected, 4, static_cast<std::uint32_t>(expected.size()));
      Put(expected, 16, 4);
      Put(expected, 20, static_cast<std::uint32_t>(i));
      Put(expected, 24, frame[24]);
      EXPECT_EQ(records[i], expected);

      // Layers that are not there are named as missing, and all else is as it was.
      total += records[i].size() - 32;
      Bytes joined(frame.begin(), frame.begin() + layerAt(i) + layerSize(i));
      for (std::size_t missing = i + 1; missing < 4; ++missing)
        Put(joined, inner + 24 + 4 * missing, 0);
      joined.resize(total);
      EXPECT_EQ(Compose({records.begin(), records.begin() + i + 1}), joined);
      if (frame[24] == ZTLIB_VIDEO_LAYERED) ExpectAsPlain(joined);
    }
    ExpectNoFailure();
  }
}

TEST_F(LayeredExports, DamageIsRefusedBeforeAnythingChanges) {
  const std::uint32_t blocks[] = {1, 4};
  const Bytes good = Encode({}, 48, 32), key = Encode(Differential(), 48, 32);
  const Bytes diff = Encode(Differential(), 48, 32, 2, blocks);
  const auto size = static_cast<std::uint32_t>(good.size());
  constexpr std::uint32_t inner = 112;
  // The largest scale at which each value is a failure.
  const std::tuple<std::size_t, std::uint32_t, int> values[] = {{inner + 96, 0, 8},
                                                                {inner + 16, size, 8},
                                                                {inner + 40, 23, 8},
                                                                {inner + 44, 8 * size, 8},
                                                                {inner + 64, size - inner - 31, 8},
                                                                {inner + 28, size, 4},
                                                                {inner + 52, 0xFFFFFFFF, 4},
                                                                {inner + 72, 0xFFFFFFFF, 2},
                                                                {inner + 36, 0xFFFFFFF0, 1},
                                                                {inner + 100, 0xFFFFFFFF, 8}};
  for (const auto& [at, value, largest] : values)
    for (const int scale : scales) {
      Decoder decoder(ZTLIB_YUYV, scale, ZTLIB_VIDEO_LAYERED);
      Bytes frame = good;
      Put(frame, at, value);
      const Image image = NewImage(ZTLIB_GRAY, 3, 1, {7, 8, 9});
      decoder.Process(image.get(), frame);
      if (scale > largest) {
        ExpectNoFailure();
        continue;
      }
      ExpectRefused(layeredSource, "Invalid range");
      EXPECT_EQ(BytesOf(image), Bytes({7, 8, 9})) << at;
    }

  // Pixel formats, tables and scales that are none, in the order in which they count.
  const char* const impl = "main/target/windll/image/ztimage_impl";
  // Pixel format, width, scale, table family, and the refusal; with none nothing is drawn.
  const std::tuple<int, int, int, int, const char*, const char*> outcomes[] = {
      {10, 48, 1, 0, "main/lib/base/pixel_format", "Invalid range"},
      {ZTLIB_UYVY, 47, 1, 0, impl, "Invalid range"},
      {ZTLIB_YUVBAYERBLOCK, 48, 1, 0, layeredSource, "Invalid pixelformat"},
      {ZTLIB_GRAY, 48, 3, 1, layeredSource, "Invalid pixelformat"},
      {ZTLIB_GRAY, 48, 1, 2, nullptr, nullptr},
      {ZTLIB_RGB, 48, 1, 0xFFFF, nullptr, nullptr},
      {ZTLIB_RGB, 48, 3, 0, nullptr, nullptr}};
  for (const auto& [format, width, scale, family, source, text] : outcomes) {
    Bytes frame = good;
    Put(frame, 32, static_cast<std::uint32_t>(width));
    Put(frame, inner + 108, static_cast<std::uint32_t>(family), 2);
    Decoder decoder(format, scale, ZTLIB_VIDEO_LAYERED);
    const Image image = NewImage();
    decoder.Process(image.get(), frame);
    if (text)
      ExpectRefused(source, text);
    else
      EXPECT_EQ(BytesOf(image),
                Bytes(CTestFrames::PictureSize(48 / scale, 32 / scale, format), 0xA5));
    ExpectNoFailure();
  }

  for (const Bytes* whole : {&good, &key, &diff}) {
    const int video = (*whole)[24];
    Decoder decoder(ZTLIB_RGB, 1, video);
    const Image image = NewImage();
    decoder.Process(image.get(), video == 0 ? good : key);
    const Bytes before = BytesOf(image);
    std::vector<Bytes> frames(224 - 26, *whole);
    for (std::size_t i = 0; i < frames.size(); ++i)
      frames[i].resize(26 + i);
    if (whole == &diff) {
      frames.resize(frames.size() + 2, diff);
      Put(frames.back(), 84, 0x7FFFFFFF);
      Put(frames.end()[-2], 88, 0xFFFFFFFF);
    }
    for (const Bytes& frame : frames) {
      decoder.Process(image.get(), frame);
      ExpectRefused(video == 0 ? layeredSource : diffSource, "Invalid range");
    }
    EXPECT_EQ(BytesOf(image), before);
  }
}

TEST_F(LayeredExports, LayersThatDoNotFitAreRefused) {
  constexpr char compose[] = "ztlib_composeFromLayers", decompose[] = "ztlib_decomposeToLayers";
  constexpr char api[] = "main/target/windll/codec_api";
  const Bytes good = Encode({}, 32, 32);
  std::uint32_t sizes[4] = {1, 2, 3, 4};
  const auto expectNoSizes = [&](const Bytes& frame) {
    const ztlib_blob blob{frame.data(), frame.size()};
    ztlib_getLayerSizes(&blob, sizes);
    EXPECT_EQ(std::vector<std::uint32_t>(sizes, sizes + 4),
              std::vector<std::uint32_t>({1, 2, 3, 4}));
  };
  std::vector<Bytes> damaged;
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{25}, std::size_t{111}, std::size_t{223}, good.size() - 9})
    damaged.emplace_back(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
  for (const std::size_t at : {64U, 76U, 80U, 92U}) {
    damaged.push_back(good);
    Put(damaged.back(), 112 + at, 0xFFFFFFFF);
  }
  for (const Bytes& frame : damaged) {
    expectNoSizes(frame);
    Decompose(frame, 0);
    ExpectFailure(decompose, api, "Invalid range");
  }
  Bytes other = good;
  Put(other, 24, 7, 2);
  expectNoSizes(other);
  Decompose(other, 0);
  const ztlib_blob otherBlob{other.data(), other.size()}, empty{nullptr, 0}, bad{nullptr, 5};
  EXPECT_EQ(ztlib_getLayerCount(&otherBlob), 0);
  for (const ztlib_blob* blob : {static_cast<const ztlib_blob*>(nullptr), &empty, &bad}) {
    EXPECT_EQ(ztlib_getLayerCount(blob), 0);
    ztlib_getLayerSizes(blob, sizes);
  }
  ztlib_getLayerSizes(&otherBlob, nullptr);
  ExpectNoFailure();

  const std::vector<Bytes> records = Decompose(good);
  std::vector<Bytes> changed = records;
  Put(changed[0], 24, 3);
  EXPECT_EQ(Compose(changed), Bytes());
  ExpectNoFailure();
  const std::function<void(std::vector<Bytes>&)> damages[] = {
      [](auto& r) { r.clear(); },
      [](auto& r) { r.push_back(r[3]); },
      [](auto& r) { Put(r[0], 4, 255); },
      [](auto& r) { Put(r[2], 4, 31); },
      [](auto& r) { r[1].pop_back(); },
      [](auto& r) { r[3].resize(7); },
      [](auto& r) { Put(r[0], 24, 4), Put(r[0], 144 + 80, 1U << 30); },
      [](auto& r) { Put(r[0], 24, 4), Put(r[0], 56, 4 | 1U << 16), Put(r[0], 120, 1U << 30); },
  };
  for (const auto& damage : damages) {
    changed = records;
    damage(changed);
    EXPECT_EQ(Compose(changed), Bytes());
    ExpectFailure(compose, api, "Invalid range");
  }
  void* users[4] = {};
  const ztlib_blob blob{good.data(), good.size()};
  const ztlib_blob* const pointers[] = {&blob, nullptr};
  const auto expectNull = [&](const char* function) {
    ExpectFailure(function, api, "Using null-pointer");
  };
  for (const int missing : {0, 1, 2}) {
    ztlib_decomposeToLayers(missing == 0 ? nullptr : &blob, missing == 1 ? nullptr : users,
                            missing == 2 ? nullptr : Output::Receive);
    expectNull(decompose);
    ztlib_composeFromLayers(nullptr, missing == 0 ? nullptr : Output::Receive,
                            missing == 1 ? nullptr : pointers, 2);
    expectNull(compose);
  }
}

}  // namespace
