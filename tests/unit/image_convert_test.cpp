#include "main/target/windll/image_convert/image_convert.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimage.h"
#include "tests/support/common.h"
#include "tests/support/test_frames.h"

using namespace ztlib;

namespace {

TEST(ImageConvert, SensorToYuyvNamesTheFirstOfItsConditions) {
  const CTestFrames frames;
  const std::tuple<int, int, std::size_t, std::size_t, const char*> cases[] = {
      {3, 4, 1, 1, "RGBBayer pic is too small."},
      {4, 3, 0, 0, "RGBBayer pic is too small."},
      {0, 0, 0, 0, "RGBBayer pic is too small."},
      {5, 6, 1, 2, "RGBbayer pic is not aligned."},
      {5, 6, 4, 2, "YUYV pic is not aligned."},
      {5, 6, 4, 8, "RGBBayer.Dx() % 2 != 0"},
      {4, 4, 4, 8, "no exception"},
      {6, 6, 0, 0, "no exception"}};
  for (const auto& [dx, dy, sourceOffset, targetOffset, text] : cases) {
    alignas(16) std::uint8_t memory[256] = {};
    BayerImageView source;
    source.data = reinterpret_cast<BayerImageView::Pixel*>(memory + sourceOffset);
    source.dx = source.scanline = dx;
    source.dy = dy;
    YuyvImageView target;
    target.data = reinterpret_cast<YuyvImageView::Pixel*>(memory + 128 + targetOffset);
    target.dx = target.scanline = dx / 2;
    target.dy = dy;
    EXPECT_EQ(MessageOf<CException>([&] { Convert(target, source); }), text) << dx << "x" << dy;
  }
  // The picture that was asked for goes back.
  const auto image = CreateNewImageBase(PixelFormat::RGBBAYER, 5, 6);
  EXPECT_EQ(TextOf<CException>([&] {
              (void)image->ConvertToNew(PixelFormat::YUYV);
            }).find("Exception [main/target/windll/image_convert:"),
            0U);
  EXPECT_EQ(CTestFrames::allocated, CTestFrames::released + 1);
}

constexpr std::uint8_t fill = 0xA5;

// What becomes of a pair: "pixels" (whose values are steps of the lists), "copy", "unwritten",
// or the refusing source. No format becomes RGBBAYER or YUVBAYERBLOCK.
constexpr char general[] = "image/ztimage_impl";
constexpr char p[] = "pixels";
#define REFUSED(target) "image_convert/image_convert_to" target "_impl"
// clang-format off
constexpr const char* matrix[9][7] = {
    // to BOOL8, GRAY, RGB, YUV, YUYV, UYVY, YUV420BLOCK
    {"copy", p, p, REFUSED("yuv"), REFUSED("yuyv"), REFUSED("uyvy"), REFUSED("yuv420block")},
    {p, "copy", p, p, p, p, "unwritten"},
    {REFUSED("bool"), p, "copy", p, p, p, "unwritten"},
    {REFUSED("bool"), p, p, "copy", p, p, p},
    {REFUSED("bool"), p, p, p, "copy", p, p},
    {REFUSED("bool"), p, p, p, p, "copy", "unwritten"},
    {REFUSED("bool"), REFUSED("gray"), p, REFUSED("yuv"), p, REFUSED("uyvy"), REFUSED("yuv")},
    {REFUSED("bool"), p, p, p, p, REFUSED("uyvy"), "unwritten"},
    {REFUSED("bool"), p, p, p, p, p, "copy"},
};
// clang-format on

// The rows of a picture, which has no padding.
Bytes RowOf(const CZTImageImplBase& image, int y, std::size_t size) {
  const auto* const row = static_cast<const std::uint8_t*>(image.GetPtrAt(0, y));
  return {row, row + size};
}

void CheckPair(int source, int target, int width, int height) {
  const auto from = static_cast<PixelFormat>(source);
  const auto to = static_cast<PixelFormat>(target);
  const std::unique_ptr<CZTImageImplBase> image =
      CreateNewImageBase(from, width / GetSampleDx(from), height / GetSampleDy(from));
  for (int y = 0; y < image->GetDy(); ++y) {
    const Bytes row = EdgyBytes(static_cast<std::size_t>(image->GetRowSize()));
    if (!row.empty()) std::memcpy(image->GetPtrAt(0, y), row.data(), row.size());
  }
  const std::string cell = target == ZTLIB_RGBBAYER || target == ZTLIB_YUVBAYERBLOCK
                               ? general
                               : matrix[source][std::min(target, +ZTLIB_RGBBAYER)];
  SCOPED_TRACE(cell + " " + std::to_string(source) + " " + std::to_string(target) + " " +
               std::to_string(width) + "x" + std::to_string(height));
  const int allocated = CTestFrames::allocated;
  if (cell.find('/') != std::string::npos) {
    const std::string text = TextOf<CException>([&] { (void)image->ConvertToNew(to); });
    EXPECT_EQ(text.rfind("Exception [main/target/windll/" + cell + ":", 0), 0U) << text;
    EXPECT_TRUE(text.ends_with("] - Wrong format")) << text;
    EXPECT_EQ(CTestFrames::allocated, allocated);
    return;
  }
  const bool isSensor = from == PixelFormat::RGBBAYER && to == PixelFormat::YUYV;
  if (isSensor && (width < 4 || height < 4 || width % 2 != 0)) return;  // a failure of its own
  const std::unique_ptr<CZTImageImplBase> result = image->ConvertToNew(to);
  const bool isChain = from == PixelFormat::YUVBAYERBLOCK && to == PixelFormat::YUYV;
  EXPECT_EQ(CTestFrames::allocated, allocated + (isChain ? 2 : 1));
  ASSERT_EQ(result->GetPixelFormat(), to);
  ASSERT_EQ(result->GetDx(), image->GetDxInPixels() / GetSampleDx(to));
  ASSERT_EQ(result->GetDy(), image->GetDyInPixels() / GetSampleDy(to));
  if (cell == "pixels") return;
  for (int y = 0; y < result->GetDy(); ++y) {
    const auto size = static_cast<std::size_t>(result->GetRowSize());
    EXPECT_EQ(RowOf(*result, y, size), cell == "copy" ? RowOf(*image, y, size) : Bytes(size, fill));
  }
}

TEST(ImageConvert, EveryCellOfTheMatrix) {
  const CTestFrames frames;
  for (int source = 0; source < 9; ++source)
    for (int target = 0; target < 9; ++target)
      for (const auto& [width, height] : {std::pair{0, 0}, {0, 3}, {1, 2}, {35, 18}, {80, 33}})
        CheckPair(source, target, width, height);
}

}  // namespace
