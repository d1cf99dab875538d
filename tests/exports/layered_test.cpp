// Layered video through the exports, beside a plain decoder and the encoder of the client.
#include "client/layered_encoder.h"
#include "tests/support/codec_client.h"
#include "tests/support/export_fixture.h"
#include "tests/support/layered_reference.h"

#include <cmath>
#include <functional>
#include <random>

namespace {

using namespace codec_client;

constexpr int formats[] = {ZTLIB_RGB, ZTLIB_YUV, ZTLIB_YUYV, ZTLIB_UYVY};
constexpr int scales[] = {1, 2, 4, 8};
constexpr char process[] = "ztlib_decoder_process";
constexpr char layeredSource[] = "main/target/windll/codec/videodecoder_mjpeg_old";
constexpr char diffSource[] = "main/target/windll/codec/videodecoder_mjpeg_diff_old";

void Put(Bytes& bytes, std::size_t at, std::uint32_t value, int size = 4) {
  StoreNumber(bytes, at, value, size);
}

Bytes Header(int format, int width, int height) {
  Bytes header(112);
  Put(header, 24, static_cast<std::uint32_t>(format), 2);
  Put(header, 32, static_cast<std::uint32_t>(width));
  Put(header, 36, static_cast<std::uint32_t>(height));
  return header;
}

Bytes Joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
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
  const unsigned width = 16 * below(9) + below(16), height = 16 * below(4) + below(16);
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
        AppendNumber(coded,
                     kind == 0   ? 0
                     : kind == 1 ? i == 8
                     : kind == 2 ? 5
                     : kind == 3 ? 1U << i
                                 : any,
                     2);
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

// Gradients, edges and noise in motion.
struct Scene {
  Scene(int width, int height, unsigned phase = 0) {
    std::mt19937 random(5);
    Bytes uyvy;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < 2 * width; ++x)
        uyvy.push_back(static_cast<std::uint8_t>(
            60 +
            (x % 2 ? x + ((x + static_cast<int>(phase)) / 26 + y / 9) % 2 * 60
                   : 80 * (x % 4 / 2) + 2 * y) +
            static_cast<int>(random() % 9)));
    planes.emplace(uyvy.data(), 2 * width, width, height);
  }
  [[nodiscard]] CLayeredPicture Picture() const { return planes->Picture(); }
  std::optional<CLayeredPlanes> planes;
};

class LayeredExports : public ExportTest {
 protected:
  // Decodes a frame in every format and at every scale and compares with the plain decoder.
  void ExpectAsPlain(const Bytes& frame) {
    const Bytes coded(frame.begin() + 112, frame.end());
    const int width = static_cast<int>(layered_reference::Number(frame, 32, 4));
    const int height = static_cast<int>(layered_reference::Number(frame, 36, 4));
    const Image image = NewImage();
    for (std::size_t i = 0; i < std::size(scales); ++i)
      for (std::size_t k = 0; k < std::size(formats); ++k) {
        decoders[i][k].Process(image.get(), frame);
        ExpectNoFailure();
        ASSERT_EQ(BytesOf(image), Expected(coded, width, height, scales[i], formats[k]))
            << "scale " << scales[i] << " format " << formats[k];
      }
  }
  // Kept from frame to frame, as their buffers are.
  Decoder decoders[4][4] = {
#define ZT_ROW(scale)                                                                         \
  {Decoder(ZTLIB_RGB, scale, 0), Decoder(ZTLIB_YUV, scale, 0), Decoder(ZTLIB_YUYV, scale, 0), \
   Decoder(ZTLIB_UYVY, scale, 0)}
      ZT_ROW(1), ZT_ROW(2), ZT_ROW(4), ZT_ROW(8)};
#undef ZT_ROW

