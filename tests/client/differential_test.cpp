// Differential video as the client's users meet it.
#include "tests/client/client_run.h"

#include <algorithm>
#include <cstdlib>

namespace {

class DifferentialTest : public ClientTest {
 protected:
  static constexpr const char* steady = " --no-overflow-keys --reference-interval 3";
  // Each letter is a frame's type.
  const std::string plainTypes = "kpprpprkpprp", advancedTypes = "kddrddrkddrd";

  void SetUp() override {
    ClientTest::SetUp();
    // Of so many frames the first ones have a steady light.
    ASSERT_EQ(Run("demo --frames 40 --size 320x240 --out @.").status, 0);
    ASSERT_EQ(Run("play @demo.zts --pixels yuv --video @a.mkv").status, 0);
  }

  [[nodiscard]] nlohmann::json Record(const std::string& more) const {
    const CRun run =
        Run("record @a.mkv @d.zts --frames 12 --format mjpegdiff --key-interval 7" + more);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    return Info("d.zts");
  }
};

TEST_F(DifferentialTest, OptionsReachTheEncoderAndInfoShowsTheParts) {
  const std::string all = steady;
  for (const auto& [more, types] : {std::pair{all, plainTypes},
                                    {all + " --advanced --bits 3", advancedTypes},
                                    {" --no-overflow-keys --reference-interval 1", "krrrrrrkrrrr"},
                                    {" --reference-interval 3 --sensitivity 20", "kkkkkkkkkkkk"}}) {
    const nlohmann::json info = Record(more);
    std::string shown;
    std::uint64_t strips = 0;
    for (const nlohmann::json& frame : info["frames"]) {
      shown += frame["typeName"].get<std::string>()[0];
      EXPECT_EQ(frame["formatName"], "mjpegdiff");
      if (frame["type"] == 0) continue;
      const auto strip = frame["stripBytes"].get<std::uint64_t>();
      EXPECT_GT(frame["blocks"], 0);
      EXPECT_LE(frame["blocks"], width * height / 256);
      EXPECT_EQ(frame["bytes"], headerSize + frame["listBytes"].get<std::uint64_t>() + strip);
      strips += strip;
    }
    EXPECT_EQ(shown, types) << more;
    EXPECT_EQ(info["totals"]["stripBytes"], strips);
    EXPECT_EQ(Run("info @d.zts").output.find("\nreference ") != std::string::npos,
              types.find('r') != std::string::npos);
  }
}

TEST_F(DifferentialTest, OnlyKeyAndReferenceFramesAreMissed) {
  constexpr struct {
    const char* drop;
    std::size_t every;
    bool isHarmless;
  } cases[] = {{"plain", 1, true},
               {"plain", 2, true},
               {"difference", 3, true},
               {"key", 2, false},
               {"reference", 3, false}};
  for (const auto& [more, types] : {std::pair{"", plainTypes}, {" --advanced", advancedTypes}}) {
    static_cast<void>(Record(std::string(steady) + more));
    const std::vector<Bytes> whole = Play("d.zts");
    ASSERT_EQ(whole.size(), types.size());
    for (const auto& [drop, every, isHarmless] : cases) {
      std::vector<Bytes> kept;
      std::size_t seen = 0;
      for (std::size_t i = 0; i < types.size(); ++i)
        if (types[i] != drop[0] || ++seen % every != 0) kept.push_back(whole[i]);
      const std::vector<Bytes> played =
          Play("d.zts --drop-every " + std::to_string(every) + " --drop " + drop);
      ASSERT_EQ(played.size(), kept.size()) << drop << every << more;
      // The first comparison that fails need not print half a megabyte.
      EXPECT_EQ(played == kept, isHarmless || seen == 0) << drop << every << more;
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
// every scale. Of a damaged file, what does not build on the damage is played.
TEST_F(DifferentialTest, PlaysAtEveryScaleWhatIsNotDamaged) {
  const nlohmann::json info = Record(steady);
  Bytes file = ReadBytes(Path("d.zts"));
  const auto start = [&](std::size_t i) {
    return info["frames"][i]["offset"].get<std::size_t>() + headerSize +
           info["frames"][i].value("listBytes", 0U);
  };
  for (const int scale : {1, 2, 4, 8}) {
    const std::vector<Bytes> played = Play("d.zts", scale);
    ASSERT_EQ(played.size(), std::size_t{frames});
    for (const std::size_t key : {0, 7})
      EXPECT_TRUE(played[key] == DecodePlanes(std::span(file).subspan(
                                                  start(key), info["frames"][key]["payloadBytes"]),
                                              scale, false))
          << scale << " " << key;
  }
  const std::vector<Bytes> whole = Play("d.zts");
  // A width that is not the key frame's.
  file[info["frames"][8]["offset"].get<std::size_t>() + 32] = 0x20;
  for (const std::ptrdiff_t lost : {0, 7}) {  // the whole group of the key frame in the second run
    if (lost > 0) file[start(0)] = 0;
    WriteBytes(Path("bad.zts"), file);
    const CRun play = Run("play @bad.zts --pixels yuv --y4m -");
    EXPECT_EQ(play.ErrorLines(), lost > 0 ? 3U : 2U) << play.errors;
    std::vector<Bytes> kept(whole.begin() + lost, whole.end());
    kept.erase(kept.begin() + 8 - lost);
    EXPECT_TRUE(ParseY4m(play.output, std::size_t{3} * width * height).frames == kept) << lost;
  }
}

TEST_F(DifferentialTest, SizesAreBroughtToWholeSteps) {
  ASSERT_EQ(Run("record @a.mkv @odd.zts --frames 1 --size 111x71 --quality 95").status, 0);
  ASSERT_EQ(Run("play @odd.zts --png @odd").status, 0);
  const CRun cut = Run("record @odd/000000.png @cut.zts --format mjpegdiff --quality 95");
  EXPECT_EQ(cut.status, 0);
  EXPECT_EQ(cut.ErrorLines(), 1U) << cut.errors;
  EXPECT_NE(cut.errors.find("coded in 96x64, not 111x71, cut"), std::string::npos) << cut.errors;
  const Bytes all = Play("odd.zts", 1, 111 * 71).at(0), part = Play("cut.zts", 1, 96 * 64).at(0);
  int difference = 0;
  for (std::size_t i = 0; i < 96 * 64; ++i)
    difference += std::abs(all[i / 96 * 111 + i % 96] - part[i]);
  EXPECT_LT(difference, 3 * 96 * 64);
  const CRun scaled = Run("record @odd/000000.png @cut.zts --format mjpegdiff --size 75x77");
  EXPECT_NE(scaled.errors.find("coded in 64x72, not 75x77: "), std::string::npos) << scaled.errors;
  EXPECT_EQ(Info("cut.zts")["frames"][0]["height"], 72);
}

}  // namespace
