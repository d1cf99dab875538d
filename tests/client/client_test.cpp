// Tests the client as its users know it: a process with arguments, files and an exit status.
#include "tests/client/client_run.h"

#include <cstdio>
#include <map>

namespace {

TEST_F(ClientTest, ReportIsOnePageWithItsPicturesInside) {
  const std::string html = ReadText("report.html");
  const std::size_t pictures = Count(html, "<img ");
  EXPECT_GT(pictures, 30U);
  EXPECT_EQ(Count(html, "src=\"data:image/jpeg;base64,/9j/") +
                Count(html, "src=\"data:image/png;base64,iVBORw0KGgo"),
            pictures);
  std::string text = html;
  for (std::size_t at; (at = text.find("data:image")) != std::string::npos;)
    text.erase(at, text.find('"', at) - at);
  for (const char* part : {"http", "nan", "inf"})
    EXPECT_EQ(Count(text, part), 0U) << part;
  // The yardstick takes about the bytes of differential video.
  double differential = 0, yardstick = 0;
  const std::string plain = "<td class=\"n\">%*[^/]/small></td>", cell = "<td class=\"n\">%lf";
  EXPECT_EQ(std::sscanf(
                &html[html.find("bits per pixel")],
                ("%*[^/]/td>" + plain + cell + "<small>%*[^/]/small></td>" + plain + cell).c_str(),
                &differential, &yardstick),
            2);
  EXPECT_NEAR(yardstick / differential, 1, 0.3);
  // The measured heights are those of the scene.
  int people = 0;
  for (std::size_t at = html.find("true height"); at != std::string::npos;
       at = html.find("<tr><td>", at + 1)) {
    double truth = 0, measured = 0;
    if (std::sscanf(&html[at], "<tr><td>%*d</td><td class=\"n\">%lf m</td><td class=\"n\">%lf m<",
                    &truth, &measured) != 2)
      continue;
    EXPECT_NEAR(truth, measured, 0.12);  // two pixels
    ++people;
  }
  EXPECT_GE(people, 4);
}

TEST_F(ClientTest, ReportShowsFramesThatExistAndNoPlaces) {
  // The clip announces twelve frames and holds fewer.
  Succeed("play @demo.zts --video @a.avi");
  Bytes clip = ReadBytes(Path("a.avi"));
  clip.resize(clip.size() * 2 / 3);
  WriteBytes(Path("cut.avi"), clip);
  Succeed("demo @cut.avi --from 1 --sensitivity 0 --no-overflow-keys --quality 60 --out @cut");
  const std::string html = ReadText("cut/report.html");
  for (const char* part :
       {"decoded: a key frame", "decoded: a reference frame", "decoded: a plain frame",
        "<th class=\"n\">Layered</th>", "<dd>ztclient demo cut.avi --quality 60 --from 1 --sens"})
    ExpectPart(html, part);
  EXPECT_EQ(Count(html, folder.filename().string()), 0U);
}

TEST_F(ClientTest, CalibrationIsDrawnOverThePicture) {
  Succeed("play @demo.zts --png @png");
  WriteText("c.json", R"({"X0Virtual": 2000, "Y0Virtual": 14165, "X1Virtual": 14000,
                          "Y1Virtual": 14165, "X2Virtual": 12300, "Y2Virtual": 8943,
                          "X3Virtual": 4000, "Y3Virtual": 8943,
                          "Distance01": 10, "Distance03": 10.0})");
  const CRun run = Succeed(
      "ztinside calibrate @png/000000.png --config @c.json --out @c.png --height 9,200,9,150 "
      "--json @c-heights.json");
  EXPECT_EQ(run.errors, "");
  ExpectPart(run.output, "9,200,9,150: no height\n");
  EXPECT_EQ(ReadText("c-heights.json"), "{\n  \"heights\": [\n    null\n  ]\n}\n");
  Succeed("record @c.png @c.zts --quality 100");
  const Bytes picture = Play("c.zts").at(0);
  // Only the edge of the rectangle is yellow, with little blue difference.
  const auto blue = [&](int y) { return picture[width * (height + y) + width / 2 + 20]; };
  EXPECT_LT(blue(14165 * height / 16384), 95);
  EXPECT_GT(blue(15800 * height / 16384), 105);
}

