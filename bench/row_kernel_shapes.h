#pragma once

#include "main/target/windll/image_convert/row_kernels.h"

#include <cstddef>
#include <iterator>

using namespace ztlib;

// How many pixels and bytes a row kernel reads and writes for a count of one.
struct RowKernelShape {
  const char* name;
  RowKernels::Row RowKernels::*row;
  std::size_t pixels;
  std::size_t sourceBytes;
  std::size_t targetBytes;
};

#define ZT_SHAPE(kernel, ...) \
  { #kernel, &RowKernels::kernel, __VA_ARGS__ }
inline constexpr RowKernelShape rowKernelShapes[] = {
    ZT_SHAPE(boolToGray, 1, 1, 1), ZT_SHAPE(boolToRgb, 1, 1, 4),  ZT_SHAPE(grayToBool, 1, 1, 1),
    ZT_SHAPE(grayToRgb, 1, 1, 4),  ZT_SHAPE(grayToYuv, 1, 1, 4),  ZT_SHAPE(grayToYuyv, 2, 2, 4),
    ZT_SHAPE(grayToUyvy, 2, 2, 4), ZT_SHAPE(rgbToGray, 1, 4, 1),  ZT_SHAPE(rgbToYuv, 1, 4, 4),
    ZT_SHAPE(rgbToYuyv, 2, 8, 4),  ZT_SHAPE(rgbToUyvy, 2, 8, 4),  ZT_SHAPE(yuvToGray, 1, 4, 1),
    ZT_SHAPE(yuvToRgb, 1, 4, 4),   ZT_SHAPE(yuvToYuyv, 2, 8, 4),  ZT_SHAPE(yuvToUyvy, 2, 8, 4),
    ZT_SHAPE(yuyvToGray, 2, 4, 2), ZT_SHAPE(yuyvToRgb, 2, 4, 8),  ZT_SHAPE(yuyvToYuv, 2, 4, 8),
    ZT_SHAPE(yuyvToUyvy, 2, 4, 4), ZT_SHAPE(uyvyToGray, 2, 4, 2), ZT_SHAPE(uyvyToRgb, 2, 4, 8),
    ZT_SHAPE(uyvyToYuv, 2, 4, 8),  ZT_SHAPE(uyvyToYuyv, 2, 4, 4),
};
#undef ZT_SHAPE
static_assert(sizeof(RowKernels) == std::size(rowKernelShapes) * sizeof(RowKernels::Row));
