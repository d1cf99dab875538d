#include "main/target/windll/image_convert/cell_kernels.h"

#include "main/target/windll/image_convert/image_convert_bayer.h"
#include "main/target/windll/image_convert/image_convert_bayer_block.h"
#include "main/target/windll/image_convert/image_convert_toyuv420block_impl.h"
#include "main/target/windll/image_convert/image_convert_yuv420.h"

namespace ztlib {

constinit const CellKernels CellKernels::ZTLIB_INSTRUCTION_SET = {
    .bayerToRgb = {BayerToRgb<GreenRed>, BayerToRgb<BlueGreen>},
    .bayerToYuyv = {BayerToYuyv<GreenRed>, BayerToYuyv<BlueGreen>},
    .blockToGray = BlockToGray,
    .blockToRgb = BlockToPixels<BlockRgb>,
    .blockToYuv = BlockToPixels<BlockYuv>,
    .blockBorderToRgb = BlockBorderToRgb,
    .tilesToRgb = TilesToPixels<TileRgb, false>,
    .tilesToYuv = TilesToPixels<TileYuv, false>,
    .tilesToYuvAcross = TilesToPixels<TileYuv, true>,
    .tilesToYuyv = TilesToPairs<Yuyv>,
    .tilesToUyvy = TilesToPairs<Uyvy>,
    .yuvToTiles = PixelsToTiles<FromYuv>,
    .yuyvToTiles = PixelsToTiles<FromYuyv>,
};

}  // namespace ztlib
