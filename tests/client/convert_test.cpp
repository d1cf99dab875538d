#include "tests/client/client_run.h"

namespace {

TEST_F(ClientTest, ConvertTakesTilesApartAndBack) {
  Bytes tiles;
  for (int tile = 0; tile < 6; ++tile) {
    tiles.insert(tiles.end(), 256, static_cast<std::uint8_t>(90 + tile));
    tiles.insert(tiles.end(), 64, 100);
    tiles.insert(tiles.end(), 64, 170);
  }
  WriteBytes(Path("in.raw"), tiles);
  const std::string convert = "ztinside convert --size 48x32 ";
  Succeed(convert + "@in.raw --from yuv420block --to yuyv --out @pairs");
  Succeed(convert + "@pairs --from yuyv --to yuv420block --out @tiles");
  EXPECT_EQ(ReadBytes(Path("tiles")), tiles);
}

TEST_F(ClientTest, ConvertTakesAMosaicFromAGrayPng) {
  WriteBytes(Path("mosaic.raw"), NoiseBytes(40 * 30));
  const std::string convert = "ztinside convert ";
  Succeed(convert + "@mosaic.raw --from gray --to gray --size 40x30 --out @mosaic.png");
  Succeed(convert + "@mosaic.png --from rgbbayer --to yuyv --out @a");
  Succeed(convert + "@mosaic.raw --from rgbbayer --to yuyv --size 40x30 --out @b");
  EXPECT_EQ(ReadBytes(Path("a")).size(), 40U * 30 * 2);
  EXPECT_EQ(ReadBytes(Path("a")), ReadBytes(Path("b")));
  // A result without a name goes to the folder of its input, as a PNG file if it can be shown.
  Succeed(convert + "@mosaic.png --from gray --to rgb");
  Succeed(convert + "@mosaic-rgb.png --from rgb --to gray --out @gray.raw");
  EXPECT_EQ(ReadBytes(Path("gray.raw")), ReadBytes(Path("mosaic.raw")));
  ExpectError(convert + "@mosaic-rgb.png --from bool8 --to gray", "; it is rgb");
}

TEST_F(ClientTest, ConvertNamesWhatItCannotDo) {
  WriteBytes(Path("in.raw"), NoiseBytes(24));
  for (const auto& [arguments, text] :
       {std::pair{"@in.raw --from gray --to rgb", "needs its --size"},
        {"@in.raw --from yuyv --to rgb --size 3x2", "whole samples of yuyv (2x1 pixels)"},
        {"@in.raw --from gray --to rgb --size 5x5", "24 bytes, but gray of 5x5 is 25"},
        {"@in.raw --from rgbbayer --to yuyv --size 3x8", "] - RGBBayer pic is too small."},
        {"@none.png --from yuyv --to rgb", "gray, rgb or rgbbayer, not of yuyv"}})
    ExpectError("ztinside convert " + std::string(arguments) + " --out @out", text);
  EXPECT_FALSE(fs::exists(Path("out")));
}

}  // namespace
