// Tests layered video as the client's users know it.
#include "tests/client/client_run.h"

#include <sstream>

namespace {

class LayersTest : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    // At this quality, which is above that of the tests, the pictures are nearly the drawn ones.
    Succeed("demo --frames 12 --size 320x240 --quality 99 --out @.");
    Succeed("play @demo.zts --pixels yuv --video @a.mkv");
  }

  // Records, and returns the PSNR that the client prints.
  double Record(const std::string& format, const std::string& name = "l.zts") const {
    const CRun run = Succeed("record @a.mkv @" + name + " --psnr --format " + format);
    const std::size_t at = run.output.find("PSNR ");
    return at == std::string::npos ? 0 : std::atof(run.output.c_str() + at + 5);
  }
};

TEST_F(LayersTest, RecordingsAreAsGoodAndAboutAsSmallAsJpeg) {
  for (const auto& [format, jpeg, lowest] :
       {std::tuple{"layered --quality 95", "mjpeg --quality 95", 42},
        {"layered --quality 5", "mjpeg --quality 5", 20},
        {"layereddiff --quality 75", "mjpegdiff --quality 75", 30}}) {
    const double psnr = Record(format);
    EXPECT_GT(psnr, lowest) << format;
    EXPECT_GT(psnr, Record(jpeg, "j.zts") - 1) << format;
    const double bytes = Info("l.zts")["totals"]["bytes"], other = Info("j.zts")["totals"]["bytes"];
    EXPECT_LT(bytes, 1.3 * other + 12 * 500) << format;
  }
}

TEST_F(LayersTest, SplitAndJoinedAgainIsTheSameFile) {
  for (const std::string format : {"layered", "layereddiff --key-interval 5 --no-overflow-keys"}) {
    Record(format);
    // Lost differential frames change no other picture.
    const std::vector<Bytes> whole = Play("l.zts");
    const bool isKeys = format == "layered";
    EXPECT_TRUE(Play("l.zts --drop plain") ==
                (isKeys ? whole : std::vector<Bytes>{whole.at(0), whole.at(5), whole.at(10)}));
    Succeed("layers split @l.zts @parts");
    Succeed("layers join @parts @again.zts");
    EXPECT_TRUE(ReadBytes(Path("again.zts")) == ReadBytes(Path("l.zts"))) << format;

    std::istringstream table(Run("layers sizes @l.zts").output);
    std::string line;
    std::getline(table, line);
    std::uint64_t sums[4] = {frames * 256, frames * 32, frames * 32, frames * 32};
    for (int i = 0; i < frames; ++i) {
      std::uint64_t size = 0;
      table >> size;  // the frame's number
      for (std::uint64_t& sum : sums)
        sum += table >> size ? size : 0;
      std::getline(table, line);
    }
    for (std::size_t i = 0; i < 4; ++i)
      EXPECT_EQ(sums[i], fs::file_size(Path("parts/layer" + std::to_string(i) + ".zts"))) << i;

    // Each scale needs only the first layers.
    for (const int layers : {3, 2, 1}) {
      fs::remove(Path("parts/layer" + std::to_string(layers) + ".zts"));
      Succeed(std::string("layers join @parts @cut.zts") + (layers == 2 ? " --layers 2" : ""));
      const int scale = 1 << (4 - layers);
      EXPECT_TRUE(Play("cut.zts", scale) == Play("l.zts", scale)) << format << layers;
      EXPECT_FALSE(Play("cut.zts", scale / 2) == Play("l.zts", scale / 2)) << format << layers;
      const std::string sizes = Run("layers sizes @cut.zts").output;
      EXPECT_EQ(Count(sizes, "-"), static_cast<std::size_t>(frames * (4 - layers))) << sizes;
    }
  }
}

TEST_F(LayersTest, MistakesAreNamed) {
  Record("layereddiff");
  Succeed("layers split @l.zts @parts");
  Succeed("layers join @parts @cut.zts --layers 1");
  Succeed("record @a.mkv @few.zts --format layereddiff --frames 5");
  Succeed("layers split @few.zts @few");
  for (const auto& [folder, first, second] :
       {std::tuple{"short/", "parts/layer0.zts", "few/layer1.zts"},
        {"long/", "few/layer0.zts", "parts/layer1.zts"},
        {"swapped/", "parts/layer1.zts", "parts/layer1.zts"}}) {
    fs::create_directory(Path(folder));
    fs::copy_file(Path(first), Path(folder) / "layer0.zts");
    fs::copy_file(Path(second), Path(folder) / "layer1.zts");
  }
  ExpectErrors({
      {"layers sizes @demo.zts", "frame 0 at offset 0: no layered frame"},
      {"layers split @cut.zts @none", "frame 0 at offset 0: layers are missing"},
      {"layers split @l.zts @l.zts", "l.zts: cannot make the folder"},
      {"info @parts/layer0.zts", "the others are missing, and 11 more frames"},
      {"layers join @short @a.zts", "frame 5 at offset "},
      {"layers join @long @a.zts", "layer1.zts: more frames than in layer 0"},
      {"layers join @swapped @b.zts", "frame 0 at offset 0: the records of its layers"},
      {"record @a.mkv @b.zts --format layered --bits 3", "mjpegdiff or layereddiff"},
      {"record @a.mkv @b.zts --format layered --size 64x15", "too small for layered video"},
  });
  EXPECT_FALSE(fs::exists(Path("b.zts")));
  ExpectPart(Succeed("record @a.mkv @c.zts --format layered --frames 1 --size 100x56").errors,
             "coded in 96x48, not 100x56: layered video goes in steps of 16 by 16");
}

}  // namespace