  static Bytes Compose(const std::vector<Bytes>& records) {
    std::vector<ztlib_blob> blobs;
    std::vector<const ztlib_blob*> pointers;
    pointers.reserve(1);  // the address of none is an address too
    for (const Bytes& record : records)
      blobs.push_back({record.data(), record.size()});
    for (const ztlib_blob& blob : blobs)
      pointers.push_back(&blob);
    Output output;
    ztlib_composeFromLayers(&output, Output::Receive, pointers.data(),
                            static_cast<std::int32_t>(pointers.size()));
    EXPECT_EQ(output.calls, failures.empty());
    return output.bytes;
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
    const auto outer = [&](std::size_t at) {
      const int inner = static_cast<int>(layered_reference::Number(coded, at, 4)) / 16 * 16;
      return seed % 3 == 0 ? 64 : inner + (seed % 3 == 1 ? 16 : 0);
    };
    SCOPED_TRACE(seed);
    ExpectAsPlain(Joined(Header(0, outer(100), outer(104)), coded));
    if (HasFatalFailure()) return;
  }
}

TEST_F(LayeredExports, WhatIsEncodedComesBackWithinQuantisation) {
  struct Case {
    int quality, family, worst;
    unsigned group, layers;
    ELayeredModels models;
    CLayeredCodes codes;
    bool hasEmptyModels;
  };
  const Scene scene(112, 48);
  const CLayeredPicture source = scene.Picture();
  using enum ELayeredModels;
  for (const Case& c :
       {Case{100, 0, 2, 20, 15, counted, {}, false}, Case{99, 1, 3, 3, 15, steep, {1, 2}, true},
        Case{75, 0, 40, 7, 15, flat, {200, 3}, false},
        Case{30, 1, 120, 1, 15, counted, {3, 5}, true}, Case{-7, 0, 255, 5, 7, steep, {}, false}}) {
    CLayeredSettings settings;
    settings.quality = c.quality;
    settings.tableFamily = c.family;
    settings.groupSize = c.group;
    settings.layers = c.layers;
    settings.models = c.models;
    settings.codes = c.codes;
    settings.hasEmptyModels = c.hasEmptyModels;
    const Bytes frame = CLayeredEncoder(settings).Encode(source);
    SCOPED_TRACE(c.quality);
    ExpectAsPlain(frame);
    const Image image = NewImage();
    decoders[0][1].Process(image.get(), frame);
    const Bytes yuv = BytesOf(image);
    int worst = 0;
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 112; ++x)
        worst = std::max(worst, std::abs(yuv[static_cast<std::size_t>(y * 112 + x) * 4] -
                                         source.planes[0][y * source.strides[0] + x]));
    EXPECT_LE(worst, c.worst);
  }
}