TEST_F(ClientTest, DrawnSceneIsTheSameEveryTime) {
  Succeed("demo --frames 12 --size 320x240 --out @again");
  for (const std::string name : {"demo.zts", "demo-diff.zts", "demo-layered.zts"})
    EXPECT_EQ(ReadBytes(Path("again/" + name)), ReadBytes(Path(name))) << name;
}

TEST_F(ClientTest, PlaysThePixelsOfTheLibraryAtEveryScale) {
  const Bytes file = ReadBytes(Path("demo.zts"));
  const nlohmann::json info = Info("demo.zts");
  EXPECT_EQ(info["totals"]["payloadBytes"], file.size() - frames * headerSize);
  EXPECT_EQ(Count(Run("info @demo.zts").output, "320x240"), std::size_t{frames});
  for (const int scale : {1, 2, 4, 8})
    for (const bool isGray : {false, true}) {
      const CRun play = Run("play @demo.zts --y4m - --scale " + std::to_string(scale) +
                            (isGray ? " --pixels gray" : " --pixels yuv"));
      const int bytes = width * height / scale / scale * (isGray ? 1 : 3);
      const CY4m y4m = ParseY4m(play.output, static_cast<std::size_t>(bytes));
      ASSERT_EQ(y4m.frames.size(), std::size_t{frames}) << play.errors;
      for (std::size_t i = 0; i < y4m.frames.size(); ++i) {
        const auto start = info["frames"][i]["offset"].get<std::size_t>() + headerSize;
        EXPECT_EQ(y4m.frames[i],
                  DecodePlanes(std::span(file).subspan(start, info["frames"][i]["payloadBytes"]),
                               scale, isGray))
            << isGray << " 1/" << scale << " frame " << i;
      }
    }
}

TEST_F(ClientTest, EveryPixelFormatHasItsStreamLayout) {
  for (const std::string file : {"demo.zts", "demo-layered.zts"}) {
    const Bytes exact = Play(file).at(5);
    for (const auto& [name, layout, channels] : {std::tuple{"rgb", "C420jpeg", 3},
                                                 {"yuv", "C444", 6},
                                                 {"yuyv", "C422", 4},
                                                 {"uyvy", "C422", 4}}) {
      const CRun play = Run("play @" + file + " --fps 12.5 --y4m - --pixels " + name);
      const CY4m y4m =
          ParseY4m(play.output, static_cast<std::size_t>(width * height * channels / 2));
      EXPECT_EQ(y4m.header,
                std::string("YUV4MPEG2 W320 H240 F25:2 Ip A1:1 ") + layout + " XCOLORRANGE=FULL\n");
      ASSERT_EQ(y4m.frames.size(), std::size_t{frames}) << play.errors;
      // Luma is kept on every way, except for the rounding of RGB.
      int worst = 0;
      for (std::size_t i = 0; i < exact.size() / 3; ++i)
        worst = std::max(worst, std::abs(y4m.frames[5][i] - exact[i]));
      EXPECT_LE(worst, channels == 3 ? 40 : 0) << file << name;
    }
  }
}

