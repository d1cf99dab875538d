// Tests differential video as the client's users know it.
#include "tests/client/client_run.h"

namespace {

class DifferentialTest : public ClientTest {
 protected:
  static constexpr const char* steady = " --no-overflow-keys --reference-interval 3";
  // Each letter is a frame's type.
  const std::string plainTypes = "kpprpprkpprp", advancedTypes = "kddrddrkddrd";

  void SetUp() override {
    ClientTest::SetUp();
    // The light of the first frames is steady in a clip of 40.
    Succeed("demo --frames 40 --size 320x240 --out @.");
    Succeed("play @demo.zts --pixels yuv --video @a.mkv");
  }

  nlohmann::json Record(const std::string& more) const {
    const std::string arguments = "record @a.mkv @d.zts --frames 12 --format mjpegdiff";
    EXPECT_EQ(Succeed(arguments + " --key-interval 7" + more).errors, "");
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
      if (frame["type"] == 0) continue;
      const auto strip = frame["stripBytes"].get<std::uint64_t>();
      EXPECT_GT(frame["blocks"], 0);
      EXPECT_LE(frame["blocks"], width * height / 256);
      EXPECT_EQ(frame["bytes"], headerSize + frame["listBytes"].get<std::uint64_t>() + strip);
      strips += strip;
    }
    EXPECT_EQ(shown, types) << more;
    EXPECT_EQ(info["totals"]["stripBytes"], strips);
  }
}

TEST_F(DifferentialTest, PartsAreThoseOfTheWhole) {
  Record(steady);
  const std::vector<Bytes> whole = Play("d.zts");
  for (const std::size_t from : {0, 5, 7, 10}) {
    const std::string part = "d.zts --frames 2 --from " + std::to_string(from);
    EXPECT_EQ(Play(part), std::vector(whole.begin() + from, whole.begin() + from + 2)) << from;
  }
  ExpectErrors({{"play @d.zts --from 12", "d.zts: frame 12 is behind its end, 12 frames"},
                {"record @a.mkv @e.zts --from 40", "a.mkv: no picture 40 in it"}});

  // Checksums of a part of the pictures, numbered anew.
  const auto sums = [&](const char* file) {
    std::vector<std::string> lines;
    std::istringstream text(Run(std::string("info --verify @") + file).output);
    for (std::string line; std::getline(text, line);)
      if (!line.starts_with('#')) lines.push_back(line.substr(line.rfind(' ')));
    return lines;
  };
  Succeed("record @a.mkv @all.zts --frames 9");
  Succeed("record @a.mkv @some.zts --from 6 --frames 3");
  const std::vector<std::string> all = sums("all.zts");
  ASSERT_EQ(all.size(), 9U);
  EXPECT_NE(all[0], all[8]);
  EXPECT_EQ(sums("some.zts"), std::vector(all.begin() + 6, all.end()));
  // The first frame is lost.
  const std::string file = ReadText("d.zts");
  WriteText("late.zts", file.substr(Info("d.zts")["frames"][1]["offset"]));
  EXPECT_EQ(sums("late.zts").size(), 5U);
  ExpectErrors(
      {{"info @late.zts --verify", "late.zts: 6 frames left out for want of a key frame"}});
}

TEST_F(DifferentialTest, OnlyKeyAndReferenceFramesAreMissed) {
  constexpr std::tuple<const char*, std::size_t, bool> cases[] = {{"plain", 1, true},
                                                                  {"plain", 2, true},
                                                                  {"difference", 3, true},
                                                                  {"key", 2, false},
                                                                  {"reference", 3, false}};
  for (const auto& [more, types] : {std::pair{"", plainTypes}, {" --advanced", advancedTypes}}) {
    Record(std::string(steady) + more);
    const std::vector<Bytes> whole = Play("d.zts");
    ASSERT_EQ(whole.size(), types.size());
    for (const auto& [drop, every, isHarmless] : cases) {
      std::vector<Bytes> kept;
      std::size_t seen = 0;
      for (std::size_t i = 0; i < types.size(); ++i)
        if (types[i] != drop[0] || ++seen % every != 0) kept.push_back(whole[i]);
      const auto played = Play("d.zts --drop-every " + std::to_string(every) + " --drop " + drop);
      ASSERT_EQ(played.size(), kept.size()) << drop << every << more;
      // A comparison that fails must not print half a megabyte.
      EXPECT_EQ(played == kept, isHarmless || seen == 0) << drop << every << more;
    }
  }
  Succeed("play @d.zts --drop difference --png @png");
  EXPECT_TRUE(fs::exists(Path("png/000006.png")) && !fs::exists(Path("png/000005.png")));
  ExpectPart(Run("play @d.zts --drop key").errors, "10 frames left out for want of a key frame");
}

// The key frames are whole JPEG pictures, and the client makes sure that the first one is good at
// every scale. Frames of a damaged file that do not build on the damage are played.
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
    for (const std::size_t key : {0, 7}) {
      const auto stream = std::span(file).subspan(start(key));
      EXPECT_TRUE(played[key] ==
                  DecodePlanes(stream.first(info["frames"][key]["payloadBytes"]), scale, false))
          << scale << " " << key;
    }
  }
  const std::vector<Bytes> whole = Play("d.zts");
  // This changes the width in a frame, which then differs from the key frame's.
  file[info["frames"][8]["offset"].get<std::size_t>() + 32] = 0x20;
  for (const std::ptrdiff_t lost : {0, 7}) {  // the whole group of the key frame in the second run
    if (lost > 0) file[start(0)] = 0;
    WriteBytes(Path("bad.zts"), file);
    const CRun play = Run("play @bad.zts --pixels yuv --y4m -");
    EXPECT_EQ(Count(play.errors, "\n"), lost > 0 ? 3U : 2U) << play.errors;
    std::vector<Bytes> kept(whole.begin() + lost, whole.end());
    kept.erase(kept.begin() + 8 - lost);
    EXPECT_TRUE(ParseY4m(play.output, std::size_t{3} * width * height).frames == kept) << lost;
  }
}

TEST_F(DifferentialTest, SizesAreBroughtToWholeSteps) {
  Succeed("record @a.mkv @odd.zts --frames 1 --size 111x71 --quality 95");
  Succeed("play @odd.zts --png @odd");
  const std::string record = "record @odd/000000.png @cut.zts --format mjpegdiff --quality 95";
  ExpectPart(Succeed(record).errors, "coded in 96x64, not 111x71, cut");
  const Bytes all = Play("odd.zts", 1, 111 * 71).at(0), part = Play("cut.zts", 1, 96 * 64).at(0);
  int difference = 0;
  for (std::size_t i = 0; i < 96 * 64; ++i)
    difference += std::abs(all[i / 96 * 111 + i % 96] - part[i]);
  EXPECT_LT(difference, 3 * 96 * 64);
  ExpectPart(Succeed(record + " --size 75x77").errors, "coded in 64x72, not 75x77: ");
  EXPECT_EQ(Info("cut.zts")["frames"][0]["height"], 72);
}

}  // namespace
