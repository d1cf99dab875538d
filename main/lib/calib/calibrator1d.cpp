#include "main/lib/calib/calibrator1d.h"

#include "main/lib/base/logger.h"
#include "main/lib/calib/plane.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/calib/calibrator1d";
constexpr float epsilon = 1e-6F;

// The subdivision of a sound quadrilateral needs a depth of about 30 and some 1000 samples.
// Rounding can keep the branches of others alive for ever, so both are limited.
constexpr int deepestBranch = 64;
constexpr std::size_t mostSamples = 65536;

// An extension goes this far beyond the quadrilateral in the picture: two widths of the picture.
constexpr float reach = 32768;

float Interpolate(const std::vector<float>& from, const std::vector<float>& to, float at) {
  if (from.empty()) return 0;
  if (!(at >= from.front())) return to.front();  // also what is no number
  const auto above = std::upper_bound(from.begin(), from.end(), at);
  if (above == from.end()) return to.back();
  const auto i = static_cast<std::size_t>(above - from.begin()) - 1;
  if (std::abs(from[i] - from[i + 1]) < epsilon || std::abs(to[i] - to[i + 1]) < epsilon)
    return to[i];
  const CLine line = Through({from[i], to[i]}, {from[i + 1], to[i + 1]});
  return -(line.a * at + line.c) / line.b;
}

// The line through `point` and `meeting`, where lines like `line` meet; parallel to `line` if they do
// not meet.
CLine LineToward(const std::optional<CPointF>& meeting, const CLine& line, CPointF point) {
  return meeting ? Through(point, *meeting) : ParallelThrough(line, point);
}

// Whether four corners, in the order of the table, are a convex quadrilateral.
bool IsProper(const std::array<CPointF, 4>& p) {
  const bool side = SideOf(p[0], p[1], p[3]);
  return SideOf(p[1], p[3], p[2]) == side && SideOf(p[3], p[2], p[0]) == side &&
         SideOf(p[2], p[0], p[1]) == side;
}

// Meters and keys along an axis in perspective, by three pairs of them: 0 and 0, the length and the
// key of the far end, infinity and the key of the vanishing point.
class CPerspective {
 public:
  CPerspective(float meter, float keyOfEnd, std::optional<float> keyOfInfinity)
      : meter(meter),
        keyOfEnd(keyOfEnd),
        keyOfInfinity(keyOfInfinity),
        factor(keyOfInfinity ? meter * (*keyOfInfinity - keyOfEnd) / keyOfEnd : 0) {}

  [[nodiscard]] float KeyOf(float meters) const {
    return keyOfInfinity ? *keyOfInfinity * meters / (meters + factor) : meters * keyOfEnd / meter;
  }
  [[nodiscard]] float MetersOf(float key) const {
    return keyOfInfinity ? factor * key / (*keyOfInfinity - key) : key * meter / keyOfEnd;
  }

  // The ends of an extension. Towards its vanishing point an axis gets no longer than that;
  // elsewhere the reach ends it well before the plane of the camera.
  [[nodiscard]] float FarEnd(float meterBehind) const {
    const float end = meter + meterBehind, last = keyOfEnd + reach;
    const bool isOpen = !keyOfInfinity || *keyOfInfinity < 0 || *keyOfInfinity > last;
    return isOpen ? std::min(end, MetersOf(last)) : end;
  }
  [[nodiscard]] float NearEnd(float meterBefore) const {
    const bool isOpen = !keyOfInfinity || *keyOfInfinity > 0 || *keyOfInfinity < -reach;
    return isOpen ? std::max(-meterBefore, MetersOf(-reach)) : -meterBefore;
  }

 private:
  float meter, keyOfEnd;
  std::optional<float> keyOfInfinity;
  float factor;
};

}  // namespace

CAssignTable::~CAssignTable() = default;

float CAssignTable::Get(float key) const {
  return Interpolate(keys, values, key);
}

float CAssignTable::GetInverse(float value) const {
  return Interpolate(values, keys, value);
}

using CMyAssignTable = C1DCalibrator::CMyAssignTable;

