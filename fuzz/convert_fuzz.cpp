#include "fuzz/codec_fuzz.h"
#include "main/lib/base/exceptions.h"
#include "main/target/windll/image/ztimage.h"
#include "main/target/windll/image_convert/row_kernels_variants.h"
#include "tests/support/row_kernel_shapes.h"

namespace {

using codec_fuzz::Bytes;

// Content repeats if the picture needs more than there is.
void Fill(std::uint8_t* target, std::size_t size, const std::uint8_t* content, std::size_t length) {
  for (std::size_t i = 0; i < size; ++i)
    target[i] = length == 0 ? 0 : content[i % length];
}

void ConvertPicture(PixelFormat source, PixelFormat target, int width, int height,
                    const std::uint8_t* content, std::size_t length) {
  const auto image = CreateNewImageBase(source, width, height);
  const int rowSize = image->GetRowSize();
  for (int y = 0; rowSize > 0 && y < height; ++y)
    Fill(static_cast<std::uint8_t*>(image->GetPtrAt(0, y)), static_cast<std::size_t>(rowSize),
         content, length);
  try {
    Require(image->ConvertToNew(target)->GetPixelFormat() == target);
  } catch (const CException&) {  // a refused pair or format; nothing else is thrown
  }
}

#if defined(ZTLIB_AVX2)
void ComparePaths(const RowKernelShape& shape, std::size_t count, const std::uint8_t* content,
                  std::size_t length) {
  Bytes source(count * shape.sourceBytes);
  Fill(source.data(), source.size(), content, length);
  Bytes baseline(count * shape.targetBytes, 0x5A);
  Bytes avx2 = baseline;
  (baselineRows.*shape.row)(baseline.data(), source.data(), count);
  (avx2Rows.*shape.row)(avx2.data(), source.data(), count);
  Require(baseline == avx2);
}
#endif

}  // namespace

// Five bytes choose the formats, the size and the kernel, the others are pixels. No frame is left
// behind, and the paths for both instruction sets give the same bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  const std::uint8_t* const content = data + 5;
  ConvertPicture(static_cast<PixelFormat>(data[0] % 9), static_cast<PixelFormat>(data[1] % 11),
                 data[2], data[3] % 8, content, size - 5);
  Require(codec_fuzz::framesAlive == 0);
#if defined(ZTLIB_AVX2)
  if (__builtin_cpu_supports("avx2"))
    ComparePaths(rowKernelShapes[data[4] % std::size(rowKernelShapes)], data[2], content, size - 5);
#endif
  return 0;
}
