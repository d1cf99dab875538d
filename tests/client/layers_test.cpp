// Layered video as the client's users meet it.
#include "tests/client/client_run.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>

namespace {

class LayersTest : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    // Nearly the drawn pictures themselves: none that a coding at a lower quality leaves as it is.
    ASSERT_EQ(Run("demo --frames 12 --size 320x240 --quality 99 --out @.").status, 0);
    ASSERT_EQ(Run("play @demo.zts --pixels yuv --video @a.mkv").status, 0);
  }

  [[nodiscard]] std::string Record(const std::string& more) const {
    const CRun run = Run("record @a.mkv @l.zts --psnr --format " + more);
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.errors, "");
    return run.output;
  }
  [[nodiscard]] std::vector<Bytes> Play(const std::string& arguments, int scale) const {
    const CRun play =
        Run("play --pixels yuv --y4m - --scale " + std::to_string(scale) + " @" + arguments);
    EXPECT_EQ(play.status, 0) << arguments << play.errors;
    return ParseY4m(play.output, std::size_t{3} * (width / scale) * (height / scale)).frames;
  }
  // What a line of the summary says between the two texts.
  static double Figure(const std::string& text, const std::string& before) {
    const std::size_t at = text.find(before);
    EXPECT_NE(at, std::string::npos) << text;
    return std::atof(text.c_str() + at + before.size());
  }
};

TEST_F(LayersTest, RecordingsAreAsGoodAndAboutAsSmallAsJpeg) {
  for (const auto& [quality, lowest, format] : {std::tuple{95, 42.0, "layered"},
                                                {75, 30.0, "layered"},
                                                {5, 20.0, "layered"},
                                                {75, 30.0, "layereddiff"}}) {
    const std::string more = " --quality " + std::to_string(quality);
    const double psnr = Figure(Record(format + more), "PSNR ");
    EXPECT_GT(psnr, lowest) << format << more;
    const bool isPlain = std::string(format) == "layered";
    const CRun jpeg = Run(std::string("record @a.mkv @j.zts --psnr --format ") +
                          (isPlain ? "mjpeg" : "mjpegdiff") + more);
    EXPECT_GT(psnr, Figure(jpeg.output, "PSNR ") - 1) << format << more;
    const double bytes = Info("l.zts")["totals"]["bytes"], other = Info("j.zts")["totals"]["bytes"];
    EXPECT_LT(bytes, 1.3 * other + 12 * 500) << format << more;
  }
}

TEST_F(LayersTest, PlaysEveryPixelFormat) {
  for (const std::string format : {"layered", "layereddiff --key-interval 7 --no-overflow-keys"}) {
    static_cast<void>(Record(format));
    for (const auto& [pixels, channels] : {std::pair{"yuyv", 4}, {"uyvy", 4}, {"rgb", 3}})
      for (const int scale : {1, 8}) {
        const CRun play = Run("play @l.zts --y4m - --pixels " + std::string(pixels) + " --scale " +
                              std::to_string(scale));
        const CY4m y4m = ParseY4m(
            play.output, static_cast<std::size_t>(width / scale) * (height / scale) * channels / 2);
        const std::vector<Bytes> exact = Play("l.zts", scale);
        ASSERT_EQ(y4m.frames.size(), exact.size());
        int worst = 0;
        for (std::size_t i = 0; i < exact[3].size() / 3; ++i)
          worst = std::max(worst, std::abs(y4m.frames[3][i] - exact[3][i]));
        EXPECT_LE(worst, channels == 3 ? 40 : 0) << pixels << scale;
      }
  }
}

TEST_F(LayersTest, DifferentialFramesBuildOnTheKeyFrameOnly) {
  static_cast<void>(Record("layereddiff --key-interval 7 --no-overflow-keys"));
  const nlohmann::json info = Info("l.zts");
  std::vector<Bytes> keys, whole = Play("l.zts", 1);
  for (std::size_t i = 0; i < whole.size(); ++i) {
    const nlohmann::json& frame = info["frames"][i];
    EXPECT_EQ(frame["typeName"], i % 7 == 0 ? "key" : "diff");
    if (i % 7 == 0) {
      keys.push_back(whole[i]);
      continue;
    }
    EXPECT_EQ(frame["bytes"], headerSize + frame["listBytes"].get<std::size_t>() +
                                  frame["stripBytes"].get<std::size_t>());
    // Whole blocks differ from the key frame, and no more of them than were sent.
    std::set<std::size_t> others;
    for (std::size_t k = 0; k < std::size_t{width} * height; ++k)
      if (whole[i][k] != keys.back()[k])
        others.insert(k / width / 16 * (width / 16) + k % width / 16);
    EXPECT_LE(others.size(), frame["blocks"]) << i;
    EXPECT_FALSE(others.empty()) << i;
  }
  EXPECT_TRUE(Play("l.zts --drop plain", 1) == keys);
  const CRun keyless = Run("play @l.zts --drop key");
  EXPECT_NE(keyless.errors.find("10 frames left out for want of a key frame"), std::string::npos)
      << keyless.errors;
}

