#include "tests/exports/blobs.h"
#include "tests/support/jpeg_reference.h"

namespace {

using namespace blobs;

class MotionExports : public ExportTest {
 protected:
  struct Context {
    void* object = ztlib_simplemotion_create();
    ~Context() { ztlib_simplemotion_destroy(object); }
    Context() = default;
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    void Configure(int width, int height, bool metadata = true) const {
      kit::Apply(kit::Config().Bool("GenerateMetadata", metadata), ztlib_simplemotion_configure,
                 object, width, height);
    }
    Bytes Detect(const Image& image, std::int64_t time, bool expected = false) const {
      Output output;
      EXPECT_EQ(ztlib_simplemotion_detect(object, &output, Output::Receive, image.get(), time),
                expected);
      EXPECT_EQ(output.calls, 1);
      return output.bytes;
    }
  };
  // Returns the last result of a sequence in which an object comes in after the warm-up.
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

TEST_F(MotionExports, ResultsFollowTheConfiguration) {
  const Context context;
  const Image image = Scene(false);
  EXPECT_EQ(context.Detect(image, 0), Bytes{0});
  const ztlib_blob empty{nullptr, 0};
  ztlib_simplemotion_configure(context.object, &empty, 48, 32);
  EXPECT_FALSE(ztlib_simplemotion_detect(context.object, nullptr, nullptr, image.get(), 1));
  EXPECT_GT(context.Detect(image, 2).size(), 48U * 32 / 8 + 48);
  context.Configure(48, 32, false);
  EXPECT_EQ(Run(context, image, Scene(true)),
            (Bytes{'@', 7, 'M', 'o', 't', 'i', 'o', 'n', 's', 1, 0, 0, 0, 0, 0}));
  ExpectNoFailure();
}

// Rows of a picture that is not gray are read as padded to multiples of 4, as far as it has bytes;
// behind them everything is black.
TEST_F(MotionExports, PicturesOfOtherFormatsAreReadWithinTheirBytes) {
  // 45 bytes are five rows of eight bytes, of which five are in the picture, and one row of five.
  constexpr int shapes[][3] = {{5, 9, 30}, {8, 9, 72}, {5, 3, 10}};
  for (const auto& [width, height, pixels] : shapes) {
    const Context context;
    context.Configure(width, height);
    const Bytes result = Run(context, NewImage(ZTLIB_BOOL8, width, height, {0}),
                             NewImage(ZTLIB_BOOL8, width, height, {200}));
    const auto all = static_cast<float>((width - 1) * (height - 1));
    const auto percent = ztlib::Find(result, "DetectPercent", 'F');
    ASSERT_TRUE(percent) << width;
    EXPECT_EQ(percent->Double(), static_cast<float>(100 * pixels) / all) << width;
  }
  ExpectNoFailure();
}

// Makes a gray picture whose memory ends with its last pixel; `noise` lies between the rows.
Image WrappedGray(const Bytes& pixels, int width, int stride, int lineSize, std::uint8_t noise) {
  const int height = static_cast<int>(pixels.size()) / width;
  const auto size = static_cast<std::size_t>((height - 1) * stride + width);
  kit::Frame* const frame = CTestFrames::Make(width, height, ZTLIB_GRAY, size);
  frame->lineSize = lineSize;
  std::ranges::fill(frame->Picture(), noise);
  for (int y = 0; y < height; ++y)
    std::copy_n(&pixels[static_cast<std::size_t>(y * width)], width, frame->data + y * stride);
  return Image(ztlib_ztimage_create_avframe(ZTLIB_GRAY, frame));
}

// A picture that the library fills has rows without padding, whatever its frame or the one before
// it says. Rows that a client wraps are padded unless the frame says that they are not.
TEST_F(MotionExports, GrayPicturesOfAnyWidthGiveOneResultWhereverTheyLie) {
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
      Image image = padded();
      kit::Decoder(ZTLIB_GRAY).Process(image.get(), WithHeader(stream));
      return image;
    };
    const auto loaded = [&](const Image& from) {
      Image image = padded();
      EXPECT_TRUE(Load(image, Saved(from)));
      return image;
    };

    const Image still = decoded(false), moving = decoded(true);
    const Bytes expected = run(still, moving);
    Bytes head(32);  // of the bitmap: version, size, and behind three words the size in pixels
    Put(head, 0, 1), Put(head, 4, w * h / 8 + 48), Put(head, 20, w), Put(head, 24, h);
    ztlib::MotionResult result;
    result.Read(expected);
    ASSERT_EQ(result.areas.size(), 1U);
    const std::uint8_t* const bitmap = result.areas[0].bits.data() - head.size();
    ASSERT_EQ(Bytes(bitmap, bitmap + head.size()), head);
    for (int i = 0; i < w * h; ++i)
      ASSERT_EQ(bitmap[32 + i / 8] >> i % 8 & 1, i < w || i >= w * (h - 1)) << w << ": " << i;

    EXPECT_TRUE(run(loaded(still), loaded(moving)) == expected) << w;
    const int rounded = (w + 3) / 4 * 4;
    for (const auto& [stride, lineSize] :
         {std::pair{rounded, 0}, {rounded, rounded}, {rounded, 1024}, {w, w}}) {
      const Image a = WrappedGray(BytesOf(still), w, stride, lineSize, 0);
      const Image b = WrappedGray(BytesOf(moving), w, stride, lineSize, 255);
      EXPECT_TRUE(run(a, b) == expected) << w << ": " << stride << ", " << lineSize;
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
