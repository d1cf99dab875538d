#pragma once

#include "main/lib/imgproc/math_helper.h"

#include <optional>

namespace ztlib {

// The line helpers as the calibrators chain them: lines as values, and a crossing that may be
// missing.

inline CLine Through(CPointF p, CPointF q) {
  CLine line;
  LineThrough(line, p, q);
  return line;
}

inline CLine ParallelThrough(const CLine& source, CPointF p) {
  CLine line;
  LineParallelThrough(line, source, p);
  return line;
}

inline std::optional<CPointF> Crossing(const CLine& l1, const CLine& l2) {
  CPointF point;
  if (!Intersect(point, l1, l2)) return std::nullopt;
  return point;
}

inline float SquaredLength(CPointF p) {
  return p.x * p.x + p.y * p.y;
}

inline CPointF operator-(CPointF p, CPointF q) {
  return {p.x - q.x, p.y - q.y};
}

inline CPointF operator+(CPointF p, CPointF q) {
  return {p.x + q.x, p.y + q.y};
}

}  // namespace ztlib
