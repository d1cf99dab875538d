// Differential video as the client's users meet it.
#include "tests/client/client_run.h"

#include <algorithm>
#include <cstdlib>

namespace {

class DifferentialTest : public ClientTest {
 protected:
  static constexpr const char* options = " --frames 12 --format mjpegdiff --key-interval 7";
  // Each letter is a frame's type.
  static constexpr const char* plainTypes = "kpprpprkpprp";
  static constexpr const char* advancedTypes = "kddrddrkddrd";

  void SetUp() override {
    ClientTest::SetUp();
    // Of so many frames the first ones have a steady light.
    ASSERT_EQ(Run("demo --frames 40 --size 320x240 --out @.").status, 0);
    ASSERT_EQ(Run("play @demo.zts --pixels yuv --video @a.mkv").status, 0);
  }

  void Record(const std::string& name, const std::string& more) const {
    const CRun run = Run("record @a.mkv @" + name + options + more);
    ASSERT_EQ(run.status, 0) << run.errors;
    ASSERT_EQ(run.errors, "");
  }

  [[nodiscard]] std::string Types(const std::string& name) const {
    std::string types;
    const nlohmann::json info = Info(name);
    for (const nlohmann::json& frame : info["frames"])
      types += frame["typeName"].get<std::string>()[0];
    return types;
  }

