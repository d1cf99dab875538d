// The client as its users meet it: a process with arguments, files and an exit status.
#include "tests/client/client_run.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

TEST_F(ClientTest, ReportIsOnePageWithItsPicturesInside) {
  const Bytes page = ReadBytes(Path("report.html"));
  const std::string html(page.begin(), page.end());
  EXPECT_EQ(Count(html, "<img "), 31U);
  EXPECT_EQ(Count(html, "src=\"data:image/jpeg;base64,/9j/"), 18U);
  EXPECT_EQ(Count(html, "src=\"data:image/png;base64,iVBORw0KGgo"), 13U);
  EXPECT_EQ(Count(html, "<svg "), 4U);
  std::string text;
  for (std::size_t at = 0, image; at != std::string::npos; at = html.find("\"", image + 1)) {
    image = html.find("data:image", at);
    text += html.substr(at, image == std::string::npos ? image : image - at);
    if (image == std::string::npos) break;
  }
  for (const char* part : {"http", "nan", "inf"})
    EXPECT_EQ(Count(text, part), 0U) << part;
  EXPECT_NE(html.find("<p class=\"summary\">12 frames of 320x240 at quality 75"),
            std::string::npos);
  for (const char* stage : {"decode input", "convert", "encode", "decode to RGB", "decode to YUV"})
    EXPECT_EQ(Count(html, std::string("<tr><td>") + stage), 1U) << stage;
}

TEST_F(ClientTest, HeightsInTheReportAreThoseOfTheScene) {
  const Bytes page = ReadBytes(Path("report.html"));
  const std::string html(page.begin(), page.end());
  int people = 0;
  for (std::size_t at = html.find("true height"); at != std::string::npos; ++people) {
    int number = 0;
    double truth = 0, measured = 0;
    at = html.find("<tr><td>", at + 1);
    if (at == std::string::npos ||
        std::sscanf(&html[at], "<tr><td>%d</td><td class=\"n\">%lf m</td><td class=\"n\">%lf m<",
                    &number, &truth, &measured) != 3)
      break;
    EXPECT_NEAR(truth, measured, 0.12);  // two pixels
  }
  EXPECT_GE(people, 4);
}

TEST_F(ClientTest, CalibrationIsDrawnOverThePicture) {
  ASSERT_EQ(Run("play @demo.zts --png @png").status, 0);
  const std::string config =
      R"({"X0Virtual": 2000, "Y0Virtual": 14165, "X1Virtual": 14000, "Y1Virtual": 14165,
            "X2Virtual": 12300, "Y2Virtual": 8943, "X3Virtual": 4000, "Y3Virtual": 8943,
            "Distance01": 10, "Distance03": 10.0})";
  WriteBytes(Path("c.json"), {config.begin(), config.end()});
  const CRun run = Run("calibrate @png/000000.png --config @c.json --out @c.png");
  EXPECT_EQ(run.errors, "");
  EXPECT_NE(run.output.find("no heights"), std::string::npos);
  ASSERT_EQ(Run("record @c.png @c.zts --quality 100").status, 0);
  const CY4m y4m = ParseY4m(Run("play @c.zts --pixels yuv --y4m -").output, width * height * 3);
  // Yellow on the edge of the rectangle alone: little blue difference.
  const auto blue = [&](int x, int y) { return y4m.frames.at(0)[width * (height + y) + x]; };
  EXPECT_LT(blue(width / 2 + 20, 14165 * height / 16384), 95);
  EXPECT_GT(blue(width / 2 + 20, 15800 * height / 16384), 105);
}

TEST_F(ClientTest, DrawnSceneIsTheSameEveryTime) {
  ASSERT_EQ(Run("demo --frames 12 --size 320x240 --out @again").status, 0);
  for (const std::string name : {"demo.zts", "demo-diff.zts", "demo-layered.zts"})
    EXPECT_EQ(ReadBytes(Path("again/" + name)), ReadBytes(Path(name))) << name;
}

