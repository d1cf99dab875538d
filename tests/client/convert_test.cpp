#include "tests/client/client_run.h"
#include "tests/support/common.h"

namespace {

TEST_F(ClientTest, ConvertTakesTilesApartAndBack) {
  Bytes tiles;
  for (int tile = 0; tile < 6; ++tile) {
    tiles.insert(tiles.end(), 256, static_cast<std::uint8_t>(90 + tile));
    tiles.insert(tiles.end(), 64, 100);
    tiles.insert(tiles.end(), 64, 170);
  }
  WriteBytes(Path("in.raw"), tiles);
  const std::string size = " --size 48x32";
  ASSERT_EQ(
      Run("ztinside convert @in.raw --from yuv420block --to yuyv" + size + " --out @pairs").status,
      0);
  ASSERT_EQ(
      Run("ztinside convert @pairs --from yuyv --to yuv420block" + size + " --out @tiles").status,
      0);
  EXPECT_EQ(ReadBytes(Path("tiles")), tiles);
  const CRun run =
      Run("ztinside convert @in.raw --from yuv420block --to rgb" + size + " --out @rgb");
  EXPECT_EQ(run.output,
            Path("in.raw") + ": yuv420block of 48x32\n" + Path("rgb") + ": rgb of 48x32\n");
  const Bytes rgb = ReadBytes(Path("rgb"));
  ASSERT_EQ(rgb.size(), 48U * 32 * 4);
  EXPECT_EQ(Bytes(rgb.begin(), rgb.begin() + 3), (Bytes{40, 69, 148}));
}

TEST_F(ClientTest, ConvertTakesAMosaicFromAGrayPng) {
  WriteBytes(Path("mosaic.raw"), NoiseBytes(40 * 30));
  ASSERT_EQ(Run("ztinside convert @mosaic.raw --from gray --to gray --size 40x30 --out @mosaic.png")
                .status,
            0);
  ASSERT_EQ(Run("ztinside convert @mosaic.png --from rgbbayer --to yuyv --out @a").status, 0);
  ASSERT_EQ(
      Run("ztinside convert @mosaic.raw --from rgbbayer --to yuyv --size 40x30 --out @b").status,
      0);
  EXPECT_EQ(ReadBytes(Path("a")).size(), 40U * 30 * 2);
  EXPECT_EQ(ReadBytes(Path("a")), ReadBytes(Path("b")));
  // What is not given a name is put beside its input, as a picture if it is one.
  ASSERT_EQ(Run("ztinside convert @mosaic.png --from gray --to rgb").status, 0);
  ASSERT_EQ(Run("ztinside convert @mosaic-rgb.png --from rgb --to gray --out @gray.raw").status, 0);
  EXPECT_EQ(ReadBytes(Path("gray.raw")), ReadBytes(Path("mosaic.raw")));
  ExpectErrors({{"ztinside convert @mosaic-rgb.png --from bool8 --to gray", "; it is rgb"}});
}

TEST_F(ClientTest, ConvertNamesWhatItCannotDo) {
  WriteBytes(Path("in.raw"), NoiseBytes(24));
  ExpectErrors({
      {"ztinside convert @in.raw --from gray --to rgb --out @out", "needs its --size"},
      {"ztinside convert @in.raw --from yuyv --to rgb --size 3x2 --out @out",
       "whole samples of yuyv (2x1 pixels)"},
      {"ztinside convert @in.raw --from gray --to rgb --size 5x5 --out @out",
       "24 bytes, but gray of 5x5 is 25"},
      {"ztinside convert @in.raw --from gray --to yuv420block --size 6x4 --out @out",
       "too small for a sample"},
      {"ztinside convert @in.raw --from rgbbayer --to yuyv --size 3x8 --out @out",
       "] - RGBBayer pic is too small."},
      {"ztinside convert @in.raw --from rgbbayer --to gray --size 6x4 --out @out",
       "rgbbayer does not become gray: Exception [main/target/windll/image_convert/"},
      {"ztinside convert @none.raw --from gray --to rgb --size 6x4 --out @out",
       "none.raw: cannot open"},
      {"ztinside convert @none.png --from yuyv --to rgb --out @out",
       "gray, rgb or rgbbayer, not of yuyv"},
  });
  EXPECT_FALSE(std::filesystem::exists(Path("out")));
}

}  // namespace
