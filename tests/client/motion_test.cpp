// Motion as the users of the client meet it: videos in, alarms out.
#include "tests/client/client_run.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr int side = 64, rows = 48;
constexpr int boxWidth = 10, boxHeight = 8, boxLeft = 6, boxTop = 20;
constexpr int first = 40, last = 60, all = 110;  // frames; something moves from first to last

// Ten frames a second of a gray wall; a box crosses the left half of the picture.
Bytes Clip() {
  const std::string head = "YUV4MPEG2 W64 H48 F10:1 Ip A1:1 Cmono\n", mark = "FRAME\n";
  Bytes clip(head.begin(), head.end());
  for (int frame = 0; frame < all; ++frame) {
    Bytes picture(side * rows, 90);
    for (int y = boxTop; y < boxTop + boxHeight && frame >= first && frame < last; ++y)
      std::memset(&picture[static_cast<std::size_t>(y * side + boxLeft + frame - first)], 200,
                  boxWidth);
    clip.insert(clip.end(), mark.begin(), mark.end());
    clip.insert(clip.end(), picture.begin(), picture.end());
  }
  return clip;
}

class MotionClientTest : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    WriteBytes(Path("clip.y4m"), Clip());
  }
  [[nodiscard]] nlohmann::json Motion(const std::string& input, const std::string& config,
                                      const std::string& more = "") const {
    WriteBytes(Path("config.json"), {config.begin(), config.end()});
    const CRun run = Run("motion @" + input + " --config @config.json --json @out.json " + more);
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'),
              all + 2 + (run.output.find("\nalarm 1: from ") != std::string::npos));
    const Bytes text = ReadBytes(Path("out.json"));
    return nlohmann::json::parse(text.begin(), text.end());
  }
};

TEST_F(MotionClientTest, AnAlarmHasItsTimeItsPlaceAndItsSize) {
  ASSERT_EQ(Run("record @clip.y4m @clip.zts --quality 100").status, 0);
  for (const std::string input : {"clip.y4m", "clip.zts"}) {
    const nlohmann::json result = Motion(input, "{}", "--fps 10 --png @png --video @shown.mkv");
    ASSERT_EQ(result["frames"].size(), std::size_t{all});
    const nlohmann::json& before = result["frames"][first - 1];
    EXPECT_EQ(before["percent"], 0.0);
    EXPECT_EQ(before["detectors"][0]["blobs"].size(), 0U);
    const nlohmann::json& frame = result["frames"][first];
    EXPECT_EQ(frame["timeMs"], 100 * first);
    EXPECT_EQ(frame["signal"], true);
    const nlohmann::json box{{"x", boxLeft},
                             {"y", boxTop},
                             {"width", boxWidth},
                             {"height", boxHeight},
                             {"pixels", boxWidth * boxHeight}};
    EXPECT_EQ(frame["detectors"][0]["blobs"], nlohmann::json::array({box})) << input;
    EXPECT_NEAR(frame["percent"], 100.0 * boxWidth * boxHeight / ((side - 1) * (rows - 1)), 1e-4);
    ASSERT_EQ(result["events"].size(), 1U);
    const nlohmann::json& event = result["events"][0];
    EXPECT_EQ(event["startMs"], 100 * first);
    EXPECT_EQ(event["endMs"].get<int>() - event["startMs"].get<int>(), event["lengthMs"]);
    EXPECT_GE(event["endMs"], 100 * (last - 1) + 3100);
    EXPECT_LE(event["endMs"], 100 * (last - 1) + 3600);
    EXPECT_GE(event["highestPercent"], frame["percent"]);
    EXPECT_LT(event["meanPercent"], event["highestPercent"]);
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(Path("png")), {}), all);
  ASSERT_EQ(Run("record @shown.mkv @shown.zts").status, 0);
  EXPECT_EQ(Info("shown.zts")["totals"]["frames"], all);
  // Still pictures are shown as they are; where the box is they turn red, with a frame of red.
  const auto shownAt = [&](int index, int x, int y) {
    const std::string name = std::to_string(index);
    EXPECT_EQ(Run("record @png/0000" + name + ".png @one.zts --quality 100").status, 0);
    const CY4m shown =
        ParseY4m(Run("play @one.zts --pixels yuv --y4m -").output, std::size_t{3} * side * rows);
    const auto pixel = static_cast<std::size_t>(y * side + x);
    return std::pair(shown.frames.at(0)[pixel], shown.frames[0][2 * side * rows + pixel]);
  };
  for (const auto& [index, x, y, isRed] : {std::tuple{first - 1, boxLeft + 4, boxTop + 4, false},
                                           {first, boxLeft + 4, boxTop + 4, true},
                                           {first, 40, 10, false},
                                           {first, 0, 10, true},
                                           {first - 1, 0, 10, false}}) {
    const auto [luma, red] = shownAt(index, x, y);
    EXPECT_EQ(red > 170, isRed) << index << " " << x;
    EXPECT_NEAR(luma, isRed ? luma : 90, 3) << index << " " << x;
  }
}

