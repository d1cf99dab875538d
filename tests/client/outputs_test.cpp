// The client writes its outputs completely or not at all. These tests need what Linux alone has:
// symbolic links, limits, pipes with names, signals, terminals.
#include "tests/client/client_run.h"

#include <csignal>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class OutputsTest : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    Succeed("play @demo.zts --png @png --y4m @a.y4m --video @a.mkv");
  }

  [[nodiscard]] CProcess Start(const std::string& arguments) const {
    return {ZTCLIENT, Expand(arguments), Path("stdout"), Path("stderr")};
  }
  static int End(CProcess& client, int signal) {
    client.Signal(signal);
    return client.Wait();
  }
};

TEST_F(OutputsTest, ALinkStaysAndItsFileIsReplaced) {
  WriteText("old.json", "old");
  fs::permissions(Path("old.json"), fs::perms(0640));
  fs::create_symlink("old.json", Path("link"));
  Succeed("motion @a.mkv --json @link");
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_EQ(nlohmann::json::parse(ReadText("old.json"))["frames"].size(), frames);
  EXPECT_EQ(fs::status(Path("old.json")).permissions(), fs::perms(0640));
  ExpectPart(Succeed("motion @a.mkv --json /dev/stdout").output, "\"events\"");
}

TEST_F(OutputsTest, DevicesAndPatternsAreUnderstood) {
  ExpectError("play @demo.zts --y4m /dev/full", "/dev/full: cannot write");
  // Players know this profile, whose pictures are 4:2:0.
  Succeed("play @demo.zts --video @a.mp4");
  ExpectPart(ReadText("a.mp4"), "avcC\1\x64");
  ExpectError("motion @png/%*.png --json @png/000011.png", "is the input");
}

TEST_F(OutputsTest, ADashIsTheStandardInputOrOutput) {
  const auto shell = [this](std::string line) {
    for (std::size_t at; (at = line.find('@')) != std::string::npos;)
      line.replace(at, 1, "\"$0\"/");
    const std::string script = "zt() { " ZTCLIENT " \"$@\"; }; " + line;
    EXPECT_EQ(
        CProcess("/bin/sh", {"-c", script, folder.string()}, Path("stdout"), Path("stderr")).Wait(),
        0)
        << line << ReadText("stderr");
    return ReadText("stdout");
  };
  const std::string direct = shell("zt play @demo.zts --y4m -");
  for (const char* line :
       {"cat @demo.zts | zt play - --y4m -", "zt play /dev/stdin --y4m - <@demo.zts",
        "cat @a.y4m | zt record - - --quality 75 | zt play - --y4m - | zt record - @b.zts "
        ">/dev/null;"
        "cat @demo.zts | zt play - --y4m /dev/stdout"})
    EXPECT_TRUE(shell(line) == direct) << line;
  EXPECT_EQ(Info("b.zts")["totals"]["frames"], frames);
  ExpectPart(shell("zt play @demo.zts --video - | zt motion - --json -"), "{\n\"input\": \"-\"");
  ExpectPart(shell("head -c 30000 @demo.zts | zt info - --json || true"), "announced and");
  EXPECT_FALSE(fs::exists("-"));
  ExpectError("play @demo.zts --y4m - --video -", "is to be written twice");
}