TEST_F(ClientTest, WrittenPicturesAndVideosCanBeRecordedAgain) {
  Succeed("play @demo.zts --png @png --y4m @a.y4m --video @a.mkv");
  ExpectPart(ReadText("png/000000.png"), {"pHYs\0\0\0\1\0\0\0\1", 12});
  // The whole pictures of a cut input are kept.
  Bytes stream = ReadBytes(Path("a.y4m"));
  stream.resize(stream.size() * 7 / 24);
  WriteBytes(Path("cut.y4m"), stream);
  for (const auto& [arguments, name, count, rows] :
       {std::tuple{"png/%06d.png --quality 90", "a.zts", frames, height},
        {"a.mkv", "a.zts", frames, height},
        {"cut.y4m", "a.zts", 3, height},
        {"png/000003.png --size 161x75", "one.zts", 1, 75},
        {"a.mkv --frames 5", "few.zts", 5, height}}) {
    Succeed("record @" + std::string(arguments) + " @" + name);
    EXPECT_EQ(Info(name)["totals"]["frames"], count) << arguments;
    EXPECT_EQ(Info(name)["frames"].back()["height"], rows) << arguments;
  }
  // Frames of different sizes in one file become pictures of one size in a video.
  WriteText("mixed.zts", ReadText("few.zts") + ReadText("one.zts"));
  EXPECT_EQ(Play("mixed.zts").size(), 6U);
}

// Luma runs through the whole range, and each chroma sample differs from the next one, so
// stretching, clipping and interpolation of the input show.
TEST_F(ClientTest, RecordingKeepsRangeAndChroma) {
  constexpr int side = 64, half = side / 2;
  const auto expectRamp = [](const Bytes& luma, const std::string& name) {
    for (int i = 0; i < side * side; ++i)
      ASSERT_NEAR(luma[static_cast<std::size_t>(i)], 255 * (i % side) / (side - 1), 4) << i << name;
  };
  for (const std::string format : {"mjpegdiff", "mjpeg"})
    for (const bool isFull : {false, true}) {
      // Differential video smooths chroma from column to column.
      const auto isHigh = [&](int i) { return (i / half + (format == "mjpeg" ? i : 0)) % 2 != 0; };
      std::string stream = "YUV4MPEG2 W64 H64 F25:1 Ip A1:1 C420jpeg";
      stream += isFull ? " XCOLORRANGE=FULL\nFRAME\n" : "\nFRAME\n";
      for (int i = 0; i < side * side; ++i)
        stream +=
            static_cast<char>((isFull ? 0 : 16) + (isFull ? 255 : 219) * (i % side) / (side - 1));
      for (int i = 0; i < 2 * half * half; ++i)
        stream += static_cast<char>(isHigh(i) ? 168 : 88);
      WriteText("in.y4m", stream);
      Succeed("record @in.y4m @range.zts --quality 100 --format " + format);
      expectRamp(Play("range.zts", 1, side * side).at(0), format);
      // At half the size each pixel has its own chroma sample, before a decoder smooths it.
      const Bytes chroma = Play("range.zts", 2, side * side).at(0);
      const double gain = isFull ? 1 : 255.0 / 224;
      for (int i = 0; i < half * half; ++i)
        ASSERT_NEAR(chroma[static_cast<std::size_t>(half * half + i)],
                    128 + gain * (isHigh(i) ? 40 : -40), 4)
            << i << isFull << format;
    }
  // Gray image files use the whole range without saying so.
  Succeed("play @range.zts --pixels gray --png @gray");
  Succeed("record @gray/000000.png @gray.zts --quality 100");
  expectRamp(Play("gray.zts", 1, side * side).at(0), "gray");
}

