#include "tests/support/codec_config.h"
#include "tests/support/export_fixture.h"
#include "tests/support/guarded_memory.h"
#include "tests/support/jpeg_reference.h"

namespace {

constexpr char api[] = "main/target/windll/vca_api";
constexpr char null[] = "Using null-pointer";

class MotionExports : public ExportTest {
 protected:
  struct Context {
    void* object = ztlib_simplemotion_create();
    ~Context() { ztlib_simplemotion_destroy(object); }
    Context() = default;
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    void Configure(int width, int height, bool metadata = true) const {
      CodecConfig()
          .Bool("GenerateMetadata", metadata)
          .Apply(ztlib_simplemotion_configure, object, width, height);
    }
    Bytes Detect(const Image& image, std::int64_t time, bool expected = false) const {
      Output output;
      EXPECT_EQ(ztlib_simplemotion_detect(object, &output, Output::Receive, image.get(), time),
                expected);
      EXPECT_EQ(output.calls, 1);
      return output.bytes;
    }
  };
  // What a sequence ends in: an object comes in after the warm-up.
  static Bytes Run(const Context& context, const Image& still, const Image& moving) {
    for (int i = 0; i < 40; ++i)
      context.Detect(still, i * 100);
    return context.Detect(moving, 4000, true);
  }
  static Image Scene(bool moving) {
    Bytes pixels(48 * 32, 90);
    if (moving) std::fill_n(pixels.begin() + 100, 300, 170);
    return NewImage(ZTLIB_GRAY, 48, 32, pixels);
  }
};

TEST_F(MotionExports, NullArguments) {
  constexpr char configure[] = "ztlib_simplemotion_configure";
  constexpr char detect[] = "ztlib_simplemotion_detect";
  const Context context;
  const Image image = Scene(false);
  const ztlib_blob empty{nullptr, 0}, missing{nullptr, 3};
  ztlib_simplemotion_destroy(nullptr);
  for (const auto& [object, config] : {std::pair<void*, const ztlib_blob*>(nullptr, &empty),
                                       {context.object, nullptr},
                                       {context.object, &missing}}) {
    ztlib_simplemotion_configure(object, config, 4, 4);
    ExpectFailure(configure, api, null);
  }
  ztlib_simplemotion_configure(context.object, &empty, -4, 4);
  ExpectFailure(configure, "main/target/windll/image/ztimage_impl", "Invalid range");
  Output output;
  const auto fails = [&](void* object, const void* picture, const char* source) {
    EXPECT_FALSE(ztlib_simplemotion_detect(object, &output, Output::Receive, picture, 0));
    EXPECT_EQ(output.calls, 0);
    ExpectFailure(detect, source, null);
  };
  fails(nullptr, image.get(), api);
  fails(context.object, nullptr, api);
  fails(context.object, NewImage().get(), "main/target/windll/image/ztimage");
  EXPECT_EQ(context.Detect(image, 0), Bytes{0});
  ztlib_simplemotion_configure(context.object, &empty, 48, 32);
  EXPECT_FALSE(ztlib_simplemotion_detect(context.object, nullptr, nullptr, image.get(), 1));
  EXPECT_GT(context.Detect(image, 2).size(), 48U * 32 / 8 + 48);
  context.Configure(48, 32, false);
  EXPECT_EQ(Run(context, image, Scene(true)),
            (Bytes{'@', 7, 'M', 'o', 't', 'i', 'o', 'n', 's', 1, 0, 0, 0, 0, 0}));
  ExpectNoFailure();
}

// Rows of anything but gray are read at multiples of 4 as far as the picture has bytes, whatever
// its samples are.
TEST_F(MotionExports, PicturesOfAllFormatsAreReadWithinTheirBytes) {
  for (int format = 0; format <= 8; ++format)
    for (const int width : {16, 48, 49, 50, 51}) {
      const bool block = format == ZTLIB_YUV420BLOCK;
      const int columns = block                  ? (width + 15) / 16 * 16
                          : format == ZTLIB_GRAY ? width
                                                 : width & ~1;
      const Context context;
      context.Configure(columns, 32);
      const Image still = NewImage(format, columns, 32, {1});
      for (int i = 0; i < 40; ++i)
        context.Detect(still, i * 100);
      EXPECT_FALSE(context.Detect(still, 4100).empty());
    }
  // All bytes of a picture without padding count, row ends or not; those behind are black.
  const Context context;
  context.Configure(5, 9);
  const Image still = NewImage(ZTLIB_BOOL8, 5, 9, {0}), moving = NewImage(ZTLIB_BOOL8, 5, 9, {200});
  const Bytes result = Run(context, still, moving);
  const std::string name = "DetectPercent";
  const auto found = std::search(result.begin(), result.end(), name.begin(), name.end());
  ASSERT_NE(found, result.end());
  // 45 bytes are five rows of eight, five of each in the picture, and one of five.
  const auto at = static_cast<std::size_t>(found - result.begin()) + name.size() + 4;
  EXPECT_EQ(Get<double>(result, at), 3000.0F / 32);
  ExpectNoFailure();
}

// A gray picture in memory of its own that ends where nothing may be read; `noise` lies between the
// rows.
struct WrappedGray {
  WrappedGray(const GuardedMemory& memory, const Bytes& pixels, int width, int stride, int lineSize,
              std::uint8_t noise)
      : frame(CTestFrames::Make(width, static_cast<int>(pixels.size()) / width, ZTLIB_GRAY)) {
    std::free(frame->data);
    const int size = (frame->height - 1) * stride + width;
    frame->data = memory.Room(static_cast<std::size_t>(size), 0, true);
    frame->lineSize = lineSize;
    std::memset(frame->data, noise, static_cast<std::size_t>(size));
    for (int y = 0; y < frame->height; ++y)
      std::memcpy(frame->data + y * stride, &pixels[static_cast<std::size_t>(y * width)],
                  static_cast<std::size_t>(width));
    image.reset(ztlib_ztimage_create_avframe(ZTLIB_GRAY, frame));
  }
  ~WrappedGray() { frame->data = nullptr; }
  WrappedGray(const WrappedGray&) = delete;
  WrappedGray& operator=(const WrappedGray&) = delete;

