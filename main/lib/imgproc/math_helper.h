#pragma once

#include <cstdint>

namespace ztlib {

// Plane geometry in single precision, for calibration and triangulation. Every expression is
// evaluated in float in the order written: results are the same to the bit on every target.

struct CPointF {
  float x = 0, y = 0;
};

struct CPointI {
  std::int32_t x = 0, y = 0;
};

// The points with a*x + b*y + c = 0. `epsilon` is the tolerance the line was made with.
struct CLine {
  float a = 0, b = 0, c = 0, epsilon = 0;
};

// Points whose x differ by less than `epsilon` give the vertical line through `p`. Integer points
// are converted to float first.
void LineThrough(CLine& out, CPointF p, CPointF q, float epsilon = 1e-6f);
void LineThrough(CLine& out, CPointI p, CPointI q, float epsilon = 1e-6f);

// `out` may be `source`.
void LineParallelThrough(CLine& out, const CLine& source, CPointF p);

// The perpendicular bisector of two points; the horizontal through their middle when they stand in
// one column. Leaves `epsilon` alone.
void Bisector(CLine& out, CPointF p, CPointF q);

// Returns false, and leaves `out` as it was, for lines whose determinant is below `epsilon`.
[[nodiscard]] bool Intersect(CPointF& out, const CLine& l1, const CLine& l2, float epsilon = 1e-6f);

[[nodiscard]] float DistanceSquared(const CLine& line, float x, float y);

// Whether `r` lies on the negative side of p to q. The integer form wraps within 32 bits.
[[nodiscard]] bool SideOf(CPointF p, CPointF q, CPointF r);
[[nodiscard]] bool SideOf(CPointI p, CPointI q, CPointI r);

// The foot of `p` on the segment a to b. Logs at level 1 and returns false, with `out` untouched,
// for a point further than `tolerance` from the segment's line and for a foot before `a`. A foot
// behind `b` is logged too and becomes `b`.
[[nodiscard]] bool PointOnSegment(CPointF a, CPointF b, CPointF p, CPointF& out,
                                  float tolerance = 1e-6f);

}  // namespace ztlib