TEST_F(ClientTest, InfoFollowsTheFramesThroughTheFile) {
  const Bytes file = ReadBytes(Path("demo.zts"));
  const nlohmann::json info = Info("demo.zts");
  EXPECT_EQ(info["fileBytes"], file.size());
  EXPECT_EQ(info["totals"]["frames"], frames);
  EXPECT_EQ(info["totals"]["bytes"], file.size());
  EXPECT_EQ(info["totals"]["payloadBytes"], file.size() - frames * headerSize);
  EXPECT_TRUE(info["damage"].is_null());
  std::uint64_t offset = 0;
  for (const nlohmann::json& frame : info["frames"]) {
    EXPECT_EQ(frame["offset"], offset);
    offset += frame["bytes"].get<std::uint64_t>();
    EXPECT_EQ(frame["formatName"], "mjpeg");
    EXPECT_EQ(frame["kindName"], "encoder");
    EXPECT_EQ(frame["typeName"], "key");
    EXPECT_EQ(frame["width"], width);
    EXPECT_EQ(frame["height"], height);
  }
  EXPECT_EQ(offset, file.size());
  const CRun table = Run("info @demo.zts");
  EXPECT_EQ(Count(table.output, "320x240"), std::size_t{frames});
  EXPECT_NE(table.output.find("\n12 frames, "), std::string::npos);
}

TEST_F(ClientTest, PlaysThePixelsOfLibjpegAtEveryScale) {
  const Bytes file = ReadBytes(Path("demo.zts"));
  const nlohmann::json info = Info("demo.zts");
  for (const unsigned scale : {1U, 2U, 4U, 8U})
    for (const auto& [pixels, isGray, channels] :
         {std::tuple{"yuv", false, 3U}, std::tuple{"gray", true, 1U}}) {
      const CRun play = Run("play @demo.zts --y4m - --pixels " + std::string(pixels) + " --scale " +
                            std::to_string(scale));
      ASSERT_EQ(play.status, 0) << play.errors;
      const CY4m y4m = ParseY4m(play.output, width / scale * (height / scale) * channels);
      ASSERT_EQ(y4m.frames.size(), std::size_t{frames});
      for (std::size_t i = 0; i < y4m.frames.size(); ++i) {
        const auto& frame = info["frames"][i];
        const auto start = frame["offset"].get<std::size_t>() + headerSize;
        EXPECT_EQ(y4m.frames[i],
                  DecodePlanes(file.data() + start, frame["payloadBytes"], scale, isGray))
            << pixels << " 1/" << scale << " frame " << i;
      }
    }
}

TEST_F(ClientTest, EveryPixelFormatHasItsStreamLayout) {
  const std::size_t pixels = std::size_t{width} * height;
  const CY4m exact = ParseY4m(Run("play @demo.zts --pixels gray --y4m -").output, pixels);
  for (const auto& [name, layout, bytes] :
       {std::tuple{"rgb", "C420jpeg", pixels * 3 / 2}, std::tuple{"yuv", "C444", pixels * 3},
        std::tuple{"yuyv", "C422", pixels * 2}, std::tuple{"uyvy", "C422", pixels * 2}}) {
    const CRun play = Run("play @demo.zts --fps 12.5 --y4m @a.y4m --pixels " + std::string(name));
    ASSERT_EQ(play.status, 0) << play.errors;
    const Bytes file = ReadBytes(Path("a.y4m"));
    const CY4m y4m = ParseY4m({file.begin(), file.end()}, bytes);
    EXPECT_EQ(y4m.header,
              std::string("YUV4MPEG2 W320 H240 F25:2 Ip A1:1 ") + layout + " XCOLORRANGE=FULL\n");
    ASSERT_EQ(y4m.frames.size(), std::size_t{frames});
    // Luma survives every way up to the rounding of RGB.
    int worst = 0;
    for (std::size_t i = 0; i < pixels; ++i)
      worst = std::max(worst, std::abs(y4m.frames[5][i] - exact.frames[5][i]));
    EXPECT_LE(worst, std::string(name) == "rgb" ? 40 : 0) << name;
  }
}

