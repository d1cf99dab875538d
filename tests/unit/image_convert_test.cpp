#include "main/target/windll/image_convert/image_convert.h"

#include "main/lib/base/exceptions.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image/ztimage.h"
#include "main/target/windll/image_convert/row_kernels_variants.h"
#include "tests/support/guarded_memory.h"
#include "tests/support/pixel_model.h"
#include "tests/support/row_kernel_shapes.h"
#include "tests/support/test_frames.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

// The model: a row is a list of pixels of three values, and every conversion a chain of the steps
// that the formats' definitions name, one pixel after the other.
using Pixels = std::vector<Pixel>;
constexpr std::uint8_t fill = 0xA5;

Pixels Read1(const Bytes& row) {
  Pixels pixels;
  for (const int value : row)
    pixels.push_back({value, 0, 0});
  return pixels;
}
Pixels Read4(const Bytes& row) {
  Pixels pixels;
  for (std::size_t i = 0; i < row.size(); i += 4)
    pixels.push_back({row[i], row[i + 1], row[i + 2]});
  return pixels;
}
Bytes Write1(const Pixels& pixels) {
  Bytes row;
  for (const Pixel& p : pixels)
    row.push_back(static_cast<std::uint8_t>(p[0]));
  return row;
}
Bytes Write4(const Pixels& pixels) {
  Bytes row;
  for (const Pixel& p : pixels) {
    for (const int value : p)
      row.push_back(static_cast<std::uint8_t>(value));
    row.push_back(fill);
  }
  return row;
}
Bytes Swap(Bytes row) {
  for (std::size_t i = 0; i < row.size(); i += 2)
    std::swap(row[i], row[i + 1]);
  return row;
}
Pixels Each(Pixels pixels, Pixel (*step)(const Pixel&)) {
  for (Pixel& p : pixels)
    p = step(p);
  return pixels;
}

Pixel BoolToGray(const Pixel& p) {
  return {(256 - p[0]) & 255, 0, 0};
}
Pixel GrayToBool(const Pixel& p) {
  return {p[0] ? 1 : 0, 0, 0};
}
Pixel GrayToRgb(const Pixel& p) {
  return {p[0], p[0], p[0]};
}
Pixel GrayToYuv(const Pixel& p) {
  return {p[0], 128, 128};
}
Bytes YuvToYuyv(const Pixels& pixels) {
  Bytes row;
  for (std::size_t i = 0; i + 1 < pixels.size(); i += 2) {
    const Pixel& l = pixels[i];
    const Pixel& r = pixels[i + 1];
    for (const int value : {l[0], (l[1] + r[1] + 1) >> 1, r[0], (l[2] + r[2] + 1) >> 1})
      row.push_back(static_cast<std::uint8_t>(value));
  }
  return row;
}
Pixels Expand(const Bytes& yuyv) {
  Pixels pixels;
  for (std::size_t i = 0; i < yuyv.size(); i += 4)
    for (const int y : {yuyv[i], yuyv[i + 2]})
      pixels.push_back({y, yuyv[i + 1], yuyv[i + 3]});
  return pixels;
}
Pixels YuyvToYuv(const Bytes& yuyv) {
  const Pixels raw = Expand(yuyv);
  Pixels pixels = raw;
  for (std::size_t a = 1; a + 1 < raw.size(); a += 2)
    for (const int c : {1, 2}) {
      pixels[a][c] = (3 * raw[a][c] + raw[a + 1][c] + 2) >> 2;
      pixels[a + 1][c] = (3 * raw[a + 1][c] + raw[a][c] + 2) >> 2;
    }
  return pixels;
}
Pixels UyvyToYuv(const Bytes& uyvy) {
  Pixels pixels = Expand(Swap(uyvy));
  for (std::size_t a = 1; a + 1 < pixels.size(); a += 2)
    for (const int c : {1, 2}) {
      pixels[a][c] = (3 * pixels[a][c] + pixels[a + 1][c] + 2) >> 2;
      pixels[a + 1][c] = (pixels[a][c] + 3 * pixels[a + 1][c] + 2) >> 2;
    }
  return pixels;
}

using Model = Bytes (*)(const Bytes&);
const std::map<std::string, Model> models = {
    {"boolToGray", [](auto& s) { return Write1(Each(Read1(s), BoolToGray)); }},
    {"boolToRgb", [](auto& s) { return Write4(Each(Each(Read1(s), BoolToGray), GrayToRgb)); }},
    {"grayToBool", [](auto& s) { return Write1(Each(Read1(s), GrayToBool)); }},
    {"grayToRgb", [](auto& s) { return Write4(Each(Read1(s), GrayToRgb)); }},
    {"grayToYuv", [](auto& s) { return Write4(Each(Read1(s), GrayToYuv)); }},
    {"grayToYuyv", [](auto& s) { return YuvToYuyv(Each(Each(Read1(s), GrayToRgb), RgbToYuv)); }},
    {"grayToUyvy", [](auto& s) { return Swap(YuvToYuyv(Each(Read1(s), GrayToYuv))); }},
    {"rgbToGray", [](auto& s) { return Write1(Each(Read4(s), RgbToYuv)); }},
    {"rgbToYuv", [](auto& s) { return Write4(Each(Read4(s), RgbToYuv)); }},
    {"rgbToYuyv", [](auto& s) { return YuvToYuyv(Each(Read4(s), RgbToYuv)); }},
    {"rgbToUyvy", [](auto& s) { return Swap(YuvToYuyv(Each(Read4(s), RgbToYuv))); }},
    {"yuvToGray", [](auto& s) { return Write1(Read4(s)); }},
    {"yuvToRgb", [](auto& s) { return Write4(Each(Read4(s), YuvToRgb)); }},
    {"yuvToYuyv", [](auto& s) { return YuvToYuyv(Read4(s)); }},
    {"yuvToUyvy", [](auto& s) { return Swap(YuvToYuyv(Read4(s))); }},
    {"yuyvToGray", [](auto& s) { return Write1(YuyvToYuv(s)); }},
    {"yuyvToRgb", [](auto& s) { return Write4(Each(YuyvToYuv(s), YuvToRgb)); }},
    {"yuyvToYuv", [](auto& s) { return Write4(YuyvToYuv(s)); }},
    {"yuyvToUyvy", [](auto& s) { return Swap(s); }},
    {"uyvyToGray", [](auto& s) { return Write1(UyvyToYuv(s)); }},
    {"uyvyToRgb", [](auto& s) { return Write4(Each(UyvyToYuv(s), YuvToRgb)); }},
    {"uyvyToYuv", [](auto& s) { return Write4(UyvyToYuv(s)); }},
    {"uyvyToYuyv", [](auto& s) { return YuvToYuyv(UyvyToYuv(s)); }},
};

