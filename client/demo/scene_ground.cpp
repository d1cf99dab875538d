#include "client/demo/scene_ground.h"

#include "client/picture_io.h"
#include "tools/inside/calibration_view.h"

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

}  // namespace

CGroundPicture MeasureGround(const CSyntheticScene& scene, std::int64_t index,
                             const AVFrame& decoded, CMomentMaker& pictures) {
  const CCalibrationView view(Configuration(scene, decoded.width, decoded.height), scene.Name(),
                              decoded.width, decoded.height);
  const auto [nearest, farthest] = CSyntheticScene::Roadway();
  CGroundPicture ground{index, 2 * halfWidth, farthest - nearest, markHeight, {}, {}};
  CCanvas canvas = CanvasOf(decoded);
  view.Draw(canvas);
  const auto whole = [](CPoint point) { return CPoint{std::round(point.x), std::round(point.y)}; };
  for (const CSyntheticScene::CStanding& person : scene.Standing())
    if (const auto meters = view.Height(whole(person.foot), whole(person.head)))
      ground.people.push_back({person.meters, *meters});
  ground.drawnJpeg = pictures.Overview(*PictureOf(canvas));
  return ground;
}