TEST_F(LayeredExports, DifferentialFramesLieOverTheKeyFrame) {
  CLayeredSettings settings;
  settings.isDifferential = true;
  settings.listBits = 3;
  const Scene first(112, 64), second(112, 64, 9);
  for (const int scale : scales)
    for (const int format : formats) {
      CLayeredEncoder encoder(settings);
      const Bytes key = encoder.Encode(first.Picture());
      const std::uint32_t blocks[] = {0, 6, 9, 20, 27};
      const Bytes diff = *encoder.EncodeBlocks(second.Picture(), blocks);
      const auto list = layered_reference::Number(diff, 88, 4);
      const int side = 16 / scale, width = 112 / scale;
      Bytes expected = Expected(Bytes(key.begin() + 112, key.end()), 112, 64, scale, format);
      const Bytes base = expected;
      const Bytes strip =
          Expected(Bytes(diff.begin() + 112 + list, diff.end()), 80, 16, scale, format);
      const int size = format == ZTLIB_RGB || format == ZTLIB_YUV ? 4 : 2;
      for (int i = 0; i < 5; ++i)
        for (int y = 0; y < side; ++y)
          std::copy_n(&strip[static_cast<std::size_t>(y * 5 + i) * side * size], side * size,
                      &expected[(static_cast<std::size_t>(blocks[i] / 7 * side + y) * width +
                                 blocks[i] % 7 * side) *
                                size]);
      Decoder decoder(format, scale, ZTLIB_VIDEO_LAYEREDDIFF);
      const Image image = NewImage();
      decoder.Process(image.get(), key);
      EXPECT_EQ(BytesOf(image), base);
      for (int again = 0; again < 2; ++again) {
        // The type of the frame says nothing, and the base picture stays.
        Bytes frame = diff;
        Put(frame, 72, 5);
        decoder.Process(image.get(), frame);
        ASSERT_EQ(BytesOf(image), expected) << scale << " " << format;
      }
      ztlib_decoder_setBaseImage(decoder.object, image.get());
      Bytes none(diff.begin(), diff.begin() + 112);
      Put(none, 84, 0);
      decoder.Process(image.get(), none);
      EXPECT_EQ(BytesOf(image), base);
      // A new scale comes with the next key frame, which has the new size.
      decoder.Configure(CodecConfig().Int("ScaleDown", scale == 8 ? 1 : 8));
      decoder.Process(image.get(), none);
      EXPECT_EQ(BytesOf(image), base);
      testing::internal::CaptureStdout();
      decoder.Process(image.get(), key);
      EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
      EXPECT_EQ(BytesOf(image),
                Expected(Bytes(key.begin() + 112, key.end()), 112, 64, scale == 8 ? 1 : 8, format));
      Bytes wide = none;
      Put(wide, 32, 224);
      testing::internal::CaptureStdout();
      decoder.Process(image.get(), wide);
      EXPECT_EQ(testing::internal::GetCapturedStdout(),
                scale == 8
                    ? "[MJPEGDIFF] the frame and decoder dimensions differ: 224x64 <-> 112x64\n"
                    : "[MJPEGDIFF] the frame and decoder dimensions differ: 28x8 <-> 14x8\n");
      ExpectNoFailure();
    }
}

TEST_F(LayeredExports, LayersAreSplitAndJoinedByteForByte) {
  const Scene scene(80, 48);
  for (const bool isDifferential : {false, true})
    for (const bool isKey : {true, false}) {
      if (!isKey && !isDifferential) continue;
      CLayeredSettings settings;
      settings.isDifferential = isDifferential;
      CLayeredEncoder encoder(settings);
      const std::uint32_t blocks[] = {1, 2, 3, 14};
      const Bytes frame =
          isKey ? encoder.Encode(scene.Picture()) : *encoder.EncodeBlocks(scene.Picture(), blocks);
      const std::size_t list = layered_reference::Number(frame, 88, 4), inner = 112 + list;
      const ztlib_blob blob{frame.data(), frame.size()};
      EXPECT_EQ(ztlib_getLayerCount(&blob), 4);
      std::uint32_t sizes[4] = {};
      ztlib_getLayerSizes(&blob, sizes);
      const std::vector<Bytes> records = Decompose(frame);
      for (unsigned i = 0; i < 4; ++i) {
        const auto size = layered_reference::Number(frame, inner + 80 + 4 * i, 4);
        EXPECT_EQ(sizes[i], size + (i == 0 ? list : 0));
        Bytes expected;
        for (const std::uint32_t value :
             {1U, size + 32 + (i == 0 ? 224 + static_cast<std::uint32_t>(list) : 0), 0U, 0U, 4U, i,
              isDifferential ? 4U : 0U, 0U})
          AppendNumber(expected, value, 4);
        if (i == 0) expected.insert(expected.end(), frame.begin(), frame.begin() + inner + 112);
        const auto body =
            frame.begin() + inner + layered_reference::Number(frame, inner + 64 + 4 * i, 4);
        expected.insert(expected.end(), body, body + size);
        EXPECT_EQ(records[i], expected);
      }
      for (std::size_t count = 1; count <= 4; ++count) {
        // Layers that are not there are named as missing, and all else is as it was.
        std::size_t total = 128;
        for (std::size_t i = 0; i < count; ++i)
          total += records[i].size() - 32;
        const std::size_t end = inner +
                                layered_reference::Number(frame, inner + 64 + 4 * (count - 1), 4) +
                                layered_reference::Number(frame, inner + 80 + 4 * (count - 1), 4);
        Bytes expected(frame.begin(), frame.begin() + end);
        for (std::size_t layer = count; layer < 4; ++layer)
          Put(expected, inner + 24 + 4 * layer, 0);
        expected.resize(total);
        const Bytes joined =
            Compose({records.begin(), records.begin() + static_cast<std::ptrdiff_t>(count)});
        EXPECT_EQ(joined, expected) << count;
        if (isKey && !isDifferential) ExpectAsPlain(joined);
      }
      ExpectNoFailure();
    }
}