TEST_F(ClientTest, WrittenPicturesAndVideosCanBeRecordedAgain) {
  ASSERT_EQ(Run("play @demo.zts --png @png --y4m @a.y4m --video @a.mkv").status, 0);
  for (const char* input : {"png/%06d.png", "a.y4m", "a.mkv"}) {
    const CRun record = Run("record @" + std::string(input) + " @again.zts --quality 90");
    EXPECT_EQ(record.status, 0) << record.errors;
    EXPECT_EQ(record.errors, "");
    const nlohmann::json info = Info("again.zts");
    EXPECT_EQ(info["totals"]["frames"], frames) << input;
    EXPECT_EQ(info["frames"][11]["width"], width) << input;
  }
  ASSERT_EQ(Run("record @png/000003.png @one.zts --size 161x75").status, 0);
  EXPECT_EQ(Info("one.zts")["frames"].size(), 1U);
  EXPECT_EQ(Info("one.zts")["frames"][0]["height"], 75);
  ASSERT_EQ(Run("record @a.mkv @few.zts --frames 5").status, 0);
  EXPECT_EQ(Info("few.zts")["frames"].size(), 5U);
  // Of a cut input the whole pictures are kept.
  Bytes stream = ReadBytes(Path("a.y4m"));
  stream.resize(stream.size() * 7 / 24);
  WriteBytes(Path("cut.y4m"), stream);
  ASSERT_EQ(Run("record @cut.y4m @cut.zts").status, 0);
  EXPECT_EQ(Info("cut.zts")["frames"].size(), 3U);
  // Frames of different sizes in one file become pictures of one size in a video.
  Bytes mixed = ReadBytes(Path("few.zts"));
  const Bytes other = ReadBytes(Path("one.zts"));
  mixed.insert(mixed.end(), other.begin(), other.end());
  WriteBytes(Path("mixed.zts"), mixed);
  const CRun play = Run("play @mixed.zts --y4m - --pixels yuv");
  EXPECT_EQ(play.status, 0) << play.errors;
  EXPECT_EQ(ParseY4m(play.output, std::size_t{width} * height * 3).frames.size(), 6U);
}

// Luma runs through the whole range, chroma changes with each of its own samples: what is
// stretched, clipped or interpolated on the way in shows.
TEST_F(ClientTest, RecordingKeepsRangeAndChroma) {
  constexpr int side = 64, half = side / 2;
  for (const auto& [format, isFull] : {std::pair<std::string, bool>{"mjpegdiff", false},
                                       {"mjpegdiff", true},
                                       {"mjpeg", false},
                                       {"mjpeg", true}}) {
    // Differential video smooths chroma from column to column.
    const auto isHigh = [&](int i) { return (i / half + (format == "mjpeg" ? i : 0)) % 2 != 0; };
    const int low = isFull ? 0 : 16, span = isFull ? 255 : 219;
    Bytes picture(side * side + 2 * half * half);
    for (int i = 0; i < side * side; ++i)
      picture[static_cast<std::size_t>(i)] =
          static_cast<std::uint8_t>(low + span * (i % side) / (side - 1));
    for (int i = 0; i < 2 * half * half; ++i)
      picture[static_cast<std::size_t>(side * side + i)] = isHigh(i) ? 168 : 88;
    std::string stream = "YUV4MPEG2 W64 H64 F25:1 Ip A1:1 C420jpeg";
    stream += isFull ? " XCOLORRANGE=FULL\nFRAME\n" : "\nFRAME\n";
    Bytes file(stream.begin(), stream.end());
    file.insert(file.end(), picture.begin(), picture.end());
    WriteBytes(Path("in.y4m"), file);
    ASSERT_EQ(Run("record @in.y4m @range.zts --quality 100 --format " + format).status, 0);
    // At half the size each pixel has its own chroma sample, before a decoder smooths it.
    const CRun play = Run("play @range.zts --scale 2 --pixels yuv --y4m -");
    const CRun full = Run("play @range.zts --pixels yuv --y4m -");
    const Bytes luma = ParseY4m(full.output, side * side * 3).frames.at(0);
    const Bytes chroma = ParseY4m(play.output, half * half * 3).frames.at(0);
    for (int i = 0; i < side * side; ++i)
      ASSERT_NEAR(luma[static_cast<std::size_t>(i)], 255 * (i % side) / (side - 1), 3)
          << i << isFull << format;
    const double gain = isFull ? 1 : 255.0 / 224;
    for (int i = 0; i < half * half; ++i)
      ASSERT_NEAR(chroma[static_cast<std::size_t>(half * half + i)],
                  128 + gain * (isHigh(i) ? 40 : -40), 4)
          << i << isFull << format;
  }
  // Gray image files use the whole range without saying so.
  ASSERT_EQ(Run("play @range.zts --pixels gray --png @gray").status, 0);
  ASSERT_EQ(Run("record @gray/000000.png @gray.zts --quality 100").status, 0);
  const CRun gray = Run("play @gray.zts --pixels gray --y4m -");
  const Bytes luma = ParseY4m(gray.output, side * side).frames.at(0);
  for (std::size_t i = 0; i < luma.size(); ++i)
    ASSERT_NEAR(luma[i], 255 * (i % side) / (side - 1), 4) << i;
}

