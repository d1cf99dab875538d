#include "main/target/windll/image_convert/image_convert_bayer.h"

#include "main/lib/base/debug.h"
#include "main/target/windll/image_convert/cell_kernels.h"

namespace ztlib {

namespace {

// Clients know this name and the lines of its failures.
constexpr char sourceName[] = "main/target/windll/image_convert";

// Row y and its neighbours; the first and the last row have the one neighbour on both sides.
SensorRows RowsAround(const BayerImageView& picture, std::int32_t y) {
  return {picture.RowBytes(y > 0 ? y - 1 : 1), picture.RowBytes(y),
          picture.RowBytes(y < picture.dy - 1 ? y + 1 : y - 1)};
}

bool IsAligned(const void* data) {
  return reinterpret_cast<std::uintptr_t>(data) % 4 == 0;
}

}  // namespace

void Convert(RgbImageView& target, const BayerImageView& source) {
  // The last column is left out because the source has no neighbour there. A target that is
  // narrower than the source gets its own last column.
  const std::int32_t width = std::min(source.dx, target.dx + 1);
  const std::int32_t bottom = std::min(source.dy - 1, target.dy);
  if (width < 3) return;
  for (std::int32_t y = 1; y < bottom; ++y)
    KernelsFor<CellKernels>().bayerToRgb[y % 2](target.RowBytes(y), RowsAround(source, y),
                                                static_cast<std::size_t>(width));
}

void Convert(YuyvImageView& target, const BayerImageView& source) {
  if (source.dx <= 3 || source.dy <= 3)
    ZT_THROW(CException, "RGBBayer pic is too small.", "Convert", sourceName, 33);
  if (!IsAligned(source.data))
    ZT_THROW(CException, "RGBbayer pic is not aligned.", "Convert", sourceName, 35);
  if (!IsAligned(target.data))
    ZT_THROW(CException, "YUYV pic is not aligned.", "Convert", sourceName, 37);
  if (source.dx % 2 != 0) ZT_THROW(CException, "RGBBayer.Dx() % 2 != 0", "Convert", sourceName, 39);
  const std::int32_t width = std::min(source.dx, 2 * target.dx);
  const std::int32_t rows = std::min(source.dy, target.dy);
  if (width < 4) return;
  for (std::int32_t y = 0; y < rows; ++y)
    KernelsFor<CellKernels>().bayerToYuyv[y % 2](target.RowBytes(y), RowsAround(source, y),
                                                 static_cast<std::size_t>(width));
}

}  // namespace ztlib
