#pragma once

#include "main/lib/calib/calibrator2d.h"

namespace ztlib {

// What the 3D calibrator reads, and what it tells a client to draw. Coordinates are in 1/16384 of
// the picture's width and height.

// An upright object: (x0, y0) is its foot and (x1, y1) its head.
class CCalibrator3DLineConfig : public CDataFairy<CCalibrator3DLineConfig> {
 public:
  CCalibrator3DLineConfig();

  CFairySimpleItem<int> x0{*this, Tok::X0Virtual, 1, 0};
  CFairySimpleItem<int> y0{*this, Tok::Y0Virtual, 1, 0};
  CFairySimpleItem<int> x1{*this, Tok::X1Virtual, 1, 0};
  CFairySimpleItem<int> y1{*this, Tok::Y1Virtual, 1, 0};
};

// The first two segments count; all are of the same height, in meters.
class CCalibrator3DConfig : public CCalibrator2DConfig {
 public:
  CCalibrator3DConfig();

  CFairyNestedArray<CCalibrator3DLineConfig> lines{*this, Tok::RefSegment};
  CFairySimpleItem<double> height{*this, Tok::RefDistanceMeter, 1, 0.0};
};

// A point in virtual units.
class CCalibrator3DLinePoint : public CDataFairy<CCalibrator3DLinePoint> {
 public:
  CCalibrator3DLinePoint();

  CFairySimpleItem<double> x{*this, Tok::X};
  CFairySimpleItem<double> y{*this, Tok::Y};
};

// Two consecutive points are the ends of one line.
using CCalibrator3DLines = CFairyNestedArray<CCalibrator3DLinePoint>;

// Lines at every eighth of the rectangle: of the same place along the side 0-3, and along 0-1.
class CCalibrator3DInfoGrid : public CDataFairy<CCalibrator3DInfoGrid> {
 public:
  using CDataFairy::CDataFairy;

  CCalibrator3DLines xLines{*this, Tok::XLines};
  CCalibrator3DLines yLines{*this, Tok::YLines};
};

// The corners 0 to 3 of the rectangle at one height.
class CCalibrator3DInfoPlane : public CDataFairy<CCalibrator3DInfoPlane> {
 public:
  using CDataFairy::CDataFairy;

  CCalibrator3DLines points{*this, Tok::Points};
};

// Empty, or the vanishing line of the ground across the picture.
class CCalibrator3DInfoHorizon : public CDataFairy<CCalibrator3DInfoHorizon> {
 public:
  using CDataFairy::CDataFairy;

  CCalibrator3DLines points{*this, Tok::Points};
};

// The corners over which heights are measured, and where upright lines meet; 0 without them.
class CCalibrator3DInfoAdditionalPoints : public CDataFairy<CCalibrator3DInfoAdditionalPoints> {
 public:
  using CDataFairy::CDataFairy;

  CFairySimpleItem<int> r0x{*this, Tok::R0x};
  CFairySimpleItem<int> r0y{*this, Tok::R0y};
  CFairySimpleItem<int> r1x{*this, Tok::R1x};
  CFairySimpleItem<int> r1y{*this, Tok::R1y};
  CFairySimpleItem<double> verticalX{*this, Tok::RefVpointX};
  CFairySimpleItem<double> verticalY{*this, Tok::RefVpointY};
};

// What a calibration came to, for clients to draw.
class CCalibrator3DInfo : public CDataFairy<CCalibrator3DInfo> {
 public:
  CCalibrator3DInfo();

  CFairySimpleItem<bool> isConfigured{*this, Tok::IsConfigured};
  CFairySimpleItem<bool> ready{*this, Tok::Ready};
  CCalibrator3DInfoGrid grid{*this, Tok::Grid};
  CCalibrator3DInfoPlane ground{*this, Tok::Plane0};
  CCalibrator3DInfoPlane heads{*this, Tok::Plane1};  // at the reference height
  CCalibrator3DInfoHorizon horizon{*this, Tok::Horizon};
  CCalibrator3DInfoAdditionalPoints additionalPoints{*this, Tok::AdditionalPoints};
};

}  // namespace ztlib
