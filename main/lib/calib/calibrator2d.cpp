#include "main/lib/calib/calibrator2d.h"

#include "main/lib/base/logger.h"
#include "main/lib/calib/plane.h"
#include "main/lib/imgproc/virtual_coordinates.h"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/calib/calibrator2d";
constexpr auto virtualSize = static_cast<float>(virtualUnits);
constexpr double leastDistance = 1e-6;
// A table goes on beyond both ends by this many times its length.
constexpr float extension = 10;

using CTable = C1DCalibrator::CMyAssignTable;

bool ConfigureTable(CTable& table, CPointI p0, CPointI p1, CPointI p2, CPointI p3, double length) {
  const auto meter = static_cast<float>(length);
  return table.Configure(p0.x, p0.y, p1.x, p1.y, p2.x, p2.y, p3.x, p3.y, meter, CTable::usualStep,
                         extension * meter, extension * meter);
}

bool Look(const CTable& table, CPointF point, float& value) {
  float key = 0;
  if (!table.KeyOf(point, key) || !(key >= table.minimumKey && key <= table.maximumKey))
    return false;
  value = table.Get(key);
  return std::isfinite(value);  // lengths near the end of float are not
}

}  // namespace

CCalibratorFixPointHelper::CCalibratorFixPointHelper() = default;

bool CCalibratorFixPointHelper::IsEmpty() const {
  return points.Get().Count() == 0;
}

CCalibrator2DConfig::CCalibrator2DConfig() = default;

CCalibrator2D::CCalibrator2D() : CCalibrator2D(std::make_unique<CCalibrator2DConfig>()) {}

CCalibrator2D::CCalibrator2D(std::unique_ptr<CCalibrator2DConfig> configuration)
    : CMutex(Kind::Recursive), configuration(std::move(configuration)) {}

CCalibrator2D::~CCalibrator2D() = default;

CPointI CCalibrator2D::Corner(int index) const {
  const CCalibrator2DConfig& record = *configuration;
  switch (index) {
    case 0:
      return {record.x0.Get(), record.y0.Get()};
    case 1:
      return {record.x1.Get(), record.y1.Get()};
    case 2:
      return {record.x2.Get(), record.y2.Get()};
    default:
      return {record.x3.Get(), record.y3.Get()};
  }
}

void CCalibrator2D::Configure(const CData& data) {
  const CAutoLock lock(this);
  tablesReady = false;
  tableAlong03.Reset();
  tableAlong01.Reset();
  vanishingLine.reset();
  if (!Read(data) || !BuildTables()) return;
  FindVanishingLine();
  tablesReady = true;
}

bool CCalibrator2D::Read(const CData& data) {
  try {
    configuration->FromCData(data);
    fixPoints.FromCData(Tok::FixPointHelper, data);
    return true;
  } catch (const std::logic_error&) {
    return false;  // a text that is no number
  }
}

bool CCalibrator2D::BuildTables() {
  const CPointI c0 = Corner(0), c1 = Corner(1), c2 = Corner(2), c3 = Corner(3);
  if (c3.x == 0 && c2.x == 0 && c3.y == 0 && c2.y == 0) return false;
  const double distance01 = configuration->distance01.Get();
  const double distance03 = configuration->distance03.Get();
  if (std::abs(distance03) < leastDistance || std::abs(distance01) < leastDistance) return false;

  const CLine bottom = Through({0, virtualSize}, {virtualSize, virtualSize});
  const auto fromBottom = [&](CPointI corner) {
    return DistanceSquared(bottom, static_cast<float>(corner.x), static_cast<float>(corner.y));
  };
  const bool startsAt1 = fromBottom(c3) > fromBottom(c1);
  const CPointI first = startsAt1 ? c1 : c3;
  start = {static_cast<float>(first.x), static_cast<float>(first.y)};
  const bool is03 = startsAt1 ? ConfigureTable(tableAlong03, c1, c0, c2, c3, distance03)
                              : ConfigureTable(tableAlong03, c3, c2, c0, c1, distance03);
  const bool is01 = startsAt1 ? ConfigureTable(tableAlong01, c1, c2, c0, c3, distance01)
                              : ConfigureTable(tableAlong01, c3, c0, c2, c1, distance01);
  if (!is03 || !is01) return false;
  ZT_LOG(4, source, 141, "CCalibrator2D %d %d ok.", static_cast<int>(tableAlong03.keys.size()),
         static_cast<int>(tableAlong01.keys.size()));
  return true;
}

void CCalibrator2D::FindVanishingLine() {
  const std::optional<CPointF>&v3 = tableAlong03.VanishingPoint(),
        &v1 = tableAlong01.VanishingPoint();
  const auto size = [](CPointF p) { return std::abs(p.x) + std::abs(p.y); };
  // The distance is measured from the nearer point, which keeps more digits of the line's distance.
  if (v3 && v1)
    vanishingLine = size(*v1) < size(*v3) ? Through(*v1, *v3) : Through(*v3, *v1);
  else if (v3)
    vanishingLine = ParallelThrough(tableAlong01.SideA(), *v3);
  else if (v1)
    vanishingLine = ParallelThrough(tableAlong03.SideA(), *v1);
}

CData CCalibrator2D::GetConfig() {
  const CAutoLock lock(this);
  CData data = configuration->ToCData({});
  if (!fixPoints.IsEmpty()) fixPoints.ToCData(Tok::FixPointHelper, data, {});
  return data;
}

bool CCalibrator2D::IsConfigured() {
  const CAutoLock lock(this);
  return tablesReady;
}

bool CCalibrator2D::IsGround(CPointF point) const {
  if (!vanishingLine) return true;
  const auto side = [&](CPointF p) {
    return vanishingLine->a * p.x + vanishingLine->b * p.y + vanishingLine->c;
  };
  const float here = side(point), ground = side(start);
  return (here > 0 && ground > 0) || (here < 0 && ground < 0);
}

bool CCalibrator2D::GroundPosition(CPointF point, float& along01, float& along03) {
  const CAutoLock lock(this);
  float value01 = 0, value03 = 0;
  if (!tablesReady || !IsGround(point) || !Look(tableAlong01, point, value01) ||
      !Look(tableAlong03, point, value03))
    return false;
  along01 = value01;
  along03 = value03;
  return true;
}

bool CCalibrator2D::GetGround(CPointF image, CPointF& ground) {
  return GroundPosition(image, ground.x, ground.y);
}

bool CCalibrator2D::Distance(CPointF p, CPointF q, float& meters) {
  const CAutoLock lock(this);
  CPointF from, to;
  if (!GetGround(p, from) || !GetGround(q, to)) return false;
  meters = std::sqrt(SquaredLength(to - from));
  return true;
}

bool CCalibrator2D::ImagePosition(float along01, float along03, CPointF& point) {
  const CAutoLock lock(this);
  if (!tablesReady) return false;
  const auto lineOf = [](const CTable& table, float value) {
    return table.LineAcross(table.PointOf(table.GetInverse(value)));
  };
  return Intersect(point, lineOf(tableAlong01, along01), lineOf(tableAlong03, along03));
}

}  // namespace ztlib
