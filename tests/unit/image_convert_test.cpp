#include "main/target/windll/image_convert/image_convert.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimage.h"
#include "tests/kit/pixels.h"
#include "tests/support/common.h"
#include "tests/support/row_kernel_shapes.h"
#include "tests/support/test_frames.h"

using namespace ztlib;
using namespace kit;

namespace {

constexpr std::uint8_t fill = 0xA5;

// The conversion of a row by the name of its kernel, one pixel after the other.
Bytes Model(const std::string& name, Bytes row) {
  const std::string from = name.substr(0, name.find("To")), to = name.substr(from.size() + 2);
  const bool fromGray = from == "bool" || from == "gray";
  const bool fromPairs = from == "yuyv" || from == "uyvy";
  for (std::size_t i = 1; i < row.size() && (from == "uyvy" || name == "yuyvToUyvy"); i += 2)
    std::swap(row[i - 1], row[i]);
  if (name == "yuyvToUyvy") return row;

  std::vector<Pixel> raw;
  for (std::size_t i = 0; i < row.size(); i += fromGray ? 1 : fromPairs ? 2 : 4) {
    const int value = from == "bool" ? (256 - row[i]) & 255 : row[i];
    const std::size_t pair = i / 4 * 4;
    if (fromGray)
      raw.push_back({value, value, value});
    else if (fromPairs)
      raw.push_back({value, row[pair + 1], row[pair + 3]});
    else
      raw.push_back({value, row[i + 1], row[i + 2]});
  }
  std::vector<Pixel> pixels = raw;
  for (std::size_t a = 1; fromPairs && a + 1 < raw.size(); a += 2)
    for (const int c : {1, 2}) {
      pixels[a][c] = (3 * raw[a][c] + raw[a + 1][c] + 2) >> 2;
      // One format blends with what is blended already.
      const int left = from == "uyvy" ? pixels[a][c] : raw[a][c];
      pixels[a + 1][c] = (left + 3 * raw[a + 1][c] + 2) >> 2;
    }
  Bytes out;
  const auto put = [&out](std::initializer_list<int> values) {
    for (const int value : values)
      out.push_back(static_cast<std::uint8_t>(value));
  };
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    Pixel& p = pixels[i];
    if (from == "rgb" || name == "grayToYuyv")
      p = RgbToYuv(p);
    else if (fromGray && to != "Rgb")
      p = {p[0], 128, 128};
    else if (to == "Rgb" && !fromGray)
      p = YuvToRgb(p);
    if (to == "Bool" || to == "Gray") put({to == "Bool" ? p[0] != 0 : p[0]});
    if (to == "Rgb" || to == "Yuv") put({p[0], p[1], p[2], fill});
    if ((to != "Yuyv" && to != "Uyvy") || i % 2 == 0) continue;
    const Pixel& l = pixels[i - 1];
    const int u = (l[1] + p[1] + 1) >> 1, v = (l[2] + p[2] + 1) >> 1;
    to == "Yuyv" ? put({l[0], u, p[0], v}) : put({u, l[0], v, p[0]});
  }
  return out;
}

// What becomes of a pair: the name of a kernel, "cells" (bytes are tested with the cell formats),
// "copy", "unwritten", or the refusing source.
constexpr const char* general = "image/ztimage_impl";
#define REFUSED(target) "image_convert/image_convert_to" target "_impl"
// clang-format off
constexpr const char* matrix[9][9] = {
    // to BOOL8, GRAY, RGB, YUV, YUYV, UYVY, RGBBAYER, YUVBAYERBLOCK, YUV420BLOCK
    {"copy", "boolToGray", "boolToRgb", REFUSED("yuv"), REFUSED("yuyv"), REFUSED("uyvy"),
     general, general, REFUSED("yuv420block")},
    {"grayToBool", "copy", "grayToRgb", "grayToYuv", "grayToYuyv", "grayToUyvy",
     general, general, "unwritten"},
    {REFUSED("bool"), "rgbToGray", "copy", "rgbToYuv", "rgbToYuyv", "rgbToUyvy",
     general, general, "unwritten"},
    {REFUSED("bool"), "yuvToGray", "yuvToRgb", "copy", "yuvToYuyv", "yuvToUyvy",
     general, general, "cells"},
    {REFUSED("bool"), "yuyvToGray", "yuyvToRgb", "yuyvToYuv", "copy", "yuyvToUyvy",
     general, general, "cells"},
    {REFUSED("bool"), "uyvyToGray", "uyvyToRgb", "uyvyToYuv", "uyvyToYuyv", "copy",
     general, general, "unwritten"},
    {REFUSED("bool"), REFUSED("gray"), "cells", REFUSED("yuv"), "cells",
     REFUSED("uyvy"), general, general, REFUSED("yuv")},
    {REFUSED("bool"), "cells", "cells", "cells", "cells", REFUSED("uyvy"), general, general,
     "unwritten"},
    {REFUSED("bool"), "cells", "cells", "cells", "cells", "cells", general, general, "copy"},
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
  if (cell == "cells") return;
  const auto* const kernel =
      std::find_if(std::begin(rowKernelShapes), std::end(rowKernelShapes),
                   [&](const RowKernelShape& shape) { return cell == shape.name; });
  for (int y = 0; y < result->GetDy(); ++y) {
    const auto size = static_cast<std::size_t>(result->GetRowSize());
    Bytes expected(size, fill);
    if (cell == "copy") {
      expected = RowOf(*image, y, size);
    } else if (kernel != std::end(rowKernelShapes)) {
      const std::size_t count = static_cast<std::size_t>(image->GetDxInPixels()) / kernel->pixels;
      expected = Model(cell, RowOf(*image, y, count * kernel->sourceBytes));
    } else {
      ASSERT_EQ(cell, "unwritten");
    }
    EXPECT_EQ(RowOf(*result, y, size), expected) << "row " << y;
  }
}

TEST(ImageConvert, EveryCellOfTheMatrix) {
  const CTestFrames frames(fill);
  for (int source = 0; source < 9; ++source)
    for (int target = 0; target < 9; ++target)
      for (const auto& [width, height] :
           {std::pair{0, 0}, {0, 3}, {1, 2}, {35, 18}, {80, 33}, {255, 5}, {641, 3}})
        CheckPair(source, target, width, height);
  for (int source = 0; source < 6; ++source)  // rows of any length at any place
    for (int target = 0; target < 6; ++target)
      for (int width = 2; width < 68; ++width)
        CheckPair(source, target, width, 5);
}

// Parts of pictures have rows that lie further apart than they are long.
TEST(ImageConvert, KeepsToTheRowsOfParts) {
  const CTestFrames frames(fill);
  YuyvImageView whole;
  UyvyImageView swapped;
  whole.Create(8, 4);
  swapped.Create(8, 4);
  const Bytes content = EdgyBytes(128), all = Model("yuyvToUyvy", content);
  std::copy(content.begin(), content.end(), whole.RowBytes(0));
  auto part = UyvyImageView::MapOf(swapped, {5, 0, 3, 2});
  Convert(part, YuyvImageView::MapOf(whole, {3, 1, 2, 3}));
  Bytes expected(128, fill);
  for (const std::size_t y : {0, 1})
    std::copy_n(&all[32 * y + 44], 8, &expected[32 * y + 20]);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), swapped.RowBytes(0)));
}

}  // namespace
