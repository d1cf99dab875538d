#include "main/target/windll/image_convert/image_convert.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimage.h"
#include "tests/support/common.h"
#include "tests/support/test_frames.h"

using namespace ztlib;
using namespace kit;

namespace {

constexpr std::uint8_t fill = 0xA5;

// What becomes of a pair: "pixels" (whose values are tested beside the model), "copy", "unwritten",
// or the refusing source.
constexpr const char* general = "image/ztimage_impl";
#define REFUSED(target) "image_convert/image_convert_to" target "_impl"
// clang-format off
constexpr const char* matrix[9][9] = {
    // to BOOL8, GRAY, RGB, YUV, YUYV, UYVY, RGBBAYER, YUVBAYERBLOCK, YUV420BLOCK
    {"copy", "pixels", "pixels", REFUSED("yuv"), REFUSED("yuyv"), REFUSED("uyvy"),
     general, general, REFUSED("yuv420block")},
    {"pixels", "copy", "pixels", "pixels", "pixels", "pixels",
     general, general, "unwritten"},
    {REFUSED("bool"), "pixels", "copy", "pixels", "pixels", "pixels",
     general, general, "unwritten"},
    {REFUSED("bool"), "pixels", "pixels", "copy", "pixels", "pixels",
     general, general, "pixels"},
    {REFUSED("bool"), "pixels", "pixels", "pixels", "copy", "pixels",
     general, general, "pixels"},
    {REFUSED("bool"), "pixels", "pixels", "pixels", "pixels", "copy",
     general, general, "unwritten"},
    {REFUSED("bool"), REFUSED("gray"), "pixels", REFUSED("yuv"), "pixels",
     REFUSED("uyvy"), general, general, REFUSED("yuv")},
    {REFUSED("bool"), "pixels", "pixels", "pixels", "pixels", REFUSED("uyvy"), general, general,
     "unwritten"},
    {REFUSED("bool"), "pixels", "pixels", "pixels", "pixels", "pixels", general, general, "copy"},
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
  const std::string cell = matrix[source][target];
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
  const CTestFrames frames(fill);
  for (int source = 0; source < 9; ++source)
    for (int target = 0; target < 9; ++target)
      for (const auto& [width, height] : {std::pair{0, 0}, {0, 3}, {1, 2}, {35, 18}, {80, 33}})
        CheckPair(source, target, width, height);
}

}  // namespace
