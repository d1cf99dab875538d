// Tests motion detection as the client's users know it: they give videos and get alarms.
#include "tests/client/client_run.h"

namespace {

constexpr int side = 62, rows = 48;
constexpr int boxWidth = 10, boxHeight = 8, boxLeft = 6, boxTop = 20;
constexpr int first = 40, last = 60, all = 110;  // frames; something moves from first to last

class MotionClientTest : public ClientTest {
 protected:
  // The clip has ten frames a second of a gray wall; a box crosses the left half of the picture.
  void SetUp() override {
    ClientTest::SetUp();
    std::string clip = "YUV4MPEG2 W62 H48 F10:1 Ip A1:1 Cmono\n";
    for (int frame = 0; frame < all; ++frame) {
      std::string picture(side * rows, 90);
      for (int y = boxTop; y < boxTop + boxHeight && frame >= first && frame < last; ++y)
        picture.replace(static_cast<std::size_t>(y * side + boxLeft + frame - first), boxWidth,
                        boxWidth, '\xC8');
      clip += "FRAME\n" + picture;
    }
    WriteText("clip.y4m", clip);
  }
  [[nodiscard]] nlohmann::json Motion(const std::string& input, const std::string& config,
                                      const std::string& more = "") const {
    WriteText("config.json", config);
    const CRun run =
        Succeed("motion @" + input + " --config @config.json --json @out.json " + more);
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(Count(run.output, "\n"), 1 + Count(run.output, "alarm 1: from ")) << run.output;
    return nlohmann::json::parse(ReadText("out.json"));
  }
};

TEST_F(MotionClientTest, AnAlarmHasItsTimeItsPlaceAndItsSize) {
  Succeed("record @clip.y4m @clip.zts --quality 100");
  for (const std::string input : {"clip.y4m", "clip.zts"}) {
    const nlohmann::json result = Motion(input, "{}", "--fps 10 --png @png --video @shown.mkv");
    ASSERT_EQ(result["frames"].size(), std::size_t{all});
    EXPECT_EQ(result["frames"][first - 1]["detectors"][0]["blobs"].size(), 0U);
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
    EXPECT_NEAR(event["endMs"], 100 * (last - 1) + 3350, 250);
    EXPECT_LT(event["meanPercent"], event["highestPercent"]);
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(Path("png")), {}), all);
  const std::string told = Run("motion -v @clip.y4m").output;
  EXPECT_EQ(Count(told, "\n"), std::size_t{all + 3});
  EXPECT_LT(told.find("alarm 1: "), told.find("0:10.90")) << told;
  Succeed("record @shown.mkv @shown.zts");
  EXPECT_EQ(Info("shown.zts")["totals"]["frames"], all);
  // Still pictures are shown unchanged. With the box, its pixels and a frame around all are red.
  Succeed("record @png/%06d.png @shown.zts --quality 100");
  const std::vector<Bytes> shown = Play("shown.zts", 1, side * rows);
  for (const auto& [index, x, y, isRed] : {std::tuple{first - 1, boxLeft + 4, boxTop + 4, false},
                                           {first, boxLeft + 4, boxTop + 4, true},
                                           {first, 40, 10, false},
                                           {first, 0, 10, true},
                                           {first - 1, 0, 10, false}}) {
    const Bytes& picture = shown.at(static_cast<std::size_t>(index));
    const auto pixel = static_cast<std::size_t>(y * side + x);
    EXPECT_EQ(picture[2 * side * rows + pixel] > 170, isRed) << index << " " << x;
    EXPECT_NEAR(picture[pixel], isRed ? picture[pixel] : 90, 3) << index << " " << x;
  }
}

TEST_F(MotionClientTest, ReportMarksTheAlarm) {
  WriteText("config.json", R"({"ViolationTimeMs":500,"Configs":[{"MotionPercent":1}]})");
  Succeed("demo @clip.y4m --config @config.json --out @.");
  const std::string html = ReadText("report.html");
  ExpectPart(html, "<tr><td>1</td><td class=\"n\">0:04.50</td>");
  // In both plots a field shows the alarm, which begins at 4.5 s of 10.9 s.
  EXPECT_EQ(Count(html, "<rect class=\"span\" x=\"413."), 2U);
}

TEST_F(MotionClientTest, ConfigurationsReachTheDetectors) {
  const std::string left = "[0,0,8192,0,8192,16383,0,16383]";
  const std::string right = "[9216,0,16383,0,16383,16383,9216,16383]";
  const auto masked = [](const std::string& polygons) { return R"({"Masks":[)" + polygons + "]}"; };
  const auto configs = [](const std::string& all) { return R"({"Configs":[)" + all + "]}"; };
  // Each case has the start of the alarm in milliseconds, or 0 if there is none.
  const std::pair<std::string, int> cases[] = {
      {configs(masked(right)), 0},
      {configs(masked(right) + "," + masked(left + "," + right)), 4000},
      {R"({"ViolationTimeMs": 500})", 4500},
      {configs(R"({"MotionPercent":50})"), 0},
      {R"({"GenerateMetadata":false})", 4000}};
  for (const auto& [config, startMs] : cases) {
    const nlohmann::json events = Motion("clip.y4m", config)["events"];
    EXPECT_EQ(events.empty() ? 0 : events[0]["startMs"].get<int>(), startMs) << config;
    EXPECT_LE(events.size(), 1U) << config;
  }
  // Under a mask of any shape and size the client counts the same pixels as the library.
  const std::string polygons =
      "[100,3000,9000,200,8000,12000,4000,5000,600,11000],[-900,4100,9000,4100,9000,30000,3,7000]";
  for (const int width : {62, 33}) {
    const nlohmann::json result = Motion("clip.y4m", configs(masked(polygons + ",[1,1]")),
                                         "--width " + std::to_string(width));
    const int w = result["width"], h = result["height"];
    EXPECT_EQ(w, width);
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
  WriteText("bad.json", "{]");
  WriteText("kind.json", R"({"Configs":[{"Masks":[{"a":1}]}]})");
  WriteText("key.json", R"({"Configs":[{"Sensitivty":1}]})");
  WriteText("cut.json", "S\1a\1");
  const std::string coded = ReadText("demo.zts");
  WriteText("cut.zts", coded.substr(0, coded.size() - 9));
  ExpectErrors({{"motion @missing.avi", "missing.avi: cannot open"},
                {"motion @cut.zts", "cut.zts: offset "},
                {"motion @clip.y4m --config @bad.json", "bad.json: no JSON"},
                {"motion @clip.y4m --config @kind.json", "motion detectors refused"},
                {"tree @cut.json", "cut.json: offset 0: no element"},
                {"demo --config @key.json", "--config"}});
  ExpectPart(Succeed("motion @clip.y4m --config @key.json").errors,
             "key.json: Sensitivty is no key");
  WriteText("key.bin", Succeed("tree @key.json").output);
  EXPECT_EQ(Run("tree --json @key.bin").output, "{\"Configs\":[{\"Sensitivty\":1}]}\n");
}

}  // namespace
