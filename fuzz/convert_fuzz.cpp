#include "fuzz/codec_fuzz.h"
#include "main/lib/base/exceptions.h"
#include "main/target/windll/image/ztimage.h"
#include "main/target/windll/image_convert/cell_kernels.h"
#include "tests/support/row_kernel_shapes.h"

using namespace ztlib;

namespace {

using codec_fuzz::Bytes;

// Content repeats if the picture needs more than there is.
void Fill(std::uint8_t* target, std::size_t size, const std::uint8_t* content, std::size_t length) {
  for (std::size_t i = 0; i < size; ++i)
    target[i] = length == 0 ? 0 : content[i % length];
}

void TryConversion(const CZTImageImplBase& image, PixelFormat target) {
  try {
    Require(image.ConvertToNew(target)->GetPixelFormat() == target);
  } catch (const CException&) {  // a refused pair, format or sensor picture; nothing else is thrown
  }
}

// A picture and what is left of it without a column on either side and a row above and below.
void ConvertPicture(PixelFormat source, PixelFormat target, int width, int height,
                    const std::uint8_t* content, std::size_t length) {
  const auto image = CreateNewImageBase(source, width, height);
  const int rowSize = image->GetRowSize();
  for (int y = 0; rowSize > 0 && y < height; ++y)
    Fill(static_cast<std::uint8_t*>(image->GetPtrAt(0, y)), static_cast<std::size_t>(rowSize),
         content, length);
  TryConversion(*image, target);
  if (width > 2 && height > 2)
    TryConversion(*image->CreateMapOfRect({1, 1, width - 2, height - 2}), target);
}

void ComparePaths(const RowKernelShape& shape, std::size_t count, const std::uint8_t* content,
                  std::size_t length) {
  Bytes source(count * shape.sourceBytes);
  Fill(source.data(), source.size(), content, length);
  Bytes baseline(count * shape.targetBytes, 0x5A);
  Bytes best = baseline;
  (RowKernels::baseline.*shape.row)(baseline.data(), source.data(), count);
  (KernelsFor<RowKernels>().*shape.row)(best.data(), source.data(), count);
  Require(baseline == best);
}

// A kernel of the formats with samples in two dimensions, on `count` pixels, groups or tiles.
void RunCell(const CellKernels& table, std::uint8_t kernel, std::uint8_t* target,
             const std::uint8_t* source, std::size_t count) {
  const std::size_t row = 4 * (count + 2);
  const SensorRows rows = {source + 4, source + row + 4, source + 2 * row + 4};
  const TileRow tiles = {source, source + 256, source + 264};
  const TileRow unblended = {source + 128, source + 256, source + 256};
  switch (kernel % 10) {
    case 0:
      if (count >= 3) table.bayerToRgb[kernel / 10 % 2](target, rows, count);
      return;
    case 1:
      if (count >= 4) table.bayerToYuyv[kernel / 10 % 2](target, rows, count & ~std::size_t{1});
      return;
    case 2:
      return table.blockToGray(target, target + 2 * count, rows, count);
    case 3:
      return table.blockToRgb(target, target + 8 * count, rows, count);
    case 4:
      return table.blockToYuv(target, target + 8 * count, rows, count);
    case 5:
      return table.tilesToRgb(target, kernel / 10 % 2 ? tiles : unblended, count);
    case 6:
      return (kernel / 20 % 2 ? table.tilesToYuv : table.tilesToYuvAcross)(
          target, kernel / 10 % 2 ? tiles : unblended, count);
    case 7:
      return table.tilesToYuyv(target, target + 32 * count,
                               {source, source + 264, kernel / 10 % 2 ? source + 256 : nullptr,
                                kernel / 20 % 2 ? source + 272 : nullptr},
                               count);
    case 8:
      return table.yuvToTiles(target, target + 256, source, source + 64 * count, count);
    default:
      return table.yuyvToTiles(target, target + 256, source, source + 32 * count, count);
  }
}

void CompareCells(std::uint8_t kernel, std::size_t count, const std::uint8_t* content,
                  std::size_t length) {
  Bytes source(384 * count + 32);
  Fill(source.data(), source.size(), content, length);
  Bytes baseline(384 * count + 32, 0x5A);
  Bytes best = baseline;
  RunCell(CellKernels::baseline, kernel, baseline.data(), source.data(), count);
  RunCell(KernelsFor<CellKernels>(), kernel, best.data(), source.data(), count);
  Require(baseline == best);
}

}  // namespace

// Five bytes choose the formats, the size and the kernels, the others are pixels. No frame is left
// behind, and the baseline and the best instruction set give the same bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  const std::uint8_t* const content = data + 5;
  ConvertPicture(static_cast<PixelFormat>(data[0] % 9), static_cast<PixelFormat>(data[1] % 11),
                 data[2], data[3] % 8, content, size - 5);
  Require(codec_fuzz::framesAlive == 0);
  ComparePaths(rowKernelShapes[data[4] % std::size(rowKernelShapes)], data[2], content, size - 5);
  CompareCells(data[4], data[2], content, size - 5);
  return 0;
}
