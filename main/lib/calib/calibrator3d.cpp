#include "main/lib/calib/calibrator3d.h"

#include "main/lib/base/logger.h"
#include "main/lib/calib/plane.h"
#include "main/lib/imgproc/virtual_coordinates.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <memory>
#include <stdexcept>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/calib/calibrator3d";
constexpr auto virtualSize = static_cast<float>(virtualUnits);
constexpr double leastHeight = 1e-6;
constexpr float heightExtension = 4;  // in reference heights, above the first
constexpr int gridCells = 8;

CPointF ToFloat(CPointI p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y)};
}

// Rounds toward zero. Returns nothing for values outside of 32 bits.
std::optional<CPointI> Truncated(CPointF p) {
  // The upper limit is exclusive because 2^31 is a float and 2^31 - 1 is not.
  const auto fits = [](float value) { return value >= -0x1p31F && value < 0x1p31F; };
  if (!fits(p.x) || !fits(p.y)) return std::nullopt;
  return CPointI{static_cast<std::int32_t>(p.x), static_cast<std::int32_t>(p.y)};
}

bool SameBytes(const CData& a, const CData& b) {
  const CBinData first = ToTagged(a), second = ToTagged(b);
  return std::equal(first.Data(), first.Data() + first.Size(), second.Data(),
                    second.Data() + second.Size());
}

void AddLine(CCalibrator3DLines& lines, const std::optional<CPointF>& from,
             const std::optional<CPointF>& to) {
  if (!from || !to) return;
  for (const CPointF& point : {*from, *to}) {
    CCalibrator3DLinePoint& end = lines.Add();
    end.x.Set(point.x);
    end.y.Set(point.y);
  }
}

// The part of a line that crosses the picture from edge to edge, the short way.
void AddAcrossPicture(CCalibrator3DLines& lines, const CLine& line) {
  const auto at = [&](float position) {
    return std::abs(line.b) < std::abs(line.a)
               ? CPointF{-(line.b * position + line.c) / line.a, position}
               : CPointF{position, -(line.a * position + line.c) / line.b};
  };
  AddLine(lines, at(0), at(virtualSize));
}

}  // namespace

CCalibrator3DLineConfig::CCalibrator3DLineConfig() = default;
CCalibrator3DConfig::CCalibrator3DConfig() = default;
CCalibrator3DLinePoint::CCalibrator3DLinePoint() = default;
CCalibrator3DInfo::CCalibrator3DInfo() = default;

CCalibrator3D::CCalibrator3D()
    : CCalibrator2D(std::make_unique<CCalibrator3DConfig>()),
      record(static_cast<CCalibrator3DConfig&>(*configuration)) {}

bool CCalibrator3D::IsSameConfiguration(const CData& data) const {
  CCalibrator3DConfig candidate;
  CCalibratorFixPointHelper candidatePoints;
  candidate.CloneFrom(static_cast<const ACDataFairy*>(&record), true);
  candidatePoints.CloneFrom(static_cast<const ACDataFairy*>(&fixPoints), true);
  try {
    candidate.FromCData(data);
  } catch (const std::logic_error&) {
    return false;  // a text that is no number
  }
  candidatePoints.FromCData(Tok::FixPointHelper, data);
  return SameBytes(candidate.ToCData({}), record.ToCData({})) &&
         SameBytes(candidatePoints.points.Get(), fixPoints.points.Get());
}

void CCalibrator3D::Configure(const CData& data) {
  const std::clock_t begin = std::clock();
  const CAutoLock lock(this);
  // A new object holds the defaults, but has no tables of them yet.
  if (wasConfigured && IsSameConfiguration(data)) {
    ZT_LOG(4, source, 90, "Calibrator3D:  the same config as the previous");
    return;
  }
  wasConfigured = true;
  threeDReady = false;
  CCalibrator2D::Configure(data);
  if (!tablesReady) {
    ZT_LOG(4, source, 97, "Calibrator has been not configured.");
    return;
  }
  CalibrateHeight();
  if (!threeDReady) ZT_LOG(4, source, 101, "Calibrator3D has been not configured.");
  DescribeResult();
  ZT_LOG(4, source, 103, "Calibrator3D configure done. %3.3f M clock",
         static_cast<double>(std::clock() - begin) / 1e6);
}

void CCalibrator3D::CalibrateHeight() {
  zTable.Reset();
  references = {};
  verticalVanishingPoint.reset();
  if (record.lines.Count() == 0) return;
  std::array<CSegment, 2> segments;
  if (!ReadSegments(segments)) {
    ZT_LOG(4, source, 114, "CCalibrator3D: Cannot read calib segments");
    return;
  }
  if (!FindReferences(segments)) {
    ZT_LOG(4, source, 118, "CCalibrator3D: Cannot get refs");
    return;
  }
  const auto& [first, second] = segments;
  verticalVanishingPoint =
      Crossing(Through(first.foot, first.head), Through(second.foot, second.head));
  parallelDirection = first.head - first.foot;
  threeDReady = CalibrateZ(segments);
  if (!threeDReady) ZT_LOG(4, source, 126, "CCalibrator3D: Cannot calib z");
}