TEST_F(ClientTest, DamageIsNamedAndTheRestIsKept) {
  const std::string good = ReadText("demo.zts");
  const nlohmann::json info = Info("demo.zts");
  const std::size_t all = good.size(), fifth = info["frames"][5]["offset"],
                    last = info["frames"][11]["offset"], size = good.find("\xFF\xC0", fifth) + 5;
  const std::string cutOff = "offset " + std::to_string(last) + ": frame 11: cut";
  const std::string bad = "offset " + std::to_string(fifth) + ": frame 5: ";
  const std::string decode = "frame 5 at offset " + std::to_string(fifth) + " cannot be decoded: ";
  const struct {
    const char* name;
    std::size_t length, at;  // of the file, and of the change
    std::string bytes;
    std::size_t played;
    std::string message;
  } cases[] = {
      {"cut in the payload", all - 1, 0, "", 11, cutOff},
      {"no size", all, fifth + 4, std::string(2, '\0'), 5, bad + "damaged"},
      {"unknown kind", all, fifth, "\x09", 12, ""},
      {"unknown format", all, fifth + 24, "\5", 11, decode + "unknown video format 5"},
      {"giant", all, size, "\xFF\xD0\xFF", 11, decode + "its JPEG picture of "},
      {"without an end", all, good.find("\xFF\xD9", fifth), "..", 11,
       decode + "its JPEG data is cut"},
      {"no JPEG", all, fifth + 112, "..", 11, decode + "it holds no JPEG picture"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    std::string file = good.substr(0, test.length);
    WriteText("bad.zts", file.replace(test.at, test.bytes.size(), test.bytes));
    const CRun play = Run("play @bad.zts --y4m -");
    EXPECT_EQ(play.status, test.message.empty() ? 0 : 1);
    EXPECT_EQ(Count(play.errors, "\n"), test.message.empty() ? 1U : 2U) << play.errors;
    ExpectPart(play.errors, test.message);
    EXPECT_EQ(ParseY4m(play.output, width * height * 3 / 2).frames.size(), test.played);
  }
  ExpectPart(Run("play -v @bad.zts").errors, "library log, level 1: ");
  WriteText("bad.zts", good.substr(0, all - 5));
  EXPECT_EQ(Info("bad.zts")["damage"]["offset"], last);
  EXPECT_EQ(Info("bad.zts")["frames"].size(), 11U);
}

TEST_F(ClientTest, ErrorsAreOneLineAndStatusOne) {
  WriteText("empty.zts", "");
  WriteText("text.txt", std::string(100, 'x'));
  WriteText("zero.json", R"({"Distance01": 0})");
  WriteText("points.csv", "1,2,3\n");
  WriteText("wrong.csv", "1,2,\n");
  Succeed("play @demo.zts --png @png");
  Succeed("record @png/000000.png @odd.zts --size 99x60");
  ExpectErrors({
      {"", "subcommand"},
      {"play @missing.zts", "missing.zts: cannot read"},
      {"play /missing.zts", ": /missing.zts: cannot read"},
      {"play @empty.zts", "no frame"},
      {"info --json @text.txt", "offset 0: frame 0: damaged"},
      {"play @demo.zts --scale 3", "--scale"},
      {"play @demo.zts --pixels h264", "--pixels: h264 is none of rgb, yuv, yuyv, uyvy, gray"},
      {"record @demo.zts @a.zts --size 100000x9", "sides of 1 to 65500"},
      {"play @demo.zts --video @a.unknown", "a.unknown"},
      {"play @odd.zts --pixels yuyv", "whole pairs of pixels"},
      {"record @missing.avi @a.zts", "missing.avi: cannot open: No such file"},
      {"record @text.txt @a.zts", "text.txt: "},
      {"record @png/000000.png @a.zts --size 8x8", "8x8 cannot be encoded: so small a picture"},
      {"record @png/000000.png @a.zts --advanced", "--advanced needs --format mjpegdiff"},
      {"record @png/000000.png @a.zts --format mjpegdiff --bits 32", "--bits"},
      {"record @png/000000.png @a.zts --format mjpegdiff --size 15x64", "too small"},
      {"play @demo-diff.zts --drop-every 2", "--drop"},
      {"play @demo-diff.zts --pixels gray", "no gray pictures"},
      {"triangulate @points.csv", "--rect is required"},
      {"triangulate @points.csv --rect 0,0,9,9 --at 4,x", "--at"},
      {"triangulate @points.csv --rect 0,0,0,9 --png @a.zts", "--rect"},
      {"triangulate @wrong.csv --rect 0,0,9,9", "wrong.csv:1: is no point"},
      {"ztinside calibrate @png/000000.png --config @zero.json --out @a.zts", "no calibration"},
      {"demo --out @text.txt/x", "cannot make the folder"},
  });
  for (const char* mask : {"[[0, 0, 5]]", "[[0, 40000]]", "7"}) {
    WriteText("mask.json", mask);
    ExpectError("ztinside histogram @png/000003.png --mask @mask.json", "mask.json");
  }
  EXPECT_FALSE(fs::exists(Path("a.zts")));
  const std::string help = Succeed("record --help").output;
  for (const char* part :
       {"for the name of the input (required)", "JPEG quality (1 to 100; default 75)",
        "--format mjpeg|mjpegdiff|layered|layereddiff", "Video format (default mjpeg)"})
    ExpectPart(help, part);
}

TEST_F(ClientTest, NoInputIsWritten) {
  Succeed("play @demo.zts --png @png --video @a.mkv");
  WriteText("c.json", R"({"X0Virtual": 2000})");
  WriteText("mask.json", "[[0, 0, 8192, 0, 8192, 16384]]");
  WriteText("p.csv", "0,0,1\n5,0,2\n0,5,3\n");
  WriteBytes(Path("s.raw"), Bytes(64, 7));
  fs::create_directory(Path("linked"));
  const auto link = [this](const std::string& target, const std::string& name) {
    std::error_code error;
    fs::create_symlink("../" + target, Path(name), error);
    if (error) fs::create_hard_link(Path(target), Path(name));
  };
  link("demo.zts", "linked/soft.zts");
  fs::create_hard_link(Path("demo.zts"), Path("linked/hard.mkv"));
  link("png/000007.png", "linked/000000.png");
  Succeed("layers split @demo-layered.zts @k");
  WriteBytes(Path("k/layer0.zts"), ReadBytes(Path("demo-layered.zts")));
  std::map<fs::path, Bytes> before;
  for (const fs::path& file : Files())
    if (fs::is_regular_file(file)) before[file] = ReadBytes(file);
  for (const std::string arguments : {
           "play @linked/soft.zts --video @linked/hard.mkv",
           "play @demo.zts --png @new --y4m @demo.zts",
           "motion @a.mkv --config @mask.json --json @mask.json",
           "motion @png/%06d.png --png @linked",
           "record file:@a.mkv @a.mkv",
           "ztinside histogram @png/000000.png --mask @mask.json --png @mask.json",
           "ztinside convert @s.raw --from gray --to yuv --size 8x8 --out @s.raw",
           "triangulate @p.csv --rect 0,0,9,9 --png @p.csv",
           "ztinside calibrate @png/000000.png --config @c.json --out @x --json @c.json",
           "demo @demo.zts --out @.",
           "layers split @k/layer0.zts @k",
           "layers join @k @k/layer0.zts",
       })
    ExpectError(arguments, "is the input");
  for (const auto& [file, bytes] : before)
    EXPECT_TRUE(ReadBytes(file) == bytes) << file;
  EXPECT_FALSE(fs::exists(Path("new")));
  ExpectError("motion @a.mkv --json @x --video @./x", "is to be written twice");
}

TEST_F(ClientTest, HistogramsCountThePixelsOfAPicture) {
  Succeed("play @demo.zts --pixels gray --png @png");
  const Bytes yuv = Play("demo.zts").at(3);
  std::vector<int> all(32), left(32);
  for (int i = 0; i < width * height; ++i) {
    const std::size_t bar = yuv[static_cast<std::size_t>(i)] / 8;
    ++all[bar];
    // The last row lies outside of any polygon.
    left[bar] += i % width < width / 2 && i / width < height - 1;
  }
  const auto barsOf = [this](const std::string& more) {
    std::vector<int> bars;
    std::istringstream lines(Run("ztinside histogram @png/000003.png" + more).output);
    int pixels = 0;
    for (std::string line; std::getline(lines, line);)
      if (std::sscanf(line.c_str(), "%*d to %*d %d", &pixels) == 1) bars.push_back(pixels);
    return bars;
  };
  EXPECT_EQ(barsOf(" --png @plot.png"), all);
  const Bytes plot = ReadBytes(Path("plot.png"));
  EXPECT_EQ(Bytes(plot.begin() + 16, plot.begin() + 24), (Bytes{0, 0, 2, 208, 0, 0, 1, 224}));
  WriteText("mask.json", R"({"Masks": [[0, 0, 8192, 0, 8192, 16384, 0, 16384]]})");
  EXPECT_EQ(barsOf(" --mask @mask.json"), left);
}

TEST_F(ClientTest, TriangulationsEstimateAndDrawPlanes) {
  std::ostringstream points;
  points << "# a plane\r\n\n";
  for (int i = 0; i < 144; i += 3)
    points << i % 12 << ", " << i / 12 << "," << 2 * (i % 12) - i / 12 << ",7\n";
  WriteText("points.csv", points.str());
  const std::string command = "triangulate @points.csv --rect 0,0,12,12";
  EXPECT_EQ(Run(command + " --at 4,5 --at 12,13").output, "4,5,3,7\n12,13,0,0\n");
  EXPECT_TRUE(Run(command).output.starts_with("0,0,0,7\n3,0,6,7\n"));
  ExpectPart(Run(command + " --png @field.png").output, "field.png: -11 to ");
  EXPECT_EQ(Succeed(command).errors, "");
  WriteText("four.csv", "100,100,5\n500,100,6\n500,400,7\n100,400,8\n");
  ExpectError("triangulate @four.csv --rect 0,0,640,480",
              "four.csv: the estimate is another value at 4 given points: 100,100 500,100 ");
  Succeed("ztinside mesh @points.csv --rect 0,0,12,12 --out @mesh.png");
  for (const char* name : {"field.png", "mesh.png"})
    EXPECT_EQ(ReadBytes(Path(name)).at(1), 'P');
  EXPECT_NE(ReadBytes(Path("field.png")), ReadBytes(Path("mesh.png")));
}

// The client gets the exports from the shared library, ztinside everything from the static one.
TEST_F(ClientTest, NoProgramHoldsTheLibraryTwice) {
  const auto has = [](const char* program, const std::string& text) {
    const Bytes bytes = ReadBytes(program);
    return std::search(bytes.begin(), bytes.end(), text.begin(), text.end()) != bytes.end();
  };
  const std::string inside = "RGBBayer pic is too small.";
  EXPECT_FALSE(has(ZTCLIENT, inside));
  EXPECT_TRUE(has(ZTINSIDE, inside));
  EXPECT_TRUE(has(ZTCLIENT, ZTLIB_SHARED));
  EXPECT_FALSE(has(ZTINSIDE, ZTLIB_SHARED));
}

TEST_F(ClientTest, ADemoWithoutItsNeighbourLeavesThatSectionOut) {
  const fs::path program = ZTCLIENT, alone = Path("alone") / program.filename();
  fs::create_directory(alone.parent_path());
  fs::copy_file(program, alone);
  // Where DLLs lie beside a program, they are needed there.
  for (const auto& entry : fs::directory_iterator(program.parent_path()))
    if (entry.path().extension() == ".dll") fs::copy(entry, alone.parent_path());
  const CRun run = Run(alone, "demo --frames 12 --out @alone");
  EXPECT_EQ(run.status, 0);
  ExpectPart(run.errors, "need ztinside beside this program");
  EXPECT_EQ(Count(ReadText("alone/report.html"), "Meters in the picture"), 0U);
  ExpectPart(ReadText("report.html"), "Meters in the picture");
}

}  // namespace