void CheckKernels(const RowKernels& table) {
  const GuardedMemory sourceMemory(20100 * 8);
  const GuardedMemory targetMemory(20100 * 8);
  std::vector<std::size_t> counts = {255, 641, 20011};
  for (std::size_t count = 0; count <= 67; ++count)
    counts.push_back(count);
  for (const RowKernelShape& kernel : rowKernelShapes)
    for (const std::size_t count : counts) {
      const Bytes source = RandomBytes(count * kernel.sourceBytes);
      const Bytes expected = models.at(kernel.name)(source);
      ASSERT_EQ(expected.size(), count * kernel.targetBytes) << kernel.name;
      for (const bool atEnd : {false, true})
        for (const std::size_t offset : {0, 1, 3}) {
          std::uint8_t* const from = sourceMemory.Room(source.size(), offset, atEnd);
          std::uint8_t* const to = targetMemory.Room(expected.size(), 2 * offset, atEnd);
          std::copy(source.begin(), source.end(), from);
          std::fill_n(to, expected.size(), fill);
          (table.*kernel.row)(to, from, count);
          ASSERT_EQ(Bytes(to, to + expected.size()), expected)
              << kernel.name << " of " << count << " at " << offset << atEnd;
        }
    }
}

TEST(ImageConvert, BaselineKernelsFollowTheModel) {
  CheckKernels(baselineRows);
}

#if defined(ZTLIB_AVX2)
TEST(ImageConvert, Avx2KernelsFollowTheModel) {
  if (!__builtin_cpu_supports("avx2")) GTEST_SKIP();
  CheckKernels(avx2Rows);
}
#endif

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
    const Bytes row = RandomBytes(static_cast<std::size_t>(image->GetRowSize()));
    if (!row.empty()) std::memcpy(image->GetPtrAt(0, y), row.data(), row.size());
  }
  const std::string cell = matrix[source][target];
  SCOPED_TRACE(cell + " " + std::to_string(source) + " " + std::to_string(target) + " " +
               std::to_string(width) + "x" + std::to_string(height));
  const int allocated = CTestFrames::allocated;
  if (cell.find('/') != std::string::npos) {
    try {
      (void)image->ConvertToNew(to);
      ADD_FAILURE() << "not refused";
    } catch (const CException& e) {
      const std::string text = e.what();
      EXPECT_EQ(text.rfind("Exception [main/target/windll/" + cell + ":", 0), 0U) << text;
      EXPECT_EQ(text.substr(text.find(']')), "] - Wrong format");
    }
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
      expected = models.at(cell)(RowOf(*image, y, count * kernel->sourceBytes));
    } else {
      ASSERT_EQ(cell, "unwritten");
    }
    EXPECT_EQ(RowOf(*result, y, size), expected) << "row " << y;
  }
}

TEST(ImageConvert, EveryCellOfTheMatrix) {
  const CTestFrames frames(&frame_manager::Register, fill);
  for (int source = 0; source < 9; ++source)
    for (int target = 0; target < 9; ++target)
      for (const auto& [width, height] :
           {std::pair{0, 0}, {0, 3}, {1, 2}, {2, 1}, {3, 1}, {35, 18}, {80, 33}})
        CheckPair(source, target, width, height);
}

// Parts of pictures have rows that lie further apart than they are long.
TEST(ImageConvert, KeepsToTheRowsOfParts) {
  const CTestFrames frames(&frame_manager::Register, fill);
  YuyvImageView whole;
  whole.Create(8, 4);
  const Bytes content = RandomBytes(128);
  std::memcpy(whole.data, content.data(), content.size());
  const auto part = YuyvImageView::MapOf(whole, {3, 1, 2, 3});
  UyvyImageView swapped;
  swapped.Create(8, 4);
  auto swappedPart = UyvyImageView::MapOf(swapped, {5, 0, 3, 2});
  Convert(swappedPart, part);
  Bytes expected(128, fill);
  const Bytes all = Swap(content);
  for (const std::size_t y : {0, 1})
    std::copy_n(all.begin() + static_cast<int>(32 * (y + 1) + 12), 8,
                expected.begin() + static_cast<int>(32 * y + 20));
  const auto* const bytes = swapped.RowBytes(0);
  EXPECT_EQ(Bytes(bytes, bytes + 128), expected);
}

}  // namespace