TEST_F(OutputsTest, AFailureLeavesTheOldFile) {
  Succeed("record @a.mkv @l.zts --format layered --quality 99");
  const struct {
    const char *arguments, *output, *partial;
  } cases[] = {
      {"play @demo.zts --y4m @old.y4m", "old.y4m", nullptr},
      {"play @demo.zts --video @old.mkv", "old.mkv", "old.partial.mkv"},
      {"motion @a.mkv --json @old.json --video @old.mkv", "old.json", nullptr},
      {"record @a.mkv @old.zts", "old.zts", "old.partial.zts"},
      {"record @a.mkv @old.zts", "old.zts", "old.partial-2.zts"},
      {"layers split @l.zts @png", "png/layer0.zts", nullptr},
      {"play @demo.zts --png @png", "png/000000.png", nullptr},
  };
  for (const auto& [arguments, output, partial] : cases) {
    WriteText(output, "old");
    const std::set<fs::path> before = Files();
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{20000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string keeps = partial ? Path(partial).string() + " has what" : "";
    ExpectError(arguments, "cannot write: File too large");
    setrlimit(RLIMIT_FSIZE, &limit);
    ExpectPart(ReadText("stderr"), keeps);
    EXPECT_TRUE(ReadText(output) == "old") << arguments;
    std::set<fs::path> after = before;
    if (partial) {
      after.insert(Path(partial));
      EXPECT_GT(Size(partial), 10000U);
    }
    EXPECT_EQ(Files(), after) << arguments;
  }
  EXPECT_EQ(Info("old.partial.zts")["frames"].size(), 1U);
}

// The inputs stay open, but give no more pictures.
TEST_F(OutputsTest, TheFirstInterruptEndsInOrder) {
  ASSERT_EQ(mkfifo(Path("in.y4m").c_str(), 0600), 0);
  const std::string video = ReadText("a.y4m");
  const struct {
    const char* arguments;
    int signal;
    const char* written;  // when so many bytes are there
    std::uintmax_t bytes;
  } cases[] = {{"record @in.y4m @out.zts", SIGINT, "out.partial.zts", 150'000},
               {"record @a.mkv @in.y4m @b.{}.zts", SIGINT, "b.in.partial.zts", 150'000},
               {"motion @in.y4m --json @out.json --video @out.mkv --png @shots", SIGTERM,
                "shots/000010.png", 1}};
  for (const auto& [arguments, signal, written, bytes] : cases) {
    CProcess client = Start(arguments);
    const int pipe = open(Path("in.y4m").c_str(), O_WRONLY);
    ASSERT_GE(pipe, 0);
    ASSERT_EQ(write(pipe, video.data(), video.size()), static_cast<ssize_t>(video.size()));
    EXPECT_TRUE(Await([&, name = written, least = bytes] { return Size(name) >= least; }));
    EXPECT_EQ(End(client, signal), 130) << arguments;
    close(pipe);
    EXPECT_EQ(ReadText("stderr"), "") << arguments;
    ExpectPart(ReadText("stdout"), " frames ");
  }
  EXPECT_GE(Info("out.zts")["totals"]["bytes"], 150'000);
  const std::size_t seen = nlohmann::json::parse(ReadText("out.json"))["frames"].size();
  EXPECT_GE(seen, 11U);
  ExpectPart(Run("motion @out.mkv").output, "out.mkv: " + std::to_string(seen) + " frames");

  CProcess demo = Start("demo --frames 100000 --size 64x64 --out @long");
  ASSERT_TRUE(Await([&] { return Size("long/.ztclient-1.tmp") > 0; }));
  EXPECT_EQ(End(demo, SIGINT), 130);
  for (const char* name : {"long/demo.zts", "long/demo-diff.zts", "long/demo-layered.zts"})
    EXPECT_GT(Info(name)["frames"].size(), 0U) << name;
  ExpectPart(ReadText("long/report.html"), "</html>");
  for (const fs::path& file : Files())
    EXPECT_TRUE(file.extension() != ".tmp" && file.string().find("partial") == std::string::npos)
        << file;
}

// A full pipe holds the client inside a picture, so the first interrupt has no effect yet.
TEST_F(OutputsTest, TheSecondInterruptLeavesTheOldFiles) {
  for (const char* name : {"pipe.y4m", "pipe.mkv"})
    ASSERT_EQ(mkfifo(Path(name).c_str(), 0600), 0);
  for (const char* name : {"old.mkv", "old.json"})
    WriteText(name, "old");
  std::set<fs::path> files = Files();
  const struct {
    std::string arguments, pipe;
    std::size_t taken;  // from the pipe
    const char* beside;
    bool isKept;
  } cases[] = {
      // At one picture a second, every five pictures of a video are written to its file.
      {"play @demo.zts --fps 1 --y4m @pipe.y4m --video @old.mkv", "pipe.y4m",
       9 * width * height * 3 / 2, "old.partial.mkv", true},
      {"motion @a.mkv --json @old.json --video @pipe.mkv", "pipe.mkv", 1, ".ztclient-1.tmp", false},
  };
  for (const auto& [arguments, pipe, taken, beside, isKept] : cases) {
    CProcess client = Start(arguments);
    const int end = open(Path(pipe).c_str(), O_RDONLY);
    ASSERT_GE(end, 0);
    std::vector<char> bytes(taken);
    for (std::size_t at = 0; at < taken;) {
      const ssize_t size = read(end, &bytes[at], taken - at);
      ASSERT_GT(size, 0);
      at += static_cast<std::size_t>(size);
    }
    ASSERT_TRUE(Await([&] { return fs::exists(Path(beside)) && (!isKept || Size(beside) > 0); }));
    client.Signal(SIGINT);
    // Requests that follow each other at once would count as one.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(End(client, SIGINT), 130) << arguments;
    close(end);
    if (isKept) files.insert(Path(beside));
    EXPECT_EQ(Files(), files) << arguments;
    const std::string told = "ztclient: " + Path("old.mkv").string() + ": interrupted; " +
                             Path(beside).string() + " has what was recorded before\n";
    EXPECT_EQ(ReadText("stderr"), isKept ? told : "") << arguments;
  }
  for (const char* name : {"old.mkv", "old.json"})
    EXPECT_EQ(ReadText(name), "old") << name;
  ExpectPart(Succeed("motion @old.partial.mkv").output, "old.partial.mkv: ");
}

TEST_F(OutputsTest, ProgressIsShownOnATerminalOnly) {
  EXPECT_EQ(Run("play @demo.zts").errors, "");
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_EQ(grantpt(terminal) | unlockpt(terminal), 0);
  for (const std::uint16_t columns : {30, 60, 120}) {
    const winsize size{40, columns, 0, 0};
    ASSERT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
    const bool isSeveral = columns == 120;
    CProcess client(ZTCLIENT,
                    Expand(isSeveral ? "play @demo.zts @demo-diff.zts" : "play @demo.zts"),
                    Path("stdout"), ptsname(terminal));
    EXPECT_EQ(client.Wait(), 0);
    std::string shown(4096, '\0');
    shown.resize(static_cast<std::size_t>(std::max(read(terminal, &shown[0], 4096), ssize_t{0})));
    ExpectPart(shown, " %  1 frame");
    EXPECT_EQ(Count(shown, "play  0 of 2  ["), isSeveral ? 1U : 0U) << shown;
    EXPECT_EQ(Count(shown, "["), Count(shown, "\x1b[") + (columns > 30 ? 1 : 0)) << shown;
    EXPECT_LE(shown.find("\x1b[K"), std::size_t{columns}) << shown;
    EXPECT_TRUE(shown.ends_with("\r\x1b[K")) << shown;
  }
  close(terminal);
}

}  // namespace