bool CCalibrator3D::ReadSegments(std::array<CSegment, 2>& segments) const {
  if (record.lines.Count() < segments.size() || !(record.height.Get() >= leastHeight)) return false;
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const CCalibrator3DLineConfig& line = record.lines.At(i);
    segments[i] = {ToFloat({line.x0.Get(), line.y0.Get()}),
                   ToFloat({line.x1.Get(), line.y1.Get()})};
  }
  return true;
}

// r0 is the corner nearest to the camera. The line of the marks' feet is carried to r0-r1 from
// where it crosses that side: the farther from the vanishing line, the less the marks' error grows.
bool CCalibrator3D::FindReferences(const std::array<CSegment, 2>& segments) {
  if (!vanishingLine) return false;
  const auto fromLine = [&](CPointF p) { return DistanceSquared(*vanishingLine, p.x, p.y); };
  int nearest = -1;
  float best = -1;
  for (int i = 0; i < 4; ++i)
    if (const float distance = fromLine(ToFloat(Corner(i))); distance > best) {
      best = distance;
      nearest = i;
    }
  if (nearest < 0) {
    ZT_LOG(4, source, 152, "CCalibrator3D: it should be impossible(0)");
    return false;
  }
  references.r0 = Corner(nearest);

  const CLine feet = Through(segments[0].foot, segments[1].foot);
  int chosen = -1;
  best = -2;
  for (const int neighbour : {(nearest + 1) % 4, (nearest + 3) % 4}) {
    const std::optional<CPointF> p =
        Crossing(Through(ToFloat(references.r0), ToFloat(Corner(neighbour))), feet);
    if (const float merit = p ? fromLine(*p) : -1; merit > best) {
      best = merit;
      chosen = neighbour;
    }
  }
  if (chosen < 0) {
    ZT_LOG(4, source, 169, "CCalibrator3D: it should be impossible(1)");
    return false;
  }
  references.r1 = Corner(chosen);
  references.horizon = Through(ToFloat(references.r0), ToFloat(references.r1));
  return true;
}

CLine CCalibrator3D::VerticalThrough(CPointF point) const {
  return Through(point,
                 verticalVanishingPoint ? *verticalVanishingPoint : point + parallelDirection);
}

// Carries the reference height from the marks to r0 and r1, and builds the table between them.
bool CCalibrator3D::CalibrateZ(std::array<CSegment, 2>& segments) {
  auto& [first, second] = segments;
  const CLine l0 = Through(first.foot, first.head), l1 = Through(second.foot, second.head);
  if (!Crossing(l0, l1) && DistanceSquared(l0, second.foot.x, second.foot.y) < 0.001F) {
    // Two marks in one line would leave no line between their feet that differs from that of their
    // heads. Two units aside is deliberate: too little to be seen, enough to compute.
    second.foot.x += 2;
    second.head.x += 2;
    ZT_LOG(4, source, 866, "CCalibrator3D: Two segment are in one line: cheating is necessary.");
  }
  const std::optional<CPointF> p = Crossing(references.horizon, Through(first.foot, second.foot));
  if (!p) {
    ZT_LOG(4, source, 875, "CCalibrator3D: not valid conf(2) TODO: develop this case");
    return false;
  }
  const std::optional<CPointF> q = Crossing(VerticalThrough(*p), Through(first.head, second.head));
  if (!q) {
    ZT_LOG(4, source, 883, "CCalibrator3D: not valid conf(3) it should be impossible");
    return false;
  }
  const std::optional<CPointF> a = Crossing(references.horizon, *vanishingLine);
  const CLine transfer = a ? Through(*a, *q) : ParallelThrough(*vanishingLine, *q);
  const std::optional<CPointF> c0 = Crossing(VerticalThrough(ToFloat(references.r0)), transfer);
  if (!c0) {
    ZT_LOG(4, source, 900, "CCalibrator3D: not valid conf(4) it should be impossible");
    return false;
  }
  const std::optional<CPointF> c1 = Crossing(VerticalThrough(ToFloat(references.r1)), transfer);
  if (!c1) {
    ZT_LOG(4, source, 904, "CCalibrator3D: not valid conf(5) it should be impossible");
    return false;
  }
  const std::optional<CPointI> top0 = Truncated(*c0), top1 = Truncated(*c1);
  if (!top0 || !top1) return false;
  const auto height = static_cast<float>(record.height.Get());
  return zTable.Configure(references.r0.x, references.r0.y, references.r1.x, references.r1.y,
                          top0->x, top0->y, top1->x, top1->y, height, zTable.usualStep, 0,
                          heightExtension * height);
}

