// What record and play do to several inputs is what they do to each.
#include "tests/client/client_run.h"

namespace {

class SeveralInputsTest : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    for (const char* part : {"a", "b", "c"})
      Succeed(std::string("play @demo.zts --frames 8 --video @") + part + ".mkv --from " +
              std::to_string(part[0] - 'a'));
    fs::create_directories(Path("one"));
    fs::create_directories(Path("all"));
  }
};

TEST_F(SeveralInputsTest, EachIsRecordedAndPlayedAsAlone) {
  const std::string settings = " --format mjpegdiff --key-interval 5";
  for (const char* threads : {"", " --threads 1", " --threads 3"}) {
    const CRun run = Succeed("record @a.mkv @b.mkv @c.mkv @all/{}.zts" + settings + threads);
    std::size_t shown = 0;
    for (const char* name : {"a", "b", "c"}) {
      const std::string file = std::string(name) + ".zts";
      Succeed("record @" + std::string(name) + ".mkv @one/{}.zts" + settings);
      EXPECT_TRUE(ReadBytes(Path("all/" + file)) == ReadBytes(Path("one/" + file))) << file;
      const std::size_t at = run.output.find("all/" + file + ": 8 frames of 320x240");
      EXPECT_TRUE(at != std::string::npos && at >= shown) << run.output;
      shown = at;
    }
    ExpectPart(run.output, "3 inputs: 24 frames in ");
  }
  Succeed("play @all/a.zts @all/b.zts @all/c.zts --from 3 --y4m @all/{}.y4m --png @all/{}/shots");
#if defined(_WIN32)
  ExpectPart(Succeed("play @all/?.zts").output, "3 inputs: 24 frames");
#endif
  for (const char* name : {"a", "b", "c"}) {
    const CRun alone = Succeed("play --from 3 --y4m - @one/" + std::string(name) + ".zts");
    EXPECT_TRUE(alone.output == ReadText(std::string("all/") + name + ".y4m")) << name;
    EXPECT_TRUE(fs::exists(Path(std::string("all/") + name + "/shots/000007.png"))) << name;
  }
}

TEST_F(SeveralInputsTest, AFailureIsNamedAndTheOthersGoOn) {
  WriteText("bad.mkv", std::string(100, 'x'));
  const CRun run = Run("record @a.mkv @bad.mkv @c.mkv @all/{}.zts");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(Count(run.errors, "\n"), 1U);
  ExpectPart(run.errors, "bad.mkv: ");
  EXPECT_EQ(Info("all/c.zts")["frames"].size(), 8U);
  EXPECT_FALSE(fs::exists(Path("all/bad.zts")));
  const std::set<fs::path> files = Files();
  ExpectErrors({
      {"record @a.mkv", "needs an input and an output"},
      {"record @a.mkv @b.mkv @all", "several inputs need {}"},
      {"record @a.mkv @b.mkv @{}.mkv", "a.mkv: is the input"},
      {"record @a.mkv @one/../a.mkv @all/{}.zts", "all/a.zts: is to be written twice"},
      {"record rtsp://host:1/a?b rtsp://host:1/a*b @{}.zts", "host_1_a_b.zts: is to be written"},
      {"play @demo.zts @all/a.zts --y4m -", "several inputs need {}"},
      {"play @demo.zts @all/a.zts --threads 0", "--threads"},
  });
  EXPECT_EQ(Files(), files);
}

}  // namespace