TEST_F(MotionClientTest, ReportMarksTheAlarm) {
  const std::string config = R"({"ViolationTimeMs":500,"Configs":[{"MotionPercent":1}]})";
  WriteBytes(Path("config.json"), {config.begin(), config.end()});
  ASSERT_EQ(Run("demo @clip.y4m --config @config.json --out @.").status, 0);
  const Bytes page = ReadBytes(Path("report.html"));
  const std::string html(page.begin(), page.end());
  const std::string row = "<tr><td>1</td><td class=\"n\">0:04.50</td>";
  for (const std::string part : {row.c_str(), "<figcaption>Alarm 1, at 0:0", "comes after 0.5 s"})
    EXPECT_NE(html.find(part), std::string::npos) << part;
  // In both plots the alarm is a field from 4.5 s of 10.9 s on, with an edge at either end.
  for (std::size_t at = 0, plot = 0; plot < 2; ++plot) {
    double left = 0, width = 0, start = 0, end = 0;
    at = std::min(html.find("<rect class=\"span\"", at + 1), html.size() - 1);
    ASSERT_EQ(std::sscanf(&html[at],
                          "<rect class=\"span\" x=\"%lf\" y=\"14\" width=\"%lf\" height=\"212\"/>"
                          "<path class=\"edge\" d=\"M%lf 14V226M%lf 14V226\"/>",
                          &left, &width, &start, &end),
              4);
    EXPECT_NEAR(left, 64 + 924 * 45.0 / 109, 0.1);
    EXPECT_EQ(start, left);
    EXPECT_NEAR(end, left + width, 0.11);
  }
}

TEST_F(MotionClientTest, ConfigurationsReachTheDetectors) {
  const std::string left = "[0,0,8192,0,8192,16383,0,16383]";
  const std::string right = "[9216,0,16383,0,16383,16383,9216,16383]";
  const auto masked = [](const std::string& polygons) { return R"({"Masks":[)" + polygons + "]}"; };
  const auto configs = [](const std::string& all) { return R"({"Configs":[)" + all + "]}"; };
  // The start of the alarm in milliseconds; 0 if there is none.
  const std::pair<std::string, int> cases[] = {
      {configs(masked(left)), 4000},
      {configs(masked(right)), 0},
      {configs(masked(right) + "," + masked(left + "," + right)), 4000},
      {R"({"ViolationTimeMs": 500})", 4500},
      {configs(R"({"MotionPercent":50})"), 0},
      {configs(R"({"Sensitivity":0,"MotionPercent":1})"), 4000},
      {R"({"GenerateMetadata":false})", 4000}};
  for (const auto& [config, startMs] : cases) {
    const nlohmann::json result = Motion("clip.y4m", config);
    ASSERT_EQ(result["events"].size(), startMs > 0 ? 1U : 0U) << config;
    for (const nlohmann::json& event : result["events"])
      EXPECT_EQ(event["startMs"], startMs) << config;
  }
  // The client counts the same pixels under a crooked mask as the library, at any size.
  for (const char* width : {"64", "40", "20"})
    for (const std::string polygon : {"[100,3000,9000,200,8000,12000,4000,5000,600,11000]",
                                      "[-900,4100,9000,4100,9000,30000,3,7000]"}) {
      const nlohmann::json result =
          Motion("clip.y4m", configs(masked(polygon + ",[1,1]")), std::string("--width ") + width);
      const int w = result["width"], h = result["height"];
      int counted = 0;
      for (const nlohmann::json& frame : result["frames"]) {
        int pixels = 0;
        for (const nlohmann::json& blob : frame["detectors"][0]["blobs"])
          pixels += blob["pixels"].get<int>();
        EXPECT_NEAR(frame["percent"], 100.0 * pixels / ((w - 1) * (h - 1)), 1e-4);
        counted += pixels;
      }
      EXPECT_GT(counted, 0);
    }
}

TEST_F(MotionClientTest, ErrorsAreOneLine) {
  const auto write = [&](const char* name, const std::string& text) {
    WriteBytes(Path(name), {text.begin(), text.end()});
  };
  write("bad.json", "{]");
  write("kind.json", R"({"Configs":[{"Masks":[{"a":1}]}]})");
  write("key.json", R"({"Configs":[{"Sensitivty":1}]})");
  write("cut.json", "S\1a\1");
  Bytes coded = ReadBytes(Path("demo.zts"));
  coded.erase(coded.end() - 9, coded.end());
  WriteBytes(Path("cut.zts"), coded);
  for (const auto& [arguments, status, message] : {
           std::tuple{"motion @missing.avi", 1, "missing.avi: cannot open"},
           {"motion @missing.zts", 1, "missing.zts: cannot read"},
           {"motion @cut.zts", 1, "cut.zts: offset "},
           {"motion @clip.y4m --width 3", 1, "--width"},
           {"motion @clip.y4m --json @no/a.json", 1, "no/a.json: cannot write"},
           {"motion @clip.y4m --config @no.json", 1, "no.json: cannot read"},
           {"motion @clip.y4m --config @bad.json", 1, "bad.json: no JSON"},
           {"motion @clip.y4m --config @kind.json", 1, "motion detectors refused"},
           {"motion @clip.y4m --config @key.json", 0, "key.json: Sensitivty is no key"},
           {"tree @bad.json", 1, "bad.json: no JSON"},
           {"tree @cut.json", 1, "cut.json: offset 0: no element"},
           {"tree @.", 1, "cannot read"},
           {"demo --config @key.json", 1, "--config"},
       }) {
    const CRun run = Run(arguments);
    EXPECT_EQ(run.status, status) << arguments;
    EXPECT_EQ(run.ErrorLines(), 1U) << arguments << ": " << run.errors;
    EXPECT_NE(run.errors.find(message), std::string::npos) << arguments << ": " << run.errors;
  }
  ASSERT_EQ(Run("tree @key.json").status, 0);
  fs::copy(Path("stdout"), Path("key.bin"));
  EXPECT_EQ(Run("tree --json @key.bin").output, R"({"Configs":[{"Sensitivty":1}]})"
                                                "\n");
}

}  // namespace