TEST_F(LayeredExports, DamageIsRefusedBeforeAnythingChanges) {
  const Bytes good = CLayeredEncoder({}).Encode(Scene(48, 32).Picture());
  CLayeredSettings differential;
  differential.isDifferential = true;
  const Bytes key = CLayeredEncoder(differential).Encode(Scene(48, 32).Picture());
  const std::uint32_t blocks[] = {1, 4};
  const Bytes diff = *CLayeredEncoder(differential).EncodeBlocks(Scene(48, 32).Picture(), blocks);
  const auto size = static_cast<std::uint32_t>(good.size());
  constexpr std::uint32_t inner = 112;
  struct Case {
    std::size_t at;
    std::uint32_t value;
    int scale;  // the largest at which it is a failure
  };
  for (const Case& c :
       {Case{inner + 96, 0, 8}, Case{inner + 16, size, 8}, Case{inner + 40, 23, 8},
        Case{inner + 44, 8 * size, 8}, Case{inner + 64, size - inner - 31, 8},
        Case{inner + 28, size, 4}, Case{inner + 52, 0xFFFFFFFF, 4}, Case{inner + 72, 0xFFFFFFFF, 2},
        Case{inner + 36, 0xFFFFFFF0, 1}, Case{inner + 100, 0xFFFFFFFF, 8}})
    for (const int scale : scales) {
      Decoder decoder(ZTLIB_YUYV, scale, ZTLIB_VIDEO_LAYERED);
      Bytes frame = good;
      Put(frame, c.at, c.value);
      const Image image = NewImage(ZTLIB_GRAY, 3, 1, {7, 8, 9});
      decoder.Process(image.get(), frame);
      if (scale > c.scale) {
        ExpectNoFailure();
        continue;
      }
      ExpectFailure(process, layeredSource, "Invalid range");
      EXPECT_EQ(BytesOf(image), Bytes({7, 8, 9})) << c.at;
    }

  // Pixel formats, tables and scales that are none, in the order in which they count.
  struct Outcome {
    int pixelFormat, width, scale, family;
    const char* source;
    const char* text;  // none: nothing is drawn
  };
  const char* const impl = "main/target/windll/image/ztimage_impl";
  for (const Outcome& c :
       {Outcome{10, 48, 1, 0, "main/lib/base/pixel_format", "Invalid range"},
        Outcome{ZTLIB_UYVY, 47, 1, 0, impl, "Invalid range"},
        Outcome{ZTLIB_YUVBAYERBLOCK, 48, 1, 0, layeredSource, "Invalid pixelformat"},
        Outcome{ZTLIB_GRAY, 48, 3, 1, layeredSource, "Invalid pixelformat"},
        Outcome{ZTLIB_GRAY, 48, 1, 2, nullptr, nullptr},
        Outcome{ZTLIB_RGB, 48, 1, 0xFFFF, nullptr, nullptr},
        Outcome{ZTLIB_RGB, 48, 3, 0, nullptr, nullptr}}) {
    Bytes frame = good;
    Put(frame, 32, static_cast<std::uint32_t>(c.width));
    Put(frame, inner + 108, static_cast<std::uint32_t>(c.family), 2);
    Decoder decoder(c.pixelFormat, c.scale, ZTLIB_VIDEO_LAYERED);
    const Image image = NewImage();
    decoder.Process(image.get(), frame);
    if (c.text)
      ExpectFailure(process, c.source, c.text);
    else
      EXPECT_EQ(BytesOf(image),
                Bytes(CTestFrames::PictureSize(48 / c.scale, 32 / c.scale, c.pixelFormat), 0xA5));
    ExpectNoFailure();
  }

  // Every cut is a failure or a picture, and a strip of more pixels than there are numbers is one.
  for (const int video : {ZTLIB_VIDEO_LAYERED, ZTLIB_VIDEO_LAYEREDDIFF})
    for (const Bytes* whole : {video == ZTLIB_VIDEO_LAYERED ? &good : &key, &diff}) {
      if (video == ZTLIB_VIDEO_LAYERED && whole == &diff) continue;
      Decoder decoder(ZTLIB_RGB, 1, video);
      const Image image = NewImage();
      for (std::size_t cut = 26; cut < 224; ++cut) {
        decoder.Process(image.get(), Bytes(whole->begin(), whole->begin() + cut));
        ExpectFailure(process, video == ZTLIB_VIDEO_LAYERED ? layeredSource : diffSource,
                      "Invalid range");
      }
    }
  Decoder decoder(ZTLIB_RGB, 1, ZTLIB_VIDEO_LAYEREDDIFF);
  const Image image = NewImage();
  decoder.Process(image.get(), key);
  const Bytes before = BytesOf(image);
  for (const auto& [at, value] : {std::pair{84, 0x7FFFFFFFU}, {88, 0xFFFFFFFFU}}) {
    Bytes frame = diff;
    Put(frame, static_cast<std::size_t>(at), value);
    decoder.Process(image.get(), frame);
    ExpectFailure(process, diffSource, "Invalid range");
    EXPECT_EQ(BytesOf(image), before);
  }
}