// The reference that is seen from the foot at the greater angle to the vertical: a foot straight
// behind a reference has its height on the reference's own vertical, where it cannot be read.
CCalibrator3D::CCarrier CCalibrator3D::CarrierOf(CPointF foot) const {
  constexpr float atFoot = 2;  // above any sine
  CCarrier carrier;
  carrier.vertical = VerticalThrough(foot);
  const CLine& v = carrier.vertical;
  const auto squaredSine = [&](CPointF reference) {
    const CPointF way = reference - foot;
    const float length = SquaredLength(way);
    if (length < 1e-6F) return atFoot;
    const float across = way.x * v.a + way.y * v.b;
    return across * across / (length * (v.a * v.a + v.b * v.b));
  };
  const CPointF r0 = ToFloat(references.r0), r1 = ToFloat(references.r1);
  const float s0 = squaredSine(r0), s1 = squaredSine(r1);
  carrier.isFirst = !(s1 > s0);
  const CPointF reference = carrier.isFirst ? r0 : r1;
  carrier.atReference = (carrier.isFirst ? s0 : s1) == atFoot;
  carrier.referenceVertical = VerticalThrough(reference);
  carrier.ground = Through(foot, reference);
  carrier.vanishingPoint = Crossing(carrier.ground, *vanishingLine);
  return carrier;
}

std::optional<CPointF> CCalibrator3D::Carry(const CCarrier& carrier, CPointF point,
                                            const CLine& vertical) {
  return Crossing(vertical, carrier.vanishingPoint ? Through(point, *carrier.vanishingPoint)
                                                   : ParallelThrough(carrier.ground, point));
}

bool CCalibrator3D::Height(CPointF foot, CPointF head, float& meters) {
  const CAutoLock lock(this);
  if (!threeDReady || !IsGround(foot)) return false;
  const CCarrier carrier = CarrierOf(foot);
  const CLine level = Through({0, head.y}, {virtualSize, head.y});
  std::optional<CPointF> top = Crossing(carrier.vertical, level).value_or(head);
  if (!carrier.atReference) top = Carry(carrier, *top, carrier.referenceVertical);
  float key = 0;
  if (!top || !zTable.KeyOf(*top, key) || !(key <= zTable.maximumKey)) return false;
  const float height = zTable.Get(key);
  if (!std::isfinite(height)) return false;
  meters = height;
  return true;
}

bool CCalibrator3D::Head(CPointF foot, float meters, CPointF& point) {
  const CAutoLock lock(this);
  const std::optional<CPointF> head = HeadOf(foot, meters);
  if (head) point = *head;
  return head.has_value();
}

std::optional<CPointF> CCalibrator3D::HeadOf(CPointF foot, float meters) const {
  if (!threeDReady || !IsGround(foot)) return std::nullopt;
  const CCarrier carrier = CarrierOf(foot);
  std::optional<CPointF> top = zTable.PointOf(zTable.GetInverse(meters));
  if (!carrier.isFirst) top = Crossing(zTable.SideB(), zTable.LineAcross(*top));
  if (top && !carrier.atReference) top = Carry(carrier, *top, carrier.vertical);
  return top;
}

void CCalibrator3D::DescribeResult() {
  info.isConfigured.Set(tablesReady);
  info.ready.Set(threeDReady);
  for (CCalibrator3DLines* lines : {&info.grid.xLines, &info.grid.yLines, &info.ground.points,
                                    &info.heads.points, &info.horizon.points})
    lines->Resize(0);

  const auto at = [&](float along01, float along03) {
    CPointF point;
    return ImagePosition(along01, along03, point) ? std::optional(point) : std::nullopt;
  };
  const auto length01 = static_cast<float>(record.distance01.Get());
  const auto length03 = static_cast<float>(record.distance03.Get());
  for (int i = 0; i <= gridCells; ++i) {
    const float along01 = static_cast<float>(i) * length01 / gridCells;
    const float along03 = static_cast<float>(i) * length03 / gridCells;
    AddLine(info.grid.xLines, at(0, along03), at(length01, along03));
    AddLine(info.grid.yLines, at(along01, 0), at(along01, length03));
  }
  const auto height = static_cast<float>(record.height.Get());
  for (int i = 0; i < 4; i += 2) {
    const CPointF from = ToFloat(Corner(i)), to = ToFloat(Corner(i + 1));
    AddLine(info.ground.points, from, to);
    AddLine(info.heads.points, HeadOf(from, height), HeadOf(to, height));
  }
  if (vanishingLine) AddAcrossPicture(info.horizon.points, *vanishingLine);
  const CPointF vertical = verticalVanishingPoint.value_or(CPointF{});
  info.additionalPoints.r0x.Set(references.r0.x);
  info.additionalPoints.r0y.Set(references.r0.y);
  info.additionalPoints.r1x.Set(references.r1.x);
  info.additionalPoints.r1y.Set(references.r1.y);
  info.additionalPoints.verticalX.Set(vertical.x);
  info.additionalPoints.verticalY.Set(vertical.y);
}

CData CCalibrator3D::GetConfig() {
  const CAutoLock lock(this);
  CData data = CCalibrator2D::GetConfig();
  if (tablesReady) info.ToCData(Tok::Info, data, {});
  return data;
}

bool CCalibrator3D::IsThreeDReady() {
  const CAutoLock lock(this);
  return threeDReady;
}

}  // namespace ztlib