TEST_F(ClientTest, DamageIsNamedAndTheRestIsKept) {
  const Bytes good = ReadBytes(Path("demo.zts"));
  const nlohmann::json info = Info("demo.zts");
  const auto offsetOf = [&](std::size_t frame) {
    return info["frames"][frame]["offset"].get<std::size_t>();
  };
  const std::size_t all = good.size(), fifth = offsetOf(5), last = offsetOf(11);
  const Bytes marker{0xFF, 0xC0};
  const auto found = std::search(good.begin() + static_cast<std::ptrdiff_t>(fifth), good.end(),
                                 marker.begin(), marker.end());
  const auto size = static_cast<std::size_t>(found - good.begin()) + 5;
  const std::string cutOff = "offset " + std::to_string(last) + ": frame 11: cut";
  const std::string bad = "offset " + std::to_string(fifth) + ": frame 5: ";
  const std::string decode = "frame 5 at offset " + std::to_string(fifth) + " cannot be decoded: ";
  const struct {
    const char* name;
    std::size_t length;  // of the file
    std::vector<std::pair<std::size_t, std::uint8_t>> changes;
    std::size_t played;
    std::string message;
  } cases[] = {
      {"cut in the payload", all - 1, {}, 11, cutOff},
      {"cut in the header", last + 30, {}, 11, cutOff + ", 30"},
      {"no size", all, {{fifth + 4, 0}, {fifth + 5, 0}}, 5, bad + "damaged"},
      {"huge size", all, {{fifth + 7, 0xFF}}, 5, bad + "cut or damaged"},
      {"unknown kind", all, {{fifth, 9}}, 12, ""},
      {"unknown format", all, {{fifth + 24, 5}}, 11, decode + "unknown video format 5"},
      {"no JPEG", all, {{fifth + headerSize, 0}}, 11, decode},
      {"giant", all, {{size, 0xFF}, {size + 1, 0xD0}, {size + 2, 0xFF}}, 11, decode},
  };
  for (const auto& test : cases) {
    Bytes bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(test.length));
    for (const auto& [offset, value] : test.changes)
      bytes[offset] = value;
    WriteBytes(Path("bad.zts"), bytes);
    const CRun play = Run("play @bad.zts --y4m @bad.y4m");
    EXPECT_EQ(play.status, test.message.empty() ? 0 : 1) << test.name;
    EXPECT_EQ(play.ErrorLines(), test.message.empty() ? 0U : 1U) << test.name << play.errors;
    EXPECT_NE(play.errors.find(test.message), std::string::npos) << test.name << play.errors;
    const Bytes stream = ReadBytes(Path("bad.y4m"));
    const CY4m y4m = ParseY4m({stream.begin(), stream.end()}, width * height * 3 / 2);
    EXPECT_EQ(y4m.frames.size(), test.played) << test.name;
  }
  const CRun verbose = Run("play -v @bad.zts");
  EXPECT_NE(verbose.errors.find("library log, level 1: "), std::string::npos) << verbose.errors;
  WriteBytes(Path("cut.zts"), {good.begin(), good.end() - 5});
  const CRun cut = Run("info --json @cut.zts");
  EXPECT_EQ(cut.status, 1);
  EXPECT_EQ(nlohmann::json::parse(cut.output)["damage"]["offset"], last);
  EXPECT_EQ(nlohmann::json::parse(cut.output)["frames"].size(), 11U);
}