TEST_F(LayeredExports, LayersThatDoNotFitAreRefused) {
  constexpr char compose[] = "ztlib_composeFromLayers", decompose[] = "ztlib_decomposeToLayers";
  constexpr char api[] = "main/target/windll/codec_api";
  const Bytes good = CLayeredEncoder({}).Encode(Scene(32, 32).Picture());
  std::uint32_t sizes[4] = {1, 2, 3, 4};
  const auto expectNoSizes = [&](const Bytes& frame) {
    const ztlib_blob blob{frame.data(), frame.size()};
    ztlib_getLayerSizes(&blob, sizes);
    EXPECT_EQ(std::vector<std::uint32_t>(sizes, sizes + 4),
              std::vector<std::uint32_t>({1, 2, 3, 4}));
  };
  for (const std::size_t cut : {0UL, 25UL, 111UL, 223UL, good.size() - 9}) {
    const Bytes frame(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(cut));
    expectNoSizes(frame);
    Decompose(frame, 0);
    ExpectFailure(decompose, api, "Invalid range");
  }
  for (const std::size_t at : {64, 76, 80, 92}) {
    Bytes frame = good;
    Put(frame, 112 + at, 0xFFFFFFFF);
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
  for (const auto& call : std::initializer_list<std::function<void()>>{
           [&] { ztlib_decomposeToLayers(nullptr, users, Output::Receive); },
           [&] { ztlib_decomposeToLayers(&blob, nullptr, Output::Receive); },
           [&] { ztlib_decomposeToLayers(&blob, users, nullptr); }}) {
    call();
    ExpectFailure(decompose, api, "Using null-pointer");
  }
  for (const auto& call : std::initializer_list<std::function<void()>>{
           [&] { ztlib_composeFromLayers(nullptr, nullptr, pointers, 1); },
           [&] { ztlib_composeFromLayers(nullptr, Output::Receive, nullptr, 1); },
           [&] { ztlib_composeFromLayers(nullptr, Output::Receive, pointers, 2); }}) {
    call();
    ExpectFailure(compose, api, "Using null-pointer");
  }
}

}  // namespace
