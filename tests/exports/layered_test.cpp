// Tests layered video through the exports, with the encoder of the client.
#include "client/layered/layered_encoder.h"
#include "tests/exports/blobs.h"
#include "tests/support/jpeg_reference.h"

namespace {

using namespace blobs;
using kit::Decoder;

constexpr int formats[] = {ZTLIB_RGB, ZTLIB_YUV, ZTLIB_YUYV, ZTLIB_UYVY};
constexpr int scales[] = {1, 2, 4, 8};
constexpr char layeredSource[] = "main/target/windll/codec/videodecoder_mjpeg_old";
constexpr char diffSource[] = "main/target/windll/codec/videodecoder_mjpeg_diff_old";

// These are the offsets of fields in a layered header.
namespace at {
constexpr std::size_t base = 16, layer1 = 28, layer3 = 36, baseBytes = 40, layer1Bytes = 52;
constexpr std::size_t model = 64, layerSize = 80, group = 96, width = 100;
constexpr std::size_t family = 108, end = 112;
}  // namespace at

void Put(Bytes& bytes, std::size_t at, std::uint32_t value, int size = 4) {
  StoreNumber(bytes, at, value, size);
}
std::uint32_t Get(const Bytes& bytes, std::size_t at) {
  return ::Get<std::uint32_t>(bytes, at);
}

// Returns a key frame of the scene, or a frame with some of its blocks.
Bytes Encode(const CLayeredSettings& settings, int width, int height, unsigned seed = 1,
             std::span<const std::uint32_t> blocks = {}) {
  const CLayeredPlanes planes(jpeg_reference::Scene(width, height, seed).data(), 2 * width, width,
                              height);
  CLayeredEncoder encoder(settings);
  return blocks.empty() ? encoder.Encode(planes.Picture())
                        : *encoder.EncodeBlocks(planes.Picture(), blocks);
}
// Returns the record of a single layer.
Bytes Record(std::size_t layer, std::uint32_t format, const Bytes& body) {
  Bytes record(32);
  Put(record, 0, 1);
  Put(record, 4, static_cast<std::uint32_t>(32 + body.size()));
  Put(record, 16, 4);
  Put(record, 20, static_cast<std::uint32_t>(layer));
  Put(record, 24, format);
  return Joined(record, body);
}
CLayeredSettings Differential() {
  CLayeredSettings settings;
  settings.isDifferential = true;
  settings.listBits = 3;
  return settings;
}

class LayeredExports : public ExportTest {
 protected:
  // Returns what a new decoder of plain layered video makes of a coded picture of that size in
  // pixels, or of a smaller frame of it.
  static Bytes Expected(const Bytes& coded, int width, int height, int scale, int format) {
    Bytes header(FrameHeader::size);
    Put(header, 32, static_cast<std::uint32_t>(width));
    Put(header, 36, static_cast<std::uint32_t>(height));
    Decoder decoder(format, scale, ZTLIB_VIDEO_LAYERED);
    const Image image = NewImage();
    decoder.Process(image.get(), Joined(header, coded));
    return BytesOf(image);
  }
  static void ExpectRefused(const char* source, const char* text) {
    ExpectFailure("ztlib_decoder_process", source, text);
  }
  static Bytes Compose(const std::vector<Bytes>& records) {
    const std::optional<Bytes> frame = kit::JoinLayers(records);
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

TEST_F(LayeredExports, DifferentialFramesLieOverTheKeyFrame) {
  constexpr int width = 112, height = 64, count = 5;
  const std::uint32_t blocks[count] = {0, 6, 9, 20, 27};
  const Bytes key = Encode(Differential(), width, height);
  Bytes diff = Encode(Differential(), width, height, 9, blocks);
  // The type of the frame has no effect.
  Put(diff, 72, 5);
  Bytes none = First(diff, FrameHeader::size);
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
      // A new scale begins with the next key frame, which has the new size.
      const int other = 8 / scale;
      decoder.Configure(kit::Config().Int("ScaleDown", other));
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
    const auto layerAt = [&](std::size_t i) {
      return inner + Get(frame, inner + at::model + 4 * i);
    };
    const auto layerSize = [&](std::size_t i) { return Get(frame, inner + at::layerSize + 4 * i); };
    const ztlib_blob blob{frame.data(), frame.size()};
    EXPECT_EQ(ztlib_getLayerCount(&blob), 4);
    std::uint32_t sizes[4] = {};
    ztlib_getLayerSizes(&blob, sizes);
    const std::vector<Bytes> records = Decompose(frame);
    std::size_t total = 128;
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(sizes[i], layerSize(i) + (i == 0 ? list : 0));
      const Bytes body = First(From(frame, layerAt(i)), layerSize(i));
      const Bytes expected =
          Record(i, frame[24], i == 0 ? Joined(First(frame, inner + at::end), body) : body);
      EXPECT_EQ(records[i], expected);

      // Layers that are not there are marked as missing, and all other bytes stay the same.
      total += records[i].size() - 32;
      Bytes joined = First(frame, layerAt(i) + layerSize(i));
      for (std::size_t missing = i + 1; missing < 4; ++missing)
        Put(joined, inner + at::layer1 + 4 * (missing - 1), 0);
      joined.resize(total);
      EXPECT_EQ(Compose({records.begin(), records.begin() + i + 1}), joined);
      // A scale gives the same picture with only the layers that it needs.
      for (const int scale : scales) {
        if (frame[24] != ZTLIB_VIDEO_LAYERED || scale << i < 8) continue;
        EXPECT_EQ(Expected(From(joined, 112), 80, 48, scale, ZTLIB_YUYV),
                  Expected(From(frame, 112), 80, 48, scale, ZTLIB_YUYV));
      }
    }
    ExpectNoFailure();
  }
}

TEST_F(LayeredExports, DamageIsRefusedBeforeAnythingChanges) {
  const std::uint32_t blocks[] = {1, 4};
  const Bytes good = Encode({}, 48, 32), key = Encode(Differential(), 48, 32);
  const Bytes diff = Encode(Differential(), 48, 32, 2, blocks);
  constexpr std::size_t inner = FrameHeader::size;
  const auto size = static_cast<std::uint32_t>(good.size() - inner);
  const auto offset = [&](std::size_t at) { return Get(good, inner + at); };
  const auto bytesOf = [&](std::size_t bits) {
    return size - static_cast<std::uint32_t>(bits + 7) / 8;
  };
  // Each case has a value that is still good, one that is a failure, and the largest scale at which
  // it is one; at larger scales the layer is not read.
  const std::tuple<std::size_t, std::uint32_t, std::uint32_t, int> values[] = {
      {at::group, 1, 0, 8},
      {at::width, 63, 64, 8},
      {at::baseBytes, 24, 23, 8},
      {at::base, bytesOf(24), bytesOf(24) + 1, 8},
      {at::baseBytes + 4, 8 * (size - offset(at::base + 4)), 8 * (size - offset(at::base + 4)) + 1,
       8},
      {at::model + 12, size - 32, size - 31, 1},
      {at::layer1, bytesOf(offset(at::layer1Bytes)), bytesOf(offset(at::layer1Bytes)) + 1, 4},
      {at::layer1Bytes, 8 * (size - offset(at::layer1)), 8 * (size - offset(at::layer1)) + 1, 4},
      {at::model + 8, 0, 0xFFFFFFFF, 2},
      {at::layer3, 0, 0xFFFFFFF0, 1}};
  for (const auto& [at, most, tooMuch, largest] : values)
    for (const int scale : scales)
      for (const std::uint32_t value : {most, tooMuch}) {
        SCOPED_TRACE(testing::Message() << at << ": " << value << " 1/" << scale);
        Decoder decoder(ZTLIB_YUYV, scale, ZTLIB_VIDEO_LAYERED);
        Bytes frame = good;
        Put(frame, inner + at, value);
        const Image image = NewImage(ZTLIB_GRAY, 3, 1, {7, 8, 9});
        decoder.Process(image.get(), frame);
        if (value == tooMuch && scale <= largest) {
          ExpectRefused(layeredSource, "Invalid range");
          EXPECT_EQ(BytesOf(image), Bytes({7, 8, 9}));
        }
        ExpectNoFailure();
      }

  // Impossible pixel formats, tables and scales have effect in this order. Each case has pixel
  // format, width, scale, table family and the refusal; without a refusal nothing is drawn.
  const char* const impl = "main/target/windll/image/ztimage_impl";
  const std::tuple<int, int, int, int, const char*, const char*> outcomes[] = {
      {10, 48, 1, 0, "main/lib/base/pixel_format", "Invalid range"},
      {ZTLIB_UYVY, 47, 1, 0, impl, "Invalid range"},
      {ZTLIB_YUVBAYERBLOCK, 48, 1, 0, layeredSource, "Invalid pixelformat"},
      {ZTLIB_GRAY, 48, 3, 1, layeredSource, "Invalid pixelformat"},
      {ZTLIB_GRAY, 48, 1, 2, nullptr, nullptr},
      {ZTLIB_RGB, 48, 3, 0, nullptr, nullptr}};
  for (const auto& [format, width, scale, family, source, text] : outcomes) {
    Bytes frame = good;
    Put(frame, 32, static_cast<std::uint32_t>(width));
    Put(frame, inner + at::family, static_cast<std::uint32_t>(family), 2);
    Decoder decoder(format, scale, ZTLIB_VIDEO_LAYERED);
    const Image image = NewImage();
    decoder.Process(image.get(), frame);
    if (text)
      ExpectRefused(source, text);
    else
      EXPECT_EQ(BytesOf(image), Bytes(kit::PictureSize(48 / scale, 32 / scale, format), 0xA5));
    ExpectNoFailure();
  }

  for (const Bytes* whole : {&good, &key, &diff}) {
    const int video = (*whole)[24];
    Decoder decoder(ZTLIB_RGB, 1, video);
    const Image image = NewImage();
    decoder.Process(image.get(), video == 0 ? good : key);
    const Bytes before = BytesOf(image);
    std::vector<Bytes> frames{First(*whole, 26), First(*whole, 111), First(*whole, 223)};
    if (whole == &diff) {
      frames.resize(5, diff);
      Put(frames[3], 84, 0x7FFFFFFF);
      Put(frames[4], 88, 0xFFFFFFFF);
    }
    for (const Bytes& frame : frames) {
      decoder.Process(image.get(), frame);
      ExpectRefused(video == 0 ? layeredSource : diffSource, "Invalid range");
    }
    EXPECT_EQ(BytesOf(image), before);
  }
}

TEST_F(LayeredExports, LayersThatDoNotFitAreRefused) {
  constexpr char decompose[] = "ztlib_decomposeToLayers";
  constexpr char api[] = "main/target/windll/codec_api";
  const Bytes good = Encode({}, 32, 32);
  const auto sizesOf = [](const Bytes& frame) {
    std::vector<std::uint32_t> sizes{1, 2, 3, 4};
    const ztlib_blob blob{frame.data(), frame.size()};
    ztlib_getLayerSizes(&blob, sizes.data());
    return sizes;
  };
  // A layer must not reach beyond the end of the frame.
  const auto coded = static_cast<std::uint32_t>(good.size() - FrameHeader::size);
  const auto with = [&](std::size_t at, std::uint32_t value) {
    Bytes frame = good;
    Put(frame, FrameHeader::size + at, value);
    return frame;
  };
  const std::uint32_t room = coded - Get(good, FrameHeader::size + at::model);
  EXPECT_EQ(Decompose(with(at::layerSize, room))[0].size(), 32U + 224 + room);
  EXPECT_EQ(sizesOf(with(at::layerSize, room))[0], room);
  std::vector<Bytes> damaged{with(at::layerSize, room + 1), with(at::layerSize + 12, 0xFFFFFFFF),
                             with(at::model, 0xFFFFFFFF), with(at::model + 12, 0xFFFFFFFF)};
  for (const std::size_t size : {26U, 111U, 223U})
    damaged.push_back(First(good, size));
  for (const Bytes& frame : damaged) {
    EXPECT_EQ(sizesOf(frame), (std::vector<std::uint32_t>{1, 2, 3, 4}));
    Decompose(frame, 0);
    ExpectFailure(decompose, api, "Invalid range");
  }
  Bytes other = good;
  Put(other, 24, 7, 2);
  EXPECT_EQ(sizesOf(other)[3], 4U);
  Decompose(First(other, 26), 0);
  const Bytes headers = FrameHeader{.format = ZTLIB_VIDEO_LAYERED}.With(Bytes(at::end));
  EXPECT_EQ(sizesOf(headers), std::vector<std::uint32_t>(4));
  ExpectNoFailure();
}

TEST_F(LayeredExports, RecordsAreTakenAsFarAsTheySay) {
  constexpr char compose[] = "ztlib_composeFromLayers", api[] = "main/target/windll/codec_api";
  const std::vector<Bytes> records = Decompose(Encode({}, 32, 32));
  const auto changed = [&](const auto& change) {
    std::vector<Bytes> copies = records;
    change(copies);
    return Compose(copies);
  };
  const Bytes whole = Compose(records);
  // Bytes behind the size that a record tells have no effect.
  EXPECT_EQ(changed([](auto& r) { r[0].push_back(7), r[3].push_back(7); }), whole);
  // The first record of format 4 also ends where its layer does, behind both headers. The bytes
  // behind that still count in the size of the frame.
  Bytes body(FrameHeader::size + 8 + at::end + 5, 1);
  Put(body, 88, 8);
  Put(body, FrameHeader::size + 8 + at::layerSize, 3);
  const Bytes second = Record(1, 4, {9});
  Bytes expected = Joined(First(body, body.size() - 2), {9});
  expected.resize(body.size() + 1 + 128);
  for (const std::size_t at : {at::layer1 + 4, at::layer3})
    Put(expected, FrameHeader::size + 8 + at, 0);
  EXPECT_EQ(Compose({Record(0, 4, body), second}), expected);
  // A layer may be empty, so that there are only headers.
  body.resize(FrameHeader::size + 8 + at::end);
  Put(body, FrameHeader::size + 8 + at::layerSize, 0);
  EXPECT_EQ(Compose({Record(0, 4, body), Record(1, 4, {})}).size(), body.size() + 128);
  EXPECT_EQ(Compose({Record(0, 0, Bytes(224))}).size(), 224U + 128);
  EXPECT_EQ(changed([](auto& r) { Put(r[0], 24, 3); }), Bytes());
  ExpectNoFailure();

  Bytes tooLarge = body;
  Put(tooLarge, FrameHeader::size + 8 + at::layerSize, 1);
  const std::vector<Bytes> refused[] = {{Record(0, 0, Bytes(223))},
                                        {Record(0, 4, tooLarge)},
                                        {Record(0, 4, First(body, body.size() - 1))},
                                        {records[0], First(records[1], records[1].size() - 1)},
                                        {records[0], First(records[1], 7)},
                                        {records[0], First(second, 31)}};
  for (const std::vector<Bytes>& layers : refused) {
    EXPECT_EQ(Compose(layers), Bytes());
    ExpectFailure(compose, api, "Invalid range");
  }
  for (const auto& [at, size] : {std::pair{0, 255}, {2, 31}}) {
    EXPECT_EQ(changed([&, at = at, size = size](auto& r) { Put(r[at], 4, size); }), Bytes());
    ExpectFailure(compose, api, "Invalid range");
  }
}

}  // namespace