  CTestFrames::Frame* frame;
  codec_client::Image image;
};

// A picture that the library fills has rows without padding, whatever its frame or the one before
// it says; rows that a client wraps are padded unless the frame says that they are dense.
TEST_F(MotionExports, GrayPicturesOfAnyWidthGiveOneResultWhereverTheyLie) {
  const GuardedMemory first(856 * 480), second(856 * 480);
  for (const auto& [width, height] : {std::pair{90, 72}, {854, 480}, {38, 40}, {3, 3}}) {
    const int w = width, h = height;
    const auto run = [&](const Image& still, const Image& moving) {
      const Context context;
      context.Configure(w, h);
      return Run(context, still, moving);
    };
    const auto padded = [&] {
      return Image(ztlib_ztimage_create_avframe(ZTLIB_GRAY, CTestFrames::Make(w, h, ZTLIB_GRAY)));
    };
    const auto decoded = [&](bool moves) {
      Bytes ycc(static_cast<std::size_t>(3 * w * h), 90);
      for (int x = 0; x < 3 * w && moves; ++x)
        ycc[static_cast<std::size_t>(x)] = ycc[static_cast<std::size_t>(3 * w * (h - 1) + x)] = 200;
      const Bytes stream = jpeg_reference::Encode(ycc, w, h, {.quality = 100});
      Output frame;
      ztlib_copyAndAddHeader(&frame, Output::Receive, stream.data(),
                             static_cast<std::uint32_t>(stream.size()));
      Image image = padded();
      codec_client::Decoder(ZTLIB_GRAY).Process(image.get(), frame.bytes);
      return image;
    };
    const auto loaded = [&](const Image& from) {
      Output saved;
      ztlib_ztimage_saveToZTMem(from.get(), &saved, Output::Receive);
      const ztlib_blob memory{saved.bytes.data(), saved.bytes.size()};
      Image image = padded();
      EXPECT_TRUE(ztlib_ztimage_loadFromZTMem(image.get(), &memory));
      return image;
    };

    const Image still = decoded(false), moving = decoded(true);
    const Bytes expected = run(still, moving);
    const Bytes head = Words(32, {1, w * h / 8 + 48, 0, 0, 0, w, h});
    const auto bitmap = std::search(expected.begin(), expected.end(), head.begin(), head.end());
    ASSERT_NE(bitmap, expected.end());
    for (int i = 0; i < w * h; ++i)
      ASSERT_EQ(bitmap[32 + i / 8] >> i % 8 & 1, i < w || i >= w * (h - 1)) << w << ": " << i;

    EXPECT_TRUE(run(loaded(still), loaded(moving)) == expected) << w;
    const int rounded = (w + 3) / 4 * 4;
    for (const auto& [stride, lineSize] :
         {std::pair{rounded, 0}, {rounded, rounded}, {rounded, 1024}, {w, w}}) {
      const WrappedGray a(first, BytesOf(still), w, stride, lineSize, 0);
      const WrappedGray b(second, BytesOf(moving), w, stride, lineSize, 255);
      EXPECT_TRUE(run(a.image, b.image) == expected) << w << ": " << stride << ", " << lineSize;
    }
  }
  ExpectNoFailure();
}

TEST_F(MotionExports, ContextsWorkOnSeveralThreads) {
  const Image still = Scene(false), moving = Scene(true);
  const Context first;
  first.Configure(48, 32);
  const Bytes expected = Run(first, still, moving);
  const int failed = FailuresOnThreads([&](int) {
    const Context own;
    own.Configure(48, 32);
    return Run(own, still, moving) == expected;
  });
  EXPECT_EQ(failed, 0);
  ExpectNoFailure();
}

}  // namespace
