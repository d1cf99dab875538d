#include "main/lib/imgproc/math_helper.h"

#include "main/lib/base/logger.h"

#include <cmath>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/imgproc/math_helper";

CPointF ToFloat(CPointI p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y)};
}

CPointF FootOn(const CLine& line, float x, float y) {
  const float w = line.a * y - line.b * x;
  const float u = -(line.a * line.a) - line.b * line.b;
  return {(line.b * w + line.a * line.c) / u, (line.c * line.b - line.a * w) / u};
}

float SquaredLength(float dx, float dy) {
  return dx * dx + dy * dy;
}

}  // namespace

void LineThrough(CLine& out, CPointF p, CPointF q, float epsilon) {
  out.epsilon = epsilon;
  if (std::fabs(p.x - q.x) < epsilon) {
    out.a = 1;
    out.b = 0;
    out.c = -p.x;
  } else {
    out.a = p.y - q.y;
    out.b = q.x - p.x;
    out.c = -out.a * p.x - out.b * p.y;
  }
}

void LineThrough(CLine& out, CPointI p, CPointI q, float epsilon) {
  LineThrough(out, ToFloat(p), ToFloat(q), epsilon);
}

void LineParallelThrough(CLine& out, const CLine& source, CPointF p) {
  out.a = source.a;
  out.b = source.b;
  out.c = -source.a * p.x - source.b * p.y;
  out.epsilon = source.epsilon;
}

void Bisector(CLine& out, CPointF p, CPointF q) {
  const CPointF middle = {(q.x - p.x) * 0.5f + p.x, (q.y - p.y) * 0.5f + p.y};
  if (std::fabs(p.x - q.x) < 1e-6f) {
    out.a = 0;
    out.b = -1;
  } else {
    out.a = q.x - p.x;
    out.b = q.y - p.y;
  }
  out.c = -(out.a * middle.x + out.b * middle.y);
}

bool Intersect(CPointF& out, const CLine& l1, const CLine& l2, float epsilon) {
  const float det = l2.b * l1.a - l2.a * l1.b;
  if (std::fabs(det) < epsilon) return false;
  out.x = (l1.b * l2.c - l2.b * l1.c) / det;
  out.y = (l2.a * l1.c - l2.c * l1.a) / det;
  return true;
}

float DistanceSquared(const CLine& line, float x, float y) {
  const CPointF foot = FootOn(line, x, y);
  return SquaredLength(x - foot.x, y - foot.y);
}

bool SideOf(CPointF p, CPointF q, CPointF r) {
  const float a = p.y - q.y;
  const float b = -(p.x - q.x);
  return 0 > -a * p.x - p.y * b + (r.x * a + r.y * b);
}

bool SideOf(CPointI p, CPointI q, CPointI r) {
  const auto bits = [](std::int32_t value) { return static_cast<std::uint32_t>(value); };
  const std::uint32_t a = bits(p.y) - bits(q.y);
  const std::uint32_t b = bits(q.x) - bits(p.x);
  const std::uint32_t side = 0 - a * bits(p.x) - bits(p.y) * b + (bits(r.x) * a + bits(r.y) * b);
  return side >> 31 != 0;
}

bool PointOnSegment(CPointF a, CPointF b, CPointF p, CPointF& out, float tolerance) {
  CLine line;
  LineThrough(line, a, b);
  const CPointF foot = FootOn(line, p.x, p.y);
  const float distance = std::sqrt(SquaredLength(p.x - foot.x, p.y - foot.y));
  if (distance > tolerance) {
    ZT_LOG(1, source, 96, "Nincs rajta 0 d = %3.3f!\n", static_cast<double>(distance));
    return false;
  }
  // A segment of one point has the direction of the line through it.
  const CPointF along = a.x == b.x && a.y == b.y ? CPointF{0, 1} : CPointF{b.x - a.x, b.y - a.y};
  if (along.x * (foot.x - a.x) + along.y * (foot.y - a.y) < 0) {
    ZT_LOG(1, source, 102, "Nincs rajta 1!\n");
    return false;
  }
  const bool behind = along.x * (foot.x - b.x) + along.y * (foot.y - b.y) > 0;
  if (behind) ZT_LOG(1, source, 106, "Nincs rajta 2!\n");
  out = behind ? b : foot;
  return true;
}

}  // namespace ztlib