TEST_F(LayersTest, SplitAndJoinedAgainIsTheSameFile) {
  for (const std::string format : {"layered", "layereddiff --key-interval 5"}) {
    static_cast<void>(Record(format));
    ASSERT_EQ(Run("layers split @l.zts @parts").status, 0);
    ASSERT_EQ(Run("layers join @parts @again.zts").status, 0);
    EXPECT_TRUE(ReadBytes(Path("again.zts")) == ReadBytes(Path("l.zts"))) << format;

    std::istringstream table(Run("layers sizes @l.zts").output);
    std::string line;
    std::getline(table, line);
    std::vector<std::uint64_t> sums(4);
    for (int i = 0; i < frames; ++i) {
      std::uint64_t number = 0, size = 0;
      table >> number;
      EXPECT_EQ(number, static_cast<std::uint64_t>(i));
      for (std::uint64_t& sum : sums)
        sum += table >> size ? size : 0;
      std::getline(table, line);
    }
    for (std::size_t i = 0; i < sums.size(); ++i)
      EXPECT_EQ(sums[i] + frames * (i == 0 ? 256U : 32U),
                std::filesystem::file_size(Path("parts/layer" + std::to_string(i) + ".zts")))
          << format << i;

    // So many layers are all that a scale takes.
    for (const int layers : {3, 2, 1}) {
      std::filesystem::remove(Path("parts/layer" + std::to_string(layers) + ".zts"));
      const std::string limit = layers == 2 ? " --layers 2" : "";
      ASSERT_EQ(Run("layers join @parts @cut.zts" + limit).status, 0);
      EXPECT_LT(std::filesystem::file_size(Path("cut.zts")),
                std::filesystem::file_size(Path("again.zts")));
      std::filesystem::copy_file(Path("cut.zts"), Path("again.zts"),
                                 std::filesystem::copy_options::overwrite_existing);
      const int scale = 1 << (4 - layers);
      EXPECT_TRUE(Play("cut.zts", scale) == Play("l.zts", scale)) << format << layers;
      EXPECT_FALSE(Play("cut.zts", scale / 2) == Play("l.zts", scale / 2)) << format << layers;
      const std::string sizes = Run("layers sizes @cut.zts").output;
      EXPECT_EQ(std::count(sizes.begin(), sizes.end(), '-'), frames * (4 - layers)) << sizes;
    }
  }
}

TEST_F(LayersTest, MistakesAreNamed) {
  static_cast<void>(Record("layereddiff"));
  ASSERT_EQ(Run("layers split @l.zts @parts").status, 0);
  ASSERT_EQ(Run("layers join @parts @cut.zts --layers 1").status, 0);
  ASSERT_EQ(Run("record @a.mkv @few.zts --format layereddiff --frames 5").status, 0);
  ASSERT_EQ(Run("layers split @few.zts @few").status, 0);
  namespace fs = std::filesystem;
  for (const auto& [folder, first, second] : {std::tuple{"short", "parts/layer0", "few/layer1"},
                                              {"long", "few/layer0", "parts/layer1"},
                                              {"swapped", "parts/layer1", "parts/layer1"}}) {
    fs::create_directory(Path(folder));
    fs::copy_file(Path(std::string(first) + ".zts"), Path(std::string(folder) + "/layer0.zts"));
    fs::copy_file(Path(std::string(second) + ".zts"), Path(std::string(folder) + "/layer1.zts"));
  }
  Bytes damaged = ReadBytes(Path("l.zts"));
  damaged.resize(damaged.size() - 1);
  WriteBytes(Path("damaged.zts"), damaged);
  for (const auto& [arguments, message] : {
           std::pair{"layers", "subcommand"},
           {"layers sizes @demo.zts", "frame 0 at offset 0: no layered frame"},
           {"layers split @demo-diff.zts @none", "no layered frame"},
           {"layers split @cut.zts @none", "frame 0 at offset 0: Exception"},
           {"layers split @damaged.zts @more", "frame 11: cut or damaged"},
           {"layers split @l.zts @l.zts", "l.zts: cannot make the folder"},
           {"layers split @parts/layer3.zts @parts", "layer3.zts: is the input"},
           {"layers join @parts @parts/layer1.zts", "layer1.zts: is the input"},
           {"layers join @nothing @a.zts", "layer0.zts: cannot read"},
           {"layers join @short @a.zts", "frame 5 at offset "},
           {"layers join @long @a.zts", "layer1.zts: more frames than in layer 0"},
           {"layers join @swapped @b.zts", "frame 0 at offset 0: "},
           {"layers join @parts @a.zts --layers 5", "--layers"},
           {"play @l.zts --pixels gray", "no gray pictures"},
           {"record @a.mkv @b.zts --format layered --bits 3", "mjpegdiff or layereddiff"},
           {"record @a.mkv @b.zts --format layereddiff --advanced", "needs --format mjpegdiff"},
           {"record @a.mkv @b.zts --format layered --size 64x15", "too small for layered video"},
       }) {
    const CRun run = Run(arguments);
    EXPECT_EQ(run.status, 1) << arguments;
    EXPECT_EQ(run.ErrorLines(), 1U) << arguments << ": " << run.errors;
    EXPECT_NE(run.errors.find(message), std::string::npos) << arguments << ": " << run.errors;
  }
  EXPECT_FALSE(std::filesystem::exists(Path("b.zts")));
  const CRun sized = Run("record @a.mkv @c.zts --format layered --frames 1 --size 100x56");
  EXPECT_NE(
      sized.errors.find("coded in 96x48, not 100x56: layered video goes in steps of 16 by 16"),
      std::string::npos)
      << sized.errors;
}

}  // namespace
