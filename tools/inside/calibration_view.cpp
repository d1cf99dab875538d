#include "tools/inside/calibration_view.h"

#include "client/console.h"
#include "client/text.h"
#include "main/lib/base/logger.h"
#include "main/lib/calib/calibrator3d.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace ztlib;

namespace {

constexpr float virtualSize = 16384;

constexpr CColor gridColor{255, 214, 10}, farGridColor{205, 205, 205}, horizonColor{255, 69, 58},
    segmentColor{10, 132, 255}, squareColor{48, 209, 88}, poleColor{255, 149, 0};

// Complains about unknown names: a misspelt one would leave a default in place.
void CheckKeys(const CData& configuration, const std::string& name) {
  const CData known = CCalibrator3D().GetConfig();
  for (const CDataElement& element : configuration.Elements()) {
    const auto key = std::string(configuration.KeyText(element.key));
    if (known.FindByName(key) < 0 && element.key != Tok::FixPointHelper && element.key != Tok::Info)
      Complain(Text("%s: %s is no key of a calibration", name.c_str(), key.c_str()));
  }
}

// Collects the log lines of the library that is linked in.
std::vector<std::string>& CollectedLines() {
  static std::vector<std::string> lines;
  static const bool once = [] {
    Logger().AddStream(
        new CFunctionLogStream([](int, const char* text) { lines.emplace_back(text); }));
    return true;
  }();
  (void)once;
  return lines;
}

// Draws in virtual coordinates the parts that are in the picture.
class CPainter {
 public:
  explicit CPainter(CCanvas& target)
      : canvas(target),
        scaleX(float(target.Width()) / virtualSize),
        scaleY(float(target.Height()) / virtualSize),
        unit(std::max(1.0F, float(target.Height()) / 480)) {}

  void Line(CPointF from, CPointF to, float thickness, const CColor& color) {
    // A line is drawn in pieces, so that each has few pixels around it to check.
    constexpr int pieces = 32;
    const auto at = [&](int i) {
      const float share = float(i) / pieces;
      return CPointF{from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share};
    };
    for (int i = 0; i < pieces; ++i)
      if (IsNear(at(i)) && IsNear(at(i + 1)))
        canvas.DrawLine(Place(at(i)), Place(at(i + 1)), thickness * unit, {color});
  }

  void Notch(CPointF at, float half, const CColor& color) {
    if (!IsNear(at)) return;
    const CPoint middle = Place(at);
    canvas.DrawLine({middle.x - half * unit, middle.y}, {middle.x + half * unit, middle.y},
                    1.6F * unit, {color});
  }

  void Area(const std::array<CPointF, 4>& corners, const CColor& color, float opacity) {
    if (!std::all_of(corners.begin(), corners.end(), IsNear)) return;
    std::array<CPoint, 4> points;
    std::transform(corners.begin(), corners.end(), points.begin(),
                   [&](CPointF corner) { return Place(corner); });
    float turn = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      const CPoint &p = points[i], &q = points[(i + 1) % 4];
      turn += p.x * q.y - q.x * p.y;
    }
    if (turn < 0) std::reverse(points.begin(), points.end());
    canvas.FillConvex(points, {color, 0, opacity});
  }

 private:
  static bool IsNear(CPointF p) {
    return std::abs(p.x - virtualSize / 2) < 2 * virtualSize &&
           std::abs(p.y - virtualSize / 2) < 2 * virtualSize;
  }
  [[nodiscard]] CPoint Place(CPointF p) const { return {p.x * scaleX, p.y * scaleY}; }

  CCanvas& canvas;
  float scaleX, scaleY, unit;
};

CPointF PointOf(const CData& list, std::uint64_t position) {
  const CData& node = *list.At(position).value.GetNode();
  return {static_cast<float>(node.GetDouble(Tok::X, 0)),
          static_cast<float>(node.GetDouble(Tok::Y, 0))};
}

void DrawLines(CPainter& painter, const CData& points, float thickness, const CColor& color) {
  for (std::uint64_t i = 0; i + 1 < points.Count(); i += 2)
    painter.Line(PointOf(points, i), PointOf(points, i + 1), thickness, color);
}

}  // namespace

struct CCalibrationView::CInside {
  mutable CCalibrator3D calibrator;
  float width, height;

  [[nodiscard]] CPointF ToVirtual(CPoint p) const {
    return {p.x * virtualSize / width, p.y * virtualSize / height};
  }
  // Returns a point of ground that the tables cover; their last point stands for all ground beyond.
  [[nodiscard]] std::optional<CPointF> GroundPoint(float along01, float along03) const {
    CPointF point, again;
    constexpr float tolerance = 0.1F;
    if (!calibrator.ImagePosition(along01, along03, point) || !calibrator.GetGround(point, again) ||
        std::abs(again.x - along01) > tolerance || std::abs(again.y - along03) > tolerance)
      return std::nullopt;
    return point;
  }
  void DrawNeighbourhood(CPainter& painter, float length01, float length03) const;
  void DrawSquare(CPainter& painter, float along01, float along03) const;
  void DrawPole(CPainter& painter, float along01, float along03) const;
};

