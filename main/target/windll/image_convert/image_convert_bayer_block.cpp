#include "main/target/windll/image_convert/image_convert_bayer_block.h"

#include "main/target/windll/image_convert/cell_kernels.h"
#include "main/target/windll/image_convert/image_convert_toyuyv_impl.h"

namespace ztlib {

namespace {

// The groups that both pictures have.
template <class Target>
struct GroupCounts {
  GroupCounts(const TCImageView<Target>& target, const BayerBlockImageView& source)
      : dx(std::min(source.dx, target.dx / 2)), dy(std::min(source.dy, target.dy / 2)) {}
  std::int32_t dx, dy;
};

// Groups have neighbours but at the border of the picture, whose pixels stay as they are.
template <class Target>
void ConvertInside(TCImageView<Target>& target, const BayerBlockImageView& source,
                   CellKernels::Groups kernel) {
  const GroupCounts groups(target, source);
  if (groups.dx < 3) return;
  const auto row = [&](std::int32_t j) { return source.RowBytes(j) + 4; };
  constexpr std::size_t toInside = 2 * sizeof(Target);
  for (std::int32_t j = 1; j < groups.dy - 1; ++j)
    kernel(target.RowBytes(2 * j) + toInside, target.RowBytes(2 * j + 1) + toInside,
           {row(j - 1), row(j), row(j + 1)}, static_cast<std::size_t>(groups.dx - 2));
}

}  // namespace

void Convert(GrayImageView& target, const BayerBlockImageView& source) {
  ConvertInside(target, source, KernelsFor<CellKernels>().blockToGray);
}

void Convert(YuvImageView& target, const BayerBlockImageView& source) {
  ConvertInside(target, source, KernelsFor<CellKernels>().blockToYuv);
}

// The border is made of single groups: rows have luma of one kind, columns of both.
void Convert(RgbImageView& target, const BayerBlockImageView& source) {
  ConvertInside(target, source, KernelsFor<CellKernels>().blockToRgb);
  const GroupCounts groups(target, source);
  if (groups.dx == 0 || groups.dy == 0) return;
  const auto fill = KernelsFor<CellKernels>().blockBorderToRgb;
  for (const std::int32_t j : {0, groups.dy - 1})
    for (const int lower : {0, 1})
      fill(target.RowBytes(2 * j + lower), source.RowBytes(j), lower, lower,
           static_cast<std::size_t>(groups.dx));
  for (std::int32_t y = 2; y < 2 * groups.dy - 2; ++y)
    for (const std::int32_t i : {0, groups.dx - 1})
      fill(target.RowBytes(y) + 8 * std::ptrdiff_t{i},
           source.RowBytes(y / 2) + 4 * std::ptrdiff_t{i}, 0, 1, 1);
}

void Convert(YuyvImageView& target, const BayerBlockImageView& source) {
  YuvImageView yuv;
  yuv.Create(2 * source.dx, 2 * source.dy);
  Convert(yuv, source);
  Convert(target, yuv);
}

}  // namespace ztlib