TEST_F(ClientTest, ErrorsAreOneLineAndStatusOne) {
  WriteBytes(Path("empty.zts"), {});
  WriteBytes(Path("text.txt"), Bytes(100, 'x'));
  const std::string zero = R"({"Distance01": 0})";
  WriteBytes(Path("zero.json"), {zero.begin(), zero.end()});
  ASSERT_EQ(Run("play @demo.zts --png @png").status, 0);
  ASSERT_EQ(Run("record @png/000000.png @odd.zts --size 99x60").status, 0);
  for (const auto& [arguments, message] : {
           std::pair{"", "subcommand"},
           {"play @missing.zts", "missing.zts: cannot read"},
           {"info @.", "cannot read"},
           {"play @empty.zts", "no frame"},
           {"play @text.txt", "offset 0: frame 0: damaged"},
           {"play @demo.zts --scale 3", "--scale"},
           {"play @demo.zts --pixels cmyk", "--pixels"},
           {"play @demo.zts --video @a.unknown", "a.unknown"},
           {"play @demo.zts --y4m @no/a.y4m", "no/a.y4m: cannot write"},
           {"play @demo.zts --y4m /dev/full", "/dev/full: cannot write"},
           {"play @odd.zts --pixels yuyv", "whole pairs of pixels"},
           {"record @missing.avi @a.zts", "missing.avi: cannot open: No such file"},
           {"record @text.txt @a.zts", "text.txt: "},
           {"record @png/000000.png @png/000000.png", "is the input"},
           {"record @png/000000.png @no/a.zts", "no/a.zts: cannot write"},
           {"record @png/000000.png @a.zts --size 640", "--size"},
           {"record @png/000000.png @a.zts --size 8x8", "cannot be encoded"},
           {"record @png/000000.png @a.zts --format h264", "--format"},
           {"record @png/000000.png @a.zts --advanced", "--advanced needs --format mjpegdiff"},
           {"record @png/000000.png @a.zts --format mjpegdiff --bits 32", "--bits"},
           {"record @png/000000.png @a.zts --format mjpegdiff --size 15x64", "too small"},
           {"play @demo-diff.zts --drop all", "--drop"},
           {"play @demo-diff.zts --drop-every 2", "--drop"},
           {"play @demo-diff.zts --pixels gray", "no gray pictures"},
           {"calibrate @png/000000.png --config @zero.json --out @a.zts", "no calibration"},
           {"demo --out /dev/null/x", "/dev/null/x"},
       }) {
    const CRun run = Run(arguments);
    EXPECT_EQ(run.status, 1) << arguments;
    EXPECT_EQ(run.ErrorLines(), 1U) << arguments << ": " << run.errors;
    EXPECT_EQ(run.errors.find("ztclient: "), 0U) << arguments << ": " << run.errors;
    EXPECT_NE(run.errors.find(message), std::string::npos) << arguments << ": " << run.errors;
  }
  EXPECT_FALSE(std::filesystem::exists(Path("a.zts")));
  EXPECT_EQ(Run("play --help").status, 0);
}