bool CMyAssignTable::Configure(int x0, int y0, int x1, int y1, int x2, int y2, int x3, int y3,
                               float meter, float minimumStep, float meterBefore,
                               float meterBehind) {
  Reset();
  if (std::abs(meter) < epsilon) {
    ZT_LOG(1, source, 103, "C1DCalibrator: meter = 0. Cannot configure.");
    return false;
  }
  const auto corner = [](int x, int y) {
    return CPointF{static_cast<float>(x), static_cast<float>(y)};
  };
  const Corners corners{corner(x0, y0), corner(x1, y1), corner(x2, y2), corner(x3, y3)};
  bool isBuilt =
      minimumStep > 0 && IsProper(corners) && Build(corners, corners[0], 0, meter, minimumStep);
  if (isBuilt) {
    Extend(corners, minimumStep, meterBefore, meterBehind);
    isBuilt = Tidy();
  }
  if (!isBuilt) {
    Reset();
    ZT_LOG(1, source, 118, "C1DCalibrator: Cannot configure, maybe wrong parameters.");
  }
  return isBuilt;
}

bool CMyAssignTable::Build(const Corners& corners, CPointF start, float firstValue, float lastValue,
                           float minimumStep) {
  const CLine farLine = Through(corners[2], corners[3]);
  nearLine = Through(corners[0], corners[1]);
  crossVanishingPoint = Crossing(nearLine, farLine);
  sideA = Through(corners[0], corners[2]);
  sideB = Through(corners[1], corners[3]);
  vanishingPoint = Crossing(sideA, sideB);
  if (!Crossing(Through(corners[0], corners[3]), Through(corners[1], corners[2]))) return false;

  nearA = corners[0];
  nearB = corners[1];
  flipped = SideOf(nearA, nearB, corners[2]);
  origin = start;
  axis = LineToward(vanishingPoint, sideA, origin);
  const std::optional<CPointF> begin = Crossing(axis, nearLine), end = Crossing(axis, farLine);
  if (!begin || !end) return false;
  farEnd = *end;
  keyOfEnd = std::sqrt(SquaredLength(farEnd - *begin));
  if (!(keyOfEnd >= epsilon)) return false;
  direction = {(farEnd.x - origin.x) / keyOfEnd, (farEnd.y - origin.y) / keyOfEnd};

  rangeStart = firstValue;
  rangeEnd = lastValue;
  CSubdivision subdivision{{{0, firstValue}, {keyOfEnd, lastValue}}, minimumStep};
  Subdivide(subdivision, corners, firstValue, lastValue, 0);
  if (subdivision.isTooDeep)
    ZT_LOG(1, source, 150, "C1DCalibrator::Error. You shouldn't read this message");
  keys.reserve(subdivision.samples.size());
  values.reserve(subdivision.samples.size());
  for (const auto& [key, value] : subdivision.samples) {
    keys.push_back(key);
    values.push_back(value);
  }
  return true;
}

// The diagonals of a rectangle cross at its centre, in perspective too. Every branch ends: at the
// step, at the limits, or where rounding puts its key beside the gap that it ought to split.
void CMyAssignTable::Subdivide(CSubdivision& subdivision, const Corners& corners, float firstValue,
                               float lastValue, int depth) const {
  if (depth > deepestBranch) {
    subdivision.isTooDeep = true;
    return;
  }
  std::map<float, float>& samples = subdivision.samples;
  const auto& [p0, p1, p2, p3] = corners;
  const CLine end = Through(p0, p1);
  const std::optional<CPointF> center = Crossing(Through(p0, p3), Through(p1, p2));
  if (!center || samples.size() >= mostSamples) return;
  const CLine split = LineToward(Crossing(end, Through(p2, p3)), end, *center);
  const std::optional<CPointF> a = Crossing(split, Through(p0, p2)),
                               b = Crossing(split, Through(p1, p3)), middle = Crossing(split, axis);
  if (!a || !b || !middle) return;
  const float key = std::sqrt(SquaredLength(*middle - origin));
  const auto above = samples.lower_bound(key);
  if (above == samples.begin() || above == samples.end() || !(key < above->first)) return;
  if (above->first - std::prev(above)->first < subdivision.minimumStep) return;
  const float mean = (firstValue + lastValue) * 0.5F;
  samples.emplace_hint(above, key, mean);
  Subdivide(subdivision, {p0, p1, *a, *b}, firstValue, mean, depth + 1);
  Subdivide(subdivision, {*a, *b, p2, p3}, mean, lastValue, depth + 1);
}