  [[nodiscard]] std::vector<Bytes> Play(const std::string& arguments, int scale = 1) const {
    const CRun play =
        Run("play --pixels yuv --y4m - --scale " + std::to_string(scale) + " @" + arguments);
    EXPECT_EQ(play.status, 0) << arguments << play.errors;
    return ParseY4m(play.output, std::size_t{3} * width / scale * (height / scale)).frames;
  }
};

TEST_F(DifferentialTest, OptionsReachTheEncoderAndInfoShowsTheParts) {
  const std::string all = " --no-overflow-keys --reference-interval 3";
  for (const auto& [more, types] : {std::pair<std::string, const char*>{all, plainTypes},
                                    {all + " --advanced --bits 3", advancedTypes},
                                    {" --no-overflow-keys --reference-interval 1", "krrrrrrkrrrr"},
                                    {" --reference-interval 3 --sensitivity 20", "kkkkkkkkkkkk"}}) {
    Record("d.zts", more);
    EXPECT_EQ(Types("d.zts"), types) << more;
    const nlohmann::json info = Info("d.zts");
    std::uint64_t strips = 0;
    for (const nlohmann::json& frame : info["frames"]) {
      EXPECT_EQ(frame["formatName"], "mjpegdiff");
      if (frame["type"] == 0) continue;
      const auto strip = frame["stripBytes"].get<std::uint64_t>();
      EXPECT_GT(frame["blocks"], 0);
      EXPECT_LE(frame["blocks"], width * height / 256);
      EXPECT_EQ(frame["bytes"], headerSize + frame["listBytes"].get<std::uint64_t>() + strip);
      strips += strip;
    }
    EXPECT_EQ(info["totals"]["stripBytes"], strips);
    std::uint64_t frames = 0;
    for (const nlohmann::json& type : info["types"])
      frames += type["frames"].get<std::uint64_t>();
    EXPECT_EQ(frames, std::string(types).size());
    const CRun table = Run("info @d.zts");
    EXPECT_EQ(table.output.find("\nreference ") != std::string::npos,
              std::string(types).find('r') != std::string::npos);
  }
}

TEST_F(DifferentialTest, OnlyKeyAndReferenceFramesAreMissed) {
  constexpr struct {
    const char* drop;
    std::size_t every;
    char letter;
    bool isHarmless;
  } cases[] = {
      {"plain", 1, 'p', true},      {"plain", 2, 'p', true}, {"difference", 1, 'd', true},
      {"difference", 3, 'd', true}, {"key", 2, 'k', false},  {"reference", 1, 'r', false},
      {"reference", 3, 'r', false},
  };
  const std::string all = " --no-overflow-keys --reference-interval 3";
  for (const auto& [more, types] :
       {std::pair<std::string, std::string>{"", plainTypes}, {" --advanced", advancedTypes}}) {
    Record("d.zts", all + more);
    const std::vector<Bytes> whole = Play("d.zts");
    ASSERT_EQ(whole.size(), types.size());
    for (const auto& test : cases) {
      const std::string name = test.drop + std::to_string(test.every) + more;
      std::vector<Bytes> kept;
      std::size_t seen = 0;
      for (std::size_t i = 0; i < types.size(); ++i)
        if (types[i] != test.letter || ++seen % test.every != 0) kept.push_back(whole[i]);
      const std::vector<Bytes> played = Play("d.zts --drop " + std::string(test.drop) +
                                             " --drop-every " + std::to_string(test.every));
      ASSERT_EQ(played.size(), kept.size()) << name;
      // The first comparison that fails need not print half a megabyte.
      EXPECT_EQ(played == kept, test.isHarmless || seen == 0) << name;
    }
  }
  ASSERT_EQ(Run("play @d.zts --drop difference --png @png").status, 0);
  EXPECT_TRUE(std::filesystem::exists(Path("png/000006.png")));
  EXPECT_FALSE(std::filesystem::exists(Path("png/000005.png")));
  const CRun keyless = Run("play @d.zts --drop key");
  EXPECT_NE(keyless.errors.find("10 frames left out for want of a key frame"), std::string::npos)
      << keyless.errors;
}

// The key frames are whole JPEG pictures, and the client sees to it that the first one is good at
// every scale.
TEST_F(DifferentialTest, PlaysAtEveryScale) {
  Record("d.zts", " --no-overflow-keys --reference-interval 3");
  const Bytes file = ReadBytes(Path("d.zts"));
  const nlohmann::json info = Info("d.zts");
  for (const int scale : {1, 2, 4, 8}) {
    const std::vector<Bytes> played = Play("d.zts", scale), plain = Play("demo.zts", scale);
    ASSERT_EQ(played.size(), std::size_t{frames});
    for (std::size_t i = 0; i < played.size(); ++i) {
      if (info["frames"][i]["type"] == 0) {
        const auto start = info["frames"][i]["offset"].get<std::size_t>() + headerSize;
        EXPECT_TRUE(played[i] == DecodePlanes(file.data() + start,
                                              info["frames"][i]["payloadBytes"],
                                              static_cast<unsigned>(scale), false))
            << scale << " " << i;
      }
      // What was coded twice is still the same picture, plane by plane.
      const std::size_t pixels = played[i].size() / 3;
      for (std::size_t start = 0; start < 3 * pixels; start += pixels) {
        std::size_t difference = 0;
        for (std::size_t k = start; k < start + pixels; ++k)
          difference += static_cast<std::size_t>(std::abs(played[i][k] - plain[i][k]));
        EXPECT_LT(difference, 3 * pixels) << scale << " " << i << " " << start / pixels;
      }
    }
  }
}

TEST_F(DifferentialTest, DamagedFramesAreLeftOutAndTheRestIsKept) {
  Record("d.zts", " --no-overflow-keys --reference-interval 3");
  const Bytes good = ReadBytes(Path("d.zts"));
  const std::vector<Bytes> whole = Play("d.zts");
  const nlohmann::json info = Info("d.zts");
  const struct {
    const char* name;
    std::size_t frame, place;  // in the frame, behind its list if there is one
    std::uint8_t value;
    std::vector<std::size_t> lost;
    std::size_t lines;
  } cases[] = {
      {"strip of a plain frame", 2, headerSize, 0, {2}, 1},
      {"first key frame", 0, headerSize, 0, {0, 1, 2, 3, 4, 5, 6}, 2},
      {"width of a plain frame", 1, 32, 0x20, {1}, 1},
      {"list beyond the frame", 4, 91, 0xFF, {4}, 1},
  };
  for (const auto& test : cases) {
    const nlohmann::json& frame = info["frames"][test.frame];
    const std::size_t list = test.place == headerSize ? frame.value("listBytes", 0U) : 0;
    Bytes bytes = good;
    bytes[frame["offset"].get<std::size_t>() + list + test.place] = test.value;
    WriteBytes(Path("bad.zts"), bytes);
    const CRun play = Run("play @bad.zts --pixels yuv --y4m @bad.y4m");
    EXPECT_EQ(play.ErrorLines(), test.lines) << test.name << play.errors;
    const Bytes stream = ReadBytes(Path("bad.y4m"));
    std::vector<Bytes> kept;
    for (std::size_t i = 0; i < whole.size(); ++i)
      if (std::find(test.lost.begin(), test.lost.end(), i) == test.lost.end())
        kept.push_back(whole[i]);
    EXPECT_TRUE(ParseY4m({stream.begin(), stream.end()}, std::size_t{3} * width * height).frames ==
                kept)
        << test.name;
  }
}

TEST_F(DifferentialTest, SizesAreBroughtToWholeSteps) {
  ASSERT_EQ(Run("record @a.mkv @odd.zts --frames 1 --size 111x71 --quality 95").status, 0);
  ASSERT_EQ(Run("play @odd.zts --png @odd").status, 0);
  const CRun cut = Run("record @odd/000000.png @cut.zts --format mjpegdiff --quality 95");
  EXPECT_EQ(cut.status, 0);
  EXPECT_EQ(cut.ErrorLines(), 1U) << cut.errors;
  EXPECT_NE(cut.errors.find("coded in 96x64, not 111x71, cut"), std::string::npos) << cut.errors;
  const Bytes all =
      ParseY4m(Run("play @odd.zts --pixels yuv --y4m -").output, 111 * 71 * 3).frames.at(0);
  const Bytes part =
      ParseY4m(Run("play @cut.zts --pixels yuv --y4m -").output, 96 * 64 * 3).frames.at(0);
  int difference = 0;
  for (std::size_t y = 0; y < 64; ++y)
    for (std::size_t x = 0; x < 96; ++x)
      difference += std::abs(all[y * 111 + x] - part[y * 96 + x]);
  EXPECT_LT(difference, 3 * 96 * 64);
  const CRun scaled = Run("record @odd/000000.png @cut.zts --format mjpegdiff --size 75x77");
  EXPECT_NE(scaled.errors.find("coded in 64x72, not 75x77: "), std::string::npos) << scaled.errors;
  EXPECT_EQ(Info("cut.zts")["frames"][0]["height"], 72);
}

}  // namespace