TEST_F(ClientTest, ProgressIsShownOnATerminalOnly) {
  EXPECT_EQ(Run("play @demo.zts").errors, "");
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  ASSERT_GE(child, 0);
  if (child == 0) {
    execl(ZTCLIENT, ZTCLIENT, "play", Path("demo.zts").c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  std::string shown;
  char buffer[4096];
  for (ssize_t size; (size = read(terminal, buffer, sizeof buffer)) > 0;)
    shown.append(buffer, static_cast<std::size_t>(size));
  close(terminal);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0) << shown;
  for (const char* part : {"\rplay  [##", " %  1 frame", "frames/s", " left", "\r\x1b[K"})
    EXPECT_NE(shown.find(part), std::string::npos) << part << "\n" << shown;
}

std::vector<std::int64_t> BarsOf(const std::string& text) {
  std::vector<std::int64_t> bars;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    long long first = 0, last = 0, pixels = 0;
    if (std::sscanf(line.c_str(), "%lld to %lld %lld", &first, &last, &pixels) == 3)
      bars.push_back(pixels);
  }
  return bars;
}

TEST_F(ClientTest, HistogramsCountThePixelsOfAPicture) {
  ASSERT_EQ(Run("play @demo.zts --pixels gray --png @png").status, 0);
  const Bytes gray =
      ParseY4m(Run("play @demo.zts --pixels gray --y4m -").output, std::size_t{width} * height)
          .frames.at(3);
  std::vector<std::int64_t> all(32), left(32);
  for (std::size_t i = 0; i < gray.size(); ++i) {
    ++all[gray[i] / 8];
    if (i % width < width / 2) ++left[gray[i] / 8];
  }
  const std::string picture = "histogram @png/000003.png";
  EXPECT_EQ(BarsOf(Run(picture + " --png @plot.png").output), all);
  EXPECT_EQ(ReadBytes(Path("plot.png")).at(1), 'P');
  std::ofstream(Path("mask.json")) << R"({"Masks": [[0, 0, 8192, 0, 8192, 16384, 0, 16384]]})";
  for (int x = 0; x < width / 2; ++x)  // the last row lies outside of any polygon
    --left[gray[gray.size() - width + static_cast<std::size_t>(x)] / 8];
  EXPECT_EQ(BarsOf(Run(picture + " --mask @mask.json").output), left);
  for (const char* mask : {"[[0, 0, 5]]", "[[0, 40000]]", "{}", "[0", "7"}) {
    std::ofstream(Path("mask.json")) << mask;
    const CRun run = Run(picture + " --mask @mask.json");
    EXPECT_EQ(run.status, 1) << mask;
    EXPECT_EQ(run.ErrorLines(), 1U) << run.errors;
  }
}

TEST_F(ClientTest, TriangulationsEstimateAndDrawPlanes) {
  std::ofstream points(Path("points.csv"));
  points << "# a plane\r\n\n";
  for (int i = 0; i < 144; i += 3)
    points << i % 12 << ", " << i / 12 << "," << 2 * (i % 12) - i / 12 << ",7\n";
  points.close();
  const std::string command = "triangulate @points.csv --rect 0,0,12,12";
  EXPECT_EQ(Run(command + " --at 4,5 --at 12,13").output, "4,5,3,7\n12,13,0,0\n");
  EXPECT_EQ(Run(command).output.substr(0, 16), "0,0,0,7\n3,0,6,7\n");
  EXPECT_NE(Run(command + " --png @field.png").output.find("field.png: -11 to "),
            std::string::npos);
  EXPECT_EQ(ReadBytes(Path("field.png")).at(1), 'P');
  for (const char* wrong :
       {" --at 4", " --at 4,x", " --rect 0,0,5,5,5", " --rect 0,0,0,9 --png @a"}) {
    const CRun run = Run("triangulate @points.csv" + std::string(wrong));
    EXPECT_EQ(run.status, 1) << wrong;
    EXPECT_EQ(run.ErrorLines(), 1U) << run.errors;
  }
  std::ofstream(Path("points.csv")) << "1,2,\n";
  EXPECT_NE(Run(command).errors.find("points.csv:1: is no point"), std::string::npos);
}

// The exports come from the shared library; the static twin gives none of its own.
TEST_F(ClientTest, TheTwinInsideHasNoExports) {
  EXPECT_EQ(std::system("! nm '" ZTCLIENT "' | grep -E ' [TtDdBb] (ztlib_|idct8x8)'"), 0);
}

}  // namespace