void CMyAssignTable::Extend(const Corners& corners, float minimumStep, float meterBefore,
                            float meterBehind) {
  std::optional<float> keyOfInfinity;
  if (vanishingPoint) {
    const CPointF way = *vanishingPoint - origin;
    keyOfInfinity = way.x * direction.x + way.y * direction.y;
  }
  const CPerspective perspective(rangeEnd, keyOfEnd, keyOfInfinity);
  // The corners on both sides of the axis at a value outside of the rectangle.
  struct CEnd {
    CPointF middle;
    std::optional<CPointF> a, b;
  };
  const auto endAt = [&](float value) {
    const CPointF middle = PointOf(perspective.KeyOf(value));
    const CLine line = LineAcross(middle);
    return CEnd{middle, Crossing(line, sideA), Crossing(line, sideB)};
  };
  const float meter = rangeEnd;
  if (meterBefore > 0) {
    const float first = perspective.NearEnd(meterBefore);
    const CEnd end = endAt(first);
    CMyAssignTable before;
    if (end.a && end.b &&
        before.Build({*end.a, *end.b, corners[0], corners[1]}, end.middle, first, 0, minimumStep)) {
      for (float& key : before.keys)
        key -= before.keyOfEnd;
      before.Append(*this);
      keys.swap(before.keys);
      values.swap(before.values);
      rangeStart = first;
    }
  }
  if (meterBehind > 0) {
    const float last = perspective.FarEnd(meterBehind);
    const CEnd end = endAt(last);
    CMyAssignTable behind;
    if (end.a && end.b &&
        behind.Build({corners[2], corners[3], *end.a, *end.b}, farEnd, meter, last, minimumStep))
      Append(behind);
  }
}

bool CMyAssignTable::Tidy() {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!std::isfinite(keys[i]) || !std::isfinite(values[i])) return false;
    if (kept > 0 && !(keys[i] > keys[kept - 1] && values[i] > values[kept - 1])) continue;
    keys[kept] = keys[i];
    values[kept] = values[i];
    ++kept;
  }
  keys.resize(kept);
  values.resize(kept);
  if (kept < 2) return false;
  minimumKey = keys.front();
  maximumKey = keys.back();
  return true;
}

void CMyAssignTable::Append(const CMyAssignTable& other) {
  if (!(std::abs(other.rangeStart - rangeEnd) <= epsilon)) return;
  if (&other == this) return Append(CMyAssignTable(other));
  const float offset = keys.empty() ? 0 : keys.back();
  for (std::size_t i = 0; i < other.keys.size(); ++i) {
    const float key = offset + other.keys[i];
    // The first sample is left out: it is the joint, which both tables have.
    if (!keys.empty() && !(key > keys.back())) continue;
    keys.push_back(key);
    values.push_back(other.values[i]);
  }
  rangeEnd = other.rangeEnd;
  if (keys.empty()) return;
  minimumKey = keys.front();
  maximumKey = keys.back();
}

void CMyAssignTable::Reset() {
  *this = CMyAssignTable();
}

bool CMyAssignTable::KeyOf(CPointF point, float& key) const {
  const std::optional<CPointF> foot = Crossing(axis, LineAcross(point));
  if (!foot) return false;
  const float distance = std::sqrt(SquaredLength(*foot - origin));
  key = SideOf(nearA, nearB, *foot) == flipped ? distance : -distance;
  return true;
}

CPointF CMyAssignTable::PointOf(float key) const {
  return {origin.x + direction.x * key, origin.y + direction.y * key};
}

CLine CMyAssignTable::LineAcross(CPointF point) const {
  return LineToward(crossVanishingPoint, nearLine, point);
}

}  // namespace ztlib
