#include "main/target/windll/image_convert/row_kernels.h"

#include "main/target/windll/image_convert/image_convert_tobool_impl.h"
#include "main/target/windll/image_convert/image_convert_togray_impl.h"
#include "main/target/windll/image_convert/image_convert_torgb_impl.h"
#include "main/target/windll/image_convert/image_convert_touyvy_impl.h"
#include "main/target/windll/image_convert/image_convert_toyuv_impl.h"
#include "main/target/windll/image_convert/image_convert_toyuyv_impl.h"

namespace ztlib {

constinit const RowKernels RowKernels::ZTLIB_INSTRUCTION_SET = {
    .boolToGray = BoolToGray,
    .boolToRgb = GrayToRgb<true>,
    .grayToBool = GrayToBool,
    .grayToRgb = GrayToRgb<false>,
    .grayToYuv = GrayToYuv,
    .grayToYuyv = GrayToPairs<Yuyv>,
    .grayToUyvy = GrayToPairs<Uyvy>,
    .rgbToGray = RgbToGray,
    .rgbToYuv = RgbToYuv,
    .rgbToYuyv = RgbToPairs<Yuyv>,
    .rgbToUyvy = RgbToPairs<Uyvy>,
    .yuvToGray = YuvToGray,
    .yuvToRgb = YuvToRgb,
    .yuvToYuyv = YuvToPairs<Yuyv>,
    .yuvToUyvy = YuvToPairs<Uyvy>,
    .yuyvToGray = PairsToGray<Yuyv>,
    .yuyvToRgb = PairsToRgb<Yuyv>,
    .yuyvToYuv = PairsToYuv<Yuyv>,
    .yuyvToUyvy = YuyvToUyvy,
    .uyvyToGray = PairsToGray<Uyvy>,
    .uyvyToRgb = PairsToRgb<Uyvy>,
    .uyvyToYuv = PairsToYuv<Uyvy>,
    .uyvyToYuyv = UyvyToYuyv,
};

}  // namespace ztlib
