#include "tests/exports/blobs.h"

namespace {

using namespace blobs;

constexpr char impl[] = "main/target/windll/image/ztimage_impl";
constexpr char handle[] = "main/target/windll/image/ztimage";
constexpr char rows[] = "main/lib/base/image_rw";
constexpr char create[] = "ztlib_ztimage_create_avframe";
constexpr char load[] = "ztlib_ztimage_loadFromZTMem";

class ImageExports : public ExportTest {};

TEST_F(ImageExports, WrapsAFrameAndReleasesItOnce) {
  kit::Frame* const frame = CTestFrames::Make(1000, 600, 8);
  {
    const Image image(ztlib_ztimage_create_avframe(8, frame));
    EXPECT_EQ(ztlib_ztimage_get_avframe(image.get()), frame);
    EXPECT_EQ(CTestFrames::released, 0);
    EXPECT_EQ(Saved(image).size(), 32U + 62 * 37 * 384);  // truncated to whole tiles
  }
  EXPECT_EQ(CTestFrames::released, 1);
  EXPECT_EQ(ztlib_ztimage_get_avframe(NewImage().get()), nullptr);
  ExpectNoFailure();
}

TEST_F(ImageExports, RefusedFramesStayTheClients) {
  const auto refused = [](int format, void* frame, const char* source, const char* message) {
    EXPECT_EQ(ztlib_ztimage_create_avframe(format, frame), nullptr);
    ExpectFailure(create, source, message);
  };
  kit::Frame frame{};
  refused(1, nullptr, impl, "Using null-pointer");
  for (int format : {9, -1, INT32_MIN})
    refused(format, &frame, handle, "Wrong format");
  for (const auto& [width, height] : {std::pair(4, 4), {-4, 4}, {4, -4}, {65536, 65536}}) {
    frame.width = width;
    frame.height = height;
    refused(1, &frame, impl,
            width == height && width == 4 ? "Using null-pointer" : "Invalid range");
  }
  EXPECT_EQ(CTestFrames::released, 0);
}

TEST_F(ImageExports, FrameManagerIsReplacedOrFilledIn) {
  static int calls;
  calls = 0;
  const auto other = [](int, int, int) -> void* {
    ++calls;
    return nullptr;
  };
  const auto block = MemoryForm(1, 1, 2, 2, 4);
  const Image image = NewImage();
  ztlib_registerAVFrameMgr(other, nullptr, nullptr, 1);
  EXPECT_TRUE(Load(image, block));
  EXPECT_EQ(calls, 0);
  ztlib_registerAVFrameMgr(nullptr, CTestFrames::Release, nullptr, 0);
  EXPECT_FALSE(Load(image, block));
  ExpectFailure(load, rows, "Using null-pointer");
  ztlib_registerAVFrameMgr(other, nullptr, nullptr, 1);
  EXPECT_FALSE(Load(image, block));
  ExpectFailure(load, rows, "Using null-pointer");
  EXPECT_EQ(calls, 1);
  ASSERT_NE(FrameOf(image), nullptr) << "a failed load keeps the picture";
}

TEST_F(ImageExports, MemoryFormOfEachFormat) {
  const Bytes pattern = {1, 0, 0, 1, 1, 1, 0, 1, 0, 0, 0};
  const std::tuple<int, int, int, int, int, int> cases[] = {
      {1, 3, 2, 3, 2, 6},    {3, 1, 5, 1, 5, 20},   {4, 6, 2, 3, 2, 24},
      {6, 5, 3, 5, 3, 15},   {7, 4, 6, 2, 3, 24},   {8, 32, 16, 2, 1, 768},
      {0, 10, 3, 10, 3, 19}, {0, 16, 1, 16, 1, 18}, {0, 0, 0, 0, 0, 16},
  };
  for (const auto& [format, width, height, dx, dy, body] : cases) {
    SCOPED_TRACE(testing::Message() << format << ": " << width << "x" << height);
    const Image image = NewImage(format, width, height, pattern);
    const auto block = Saved(image);
    ASSERT_EQ(block.size(), 32U + body);
    EXPECT_EQ(First(block, 32), First(MemoryForm(1, format, dx, dy, body), 32));
    const auto pixels = BytesOf(image);
    if (format == 0) {
      for (std::size_t n = 0; n < 8U * body; ++n)
        ASSERT_EQ((block[32 + n / 8] >> n % 8) & 1, n < pixels.size() ? pixels[n] : 0) << n;
    } else {
      EXPECT_EQ(From(block, 32), pixels);
    }
    const Image loaded = NewImage();
    EXPECT_TRUE(Load(loaded, block));
    EXPECT_EQ(BytesOf(loaded), pixels);
    EXPECT_EQ(FrameOf(loaded)->format, format);
  }
  ExpectNoFailure();
}

TEST_F(ImageExports, BoolBytesAreOredAsTheyStandAndReadBackAsBits) {
  // 0x83 sets its own bit, the next one and the one 7 further on.
  Bytes pixels(20);
  pixels[10] = 0x83;
  pixels[19] = 0x83;
  const auto block = Saved(NewImage(0, 20, 1, pixels));
  EXPECT_EQ(block[33], 0x0C);
  EXPECT_EQ(block[34], 0x02 | 0x08 | 0x10);  // 10 + 7, 19, 20
  EXPECT_EQ(block[35], 0x04);                // 19 + 7
  const Image loaded = NewImage();
  ASSERT_TRUE(Load(loaded, block));
  for (std::uint8_t pixel : BytesOf(loaded))
    EXPECT_LE(pixel, 1);
}

TEST_F(ImageExports, BlocksThatPromiseTooMuchAreRefused) {
  const Image image = NewImage(1, 2, 2, {9});
  const auto before = BytesOf(image);
  const std::tuple<Bytes, const char*, const char*> cases[] = {
      {Bytes(31), handle, "Invalid or nullptr memory!"},
      {MemoryForm(1, 9, 0, 0, 0), handle, "Wrong format"},
      {MemoryForm(1, 1, -1, 4, 100), rows, "Invalid range"},
      {MemoryForm(1, 8, 1 << 30, 1, 100), rows, "Invalid range"},
      {MemoryForm(1, 2, 5, 5, 99), handle, "Invalid or nullptr memory!"},
      {MemoryForm(1, 0, 100, 1, 12), handle, "Invalid or nullptr memory!"},
  };
  for (const auto& [block, source, message] : cases) {
    EXPECT_FALSE(Load(image, block));
    ExpectFailure(load, source, message);
  }
  EXPECT_EQ(CTestFrames::allocated, 1) << "refused before any memory is asked for";
  EXPECT_EQ(BytesOf(image), before);
  EXPECT_TRUE(Load(image, MemoryForm(1, 0, 104, 1, 13)));

  // Another version causes only a warning.
  EXPECT_TRUE(Load(image, MemoryForm(2, 1, 2, 2, 4)));
  EXPECT_EQ(lines,
            std::vector<Line>{Line(
                1, "EXCEPTION! main/target/windll/image/ztimage:97: ver != 1should be false!")});
  EXPECT_TRUE(failures.empty());
}

TEST_F(ImageExports, LowerHalfOfTheSizeCounts) {
  const Image image = NewImage();
  const auto block = MemoryForm(1, 1, 2, 2, 4);
  const ztlib_blob whole{block.data(), block.size() + (std::uint64_t{1} << 32)};
  EXPECT_TRUE(ztlib_ztimage_loadFromZTMem(image.get(), &whole));
  for (const ztlib_blob& bad : {ztlib_blob{block.data(), 0x80000000}, {nullptr, 36}}) {
    EXPECT_FALSE(ztlib_ztimage_loadFromZTMem(image.get(), &bad));
    ExpectFailure(load, handle, "Invalid or nullptr memory!");
  }
}

}  // namespace
