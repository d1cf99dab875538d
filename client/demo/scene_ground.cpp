#include "client/demo/scene_ground.h"

#include "client/demo/scratch_folder.h"
#include "client/picture_io.h"
#include "client/platform.h"
#include "client/text.h"
#include "client/tree_json.h"
#include "client/whole_file.h"

#include <array>
#include <cmath>

namespace {

constexpr float halfWidth = 5;  // of the rectangle on the roadway, in meters
constexpr float markHeight = 2;

// What a user would do: the corners of the roadway and two marks of known height, in 1/16384 of the
// picture's sides.
Json Configuration(const CSyntheticScene& scene, int width, int height) {
  constexpr float virtualSize = 16384;
  const auto mark = [&](Json& record, int number, CPoint point) {
    const auto set = [&](const char* axis, float at, int size) {
      record[axis + std::to_string(number) + "Virtual"] =
          std::lround(at * virtualSize / float(size));
    };
    set("X", point.x, width);
    set("Y", point.y, height);
  };
  const auto [nearest, farthest] = CSyntheticScene::Roadway();
  Json json;
  const std::array<CPoint, 4> corners{
      scene.Project(-halfWidth, nearest, 0), scene.Project(halfWidth, nearest, 0),
      scene.Project(halfWidth, farthest, 0), scene.Project(-halfWidth, farthest, 0)};
  for (std::size_t i = 0; i < corners.size(); ++i)
    mark(json, static_cast<int>(i), corners[i]);
  json["Distance01"] = 2.0 * halfWidth;
  json["Distance03"] = double{farthest} - double{nearest};
  json["RefDistanceMeter"] = double{markHeight};
  for (const auto& [right, away] : {std::pair{-halfWidth, farthest}, {halfWidth, nearest}}) {
    Json segment;
    mark(segment, 0, scene.Project(right, away, 0));
    mark(segment, 1, scene.Project(right, away, markHeight));
    json["RefSegment"].push_back(segment);
  }
  return json;
}

std::string Numbers(CPoint foot, CPoint head) {
  return Text("%ld,%ld,%ld,%ld", std::lround(foot.x), std::lround(foot.y), std::lround(head.x),
              std::lround(head.y));
}

void WriteFile(const std::string& path, const std::string& content) {
  COutputs outputs({}, {path});
  outputs.Write(path,
                std::span(reinterpret_cast<const std::uint8_t*>(content.data()), content.size()));
  outputs.Publish();
}

}  // namespace

std::optional<CGroundPicture> MeasureGround(const CSyntheticScene& scene, std::int64_t index,
                                            const AVFrame& decoded, CMomentMaker& pictures) {
  const CScratchFolder scratch{"picture.png", "calibration.json", "drawn.png", "heights.json"};
  const std::string picture = scratch.Path("picture.png"), drawn = scratch.Path("drawn.png"),
                    calibration = scratch.Path("calibration.json"),
                    heights = scratch.Path("heights.json");
  WriteFile(picture, pictures.Png(decoded));
  WriteFile(calibration, Configuration(scene, decoded.width, decoded.height).dump());
  std::vector<std::string> arguments{"calibrate", picture, "--config", calibration,
                                     "--out",     drawn,   "--json",   heights};
  const std::vector<CSyntheticScene::CStanding> people = scene.Standing();
  for (const CSyntheticScene::CStanding& person : people)
    arguments.insert(arguments.end(), {"--height", Numbers(person.foot, person.head)});
  if (RunBeside("ztinside", arguments) != 0) return std::nullopt;

  const auto [nearest, farthest] = CSyntheticScene::Roadway();
  CGroundPicture ground{index, 2 * halfWidth, farthest - nearest, markHeight, {}, {}};
  ground.drawnJpeg = pictures.Overview(*ReadPicture(drawn, ZTLIB_RGB));
  const Json measured = ParseJson(ReadWholeFile(heights), heights).at("heights");
  for (std::size_t i = 0; i < people.size(); ++i)
    if (measured.at(i).is_number())
      ground.people.push_back({people[i].meters, measured.at(i).get<double>()});
  return ground;
}