CCalibrationView::CCalibrationView(const Json& configuration, const std::string& name, int width,
                                   int height)
    : inside(std::make_unique<CInside>()) {
  const ztlib::TreeWriter block = BlockOf(configuration, name);
  CData tree;
  ParseTagged(tree, block.Blob().data, block.Blob().size);
  CheckKeys(tree, name);
  inside->width = float(width);
  inside->height = float(height);
  CollectedLines().clear();
  inside->calibrator.Configure(tree);
  log = CollectedLines();
}

CCalibrationView::~CCalibrationView() = default;

bool CCalibrationView::HasGround() const {
  return inside->calibrator.IsConfigured();
}

bool CCalibrationView::HasHeight() const {
  return inside->calibrator.IsThreeDReady();
}

std::optional<float> CCalibrationView::Height(CPoint foot, CPoint head) const {
  float meters = 0;
  if (!inside->calibrator.Height(inside->ToVirtual(foot), inside->ToVirtual(head), meters))
    return std::nullopt;
  return meters;
}

// Draws the grid up to one length around the rectangle, with the smallest step of few enough lines.
void CCalibrationView::CInside::DrawNeighbourhood(CPainter& painter, float length01,
                                                  float length03) const {
  constexpr float mostLines = 40;
  constexpr int pieces = 24;
  float step = 1;
  while (3 * std::max(length01, length03) / step > mostLines)
    step *= 2;
  const auto draw = [&](float length, float otherLength, auto&& at) {
    for (float i = std::ceil(-length / step); i * step <= 2 * length; ++i)
      for (int piece = 0; piece < pieces; ++piece) {
        const auto along = [&](int p) { return otherLength * (3 * float(p) / pieces - 1); };
        const std::optional<CPointF> from = at(i * step, along(piece)),
                                     to = at(i * step, along(piece + 1));
        if (from && to) painter.Line(*from, *to, 0.7F, farGridColor);
      }
  };
  draw(length01, length03, [&](float u, float v) { return GroundPoint(u, v); });
  draw(length03, length01, [&](float v, float u) { return GroundPoint(u, v); });
}

void CCalibrationView::CInside::DrawSquare(CPainter& painter, float along01, float along03) const {
  std::array<CPointF, 4> corners;
  constexpr std::array<CPointF, 4> steps{{{0, 0}, {1, 0}, {1, 1}, {0, 1}}};
  for (std::size_t i = 0; i < 4; ++i) {
    const std::optional<CPointF> corner = GroundPoint(along01 + steps[i].x, along03 + steps[i].y);
    if (!corner) return;
    corners[i] = *corner;
  }
  painter.Area(corners, squareColor, 0.45F);
  for (std::size_t i = 0; i < 4; ++i)
    painter.Line(corners[i], corners[(i + 1) % 4], 1.4F, squareColor);
}

void CCalibrationView::CInside::DrawPole(CPainter& painter, float along01, float along03) const {
  constexpr float length = 2, step = 0.5F;
  const std::optional<CPointF> foot = GroundPoint(along01, along03);
  CPointF head;
  if (!foot || !calibrator.Head(*foot, length, head)) return;
  painter.Line(*foot, head, 2.6F, poleColor);
  for (float at = 0; at <= length; at += step)
    if (calibrator.Head(*foot, at, head)) painter.Notch(head, 4, poleColor);
}

void CCalibrationView::Draw(CCanvas& canvas) const {
  if (!HasGround()) return;
  CPainter painter(canvas);
  const CData tree = inside->calibrator.GetConfig();
  const CData& info = tree.Child(Tok::Info);
  const auto length01 = static_cast<float>(tree.GetDouble(Tok::Distance01, 0));
  const auto length03 = static_cast<float>(tree.GetDouble(Tok::Distance03, 0));

  inside->DrawNeighbourhood(painter, length01, length03);
  DrawLines(painter, info.Child(Tok::Horizon).Child(Tok::Points), 1.8F, horizonColor);
  const CData& grid = info.Child(Tok::Grid);
  DrawLines(painter, grid.Child(Tok::XLines), 1.2F, gridColor);
  DrawLines(painter, grid.Child(Tok::YLines), 1.2F, gridColor);

  // Squares and poles stand along one diagonal each, apart from each other.
  for (const float share : {0.1F, 0.45F, 0.8F})
    inside->DrawSquare(painter, share * length01, share * length03);
  for (const float share : {0.1F, 0.35F, 0.65F, 0.9F})
    inside->DrawPole(painter, share * length01, (1 - share) * length03);
  const CData& segments = tree.Child(Tok::RefSegment);
  for (const CDataElement& element : segments.Elements()) {
    const CData& segment = *element.value.GetNode();
    const auto end = [&](Token x, Token y) {
      return CPointF{static_cast<float>(segment.GetInt(x, 0)),
                     static_cast<float>(segment.GetInt(y, 0))};
    };
    const CPointF foot = end(Tok::X0Virtual, Tok::Y0Virtual);
    const CPointF head = end(Tok::X1Virtual, Tok::Y1Virtual);
    painter.Line(foot, head, 2.6F, segmentColor);
    for (const CPointF at : {foot, head})
      painter.Notch(at, 5, segmentColor);
  }
}
