#pragma once

#include "main/lib/base/fairy/fairy_container.h"
#include "main/lib/base/synchron_pthread.h"
#include "main/lib/calib/calibrator1d.h"

#include <memory>
#include <optional>

namespace ztlib {

// Points that a client keeps with a calibration; nothing here reads them.
class CCalibratorFixPointHelper : public CDataFairy<CCalibratorFixPointHelper> {
 public:
  CCalibratorFixPointHelper();
  [[nodiscard]] bool IsEmpty() const;

  CFairyCData points{*this, Tok::Points};
};

// A rectangle on the ground: its corners in the picture, in 1/16384 of the picture's width and
// height, and the lengths of two of its sides in meters.
class CCalibrator2DConfig : public CDataFairy<CCalibrator2DConfig> {
 public:
  CCalibrator2DConfig();

  CFairySimpleItem<int> x0{*this, Tok::X0Virtual, 1, 563};
  CFairySimpleItem<int> y0{*this, Tok::Y0Virtual, 1, 8755};
  CFairySimpleItem<int> x1{*this, Tok::X1Virtual, 1, 8090};
  CFairySimpleItem<int> y1{*this, Tok::Y1Virtual, 1, 9421};
  CFairySimpleItem<int> x2{*this, Tok::X2Virtual, 1, 10342};
  CFairySimpleItem<int> y2{*this, Tok::Y2Virtual, 1, 4864};
  CFairySimpleItem<int> x3{*this, Tok::X3Virtual, 1, 5734};
  CFairySimpleItem<int> y3{*this, Tok::Y3Virtual, 1, 4659};
  CFairySimpleItem<double> distance01{*this, Tok::Distance01, 1, 7.0};
  CFairySimpleItem<double> distance03{*this, Tok::Distance03, 1, 17.0};
};

// Turns points of a picture into meters on the ground. Points are in the units of the
// configuration; ground coordinates count along the sides 0-1 and 0-3, from corner 1 or 3,
// whichever is nearer to the bottom of the picture. The object is its own, recursive lock, which
// every operation takes. Bad configurations are logged and leave it unconfigured; nothing throws.
class CCalibrator2D : public CMutex {
 public:
  CCalibrator2D();
  ~CCalibrator2D() override;

  // Values that are absent stay as they were. Lengths of zero, or zeros for the corners 2 and 3,
  // switch the calibration off.
  virtual void Configure(const CData& data);
  virtual CData GetConfig();
  bool IsConfigured();

  // False for a point in the sky and for ground that is too far away to be covered: up to ten times
  // the rectangle's lengths around it.
  bool GroundPosition(CPointF point, float& along01, float& along03);
  // The same as a point: x along 0-1, y along 0-3.
  bool GetGround(CPointF image, CPointF& ground);
  // Meters between two points of the picture.
  bool Distance(CPointF p, CPointF q, float& meters);
  bool ImagePosition(float along01, float along03, CPointF& point);

 protected:
  // For derived classes, whose record has further values.
  explicit CCalibrator2D(std::unique_ptr<CCalibrator2DConfig> configuration);

  [[nodiscard]] CPointI Corner(int index) const;
  // Whether the point is below the vanishing line, where there is ground.
  [[nodiscard]] bool IsGround(CPointF point) const;

  const std::unique_ptr<CCalibrator2DConfig> configuration;
  CCalibratorFixPointHelper fixPoints;
  bool tablesReady = false;
  C1DCalibrator::CMyAssignTable tableAlong03, tableAlong01;
  // The vanishing line of the ground; none in a picture that was taken straight from above.
  std::optional<CLine> vanishingLine;

 private:
  [[nodiscard]] bool Read(const CData& data);
  [[nodiscard]] bool BuildTables();
  void FindVanishingLine();

  CPointF start;  // the corner where both tables begin
};

}  // namespace ztlib
