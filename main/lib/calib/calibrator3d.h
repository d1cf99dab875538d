#pragma once

#include "main/lib/calib/calibrator3d_records.h"

#include <array>
#include <optional>

namespace ztlib {

// Adds height to the ground: two upright objects of the same known height, marked by foot and head,
// give the direction of verticals and a table of heights over one side of the rectangle. A point at
// any other place is carried there along the ground, at its height. Without such marks, or with
// marks that tell nothing, the ground is measured all the same.
class CCalibrator3D : public CCalibrator2D {
 public:
  CCalibrator3D();

  // The configuration that is in use already changes nothing.
  void Configure(const CData& data) override;
  // With a child "Info" when the ground can be measured; Configure ignores it.
  CData GetConfig() override;
  bool IsThreeDReady();

  // The height in meters of what stands with its foot on the ground; up to five times the reference
  // height. Of the head, the height in the picture counts.
  bool Height(CPointF foot, CPointF head, float& meters);
  // The point of the picture `meters` above a point of the ground.
  bool Head(CPointF foot, float meters, CPointF& point);

 private:
  struct CSegment {
    CPointF foot, head;
  };
  struct CReferences {
    CPointI r0, r1;  // neighbouring corners of the rectangle
    CLine horizon;   // not the sky's: the line on the ground through r0 and r1
  };
  // The road on which a height is carried between a foot and one of the references.
  struct CCarrier {
    CLine vertical;  // through the foot
    CLine referenceVertical;
    bool isFirst;  // r0
    bool atReference;
    CLine ground;                           // from the foot to the reference
    std::optional<CPointF> vanishingPoint;  // of `ground`
  };

  [[nodiscard]] bool IsSameConfiguration(const CData& data) const;
  // Sets threeDReady or logs why not.
  void CalibrateHeight();
  [[nodiscard]] bool ReadSegments(std::array<CSegment, 2>& segments) const;
  [[nodiscard]] bool FindReferences(const std::array<CSegment, 2>& segments);
  [[nodiscard]] bool CalibrateZ(std::array<CSegment, 2>& segments);
  [[nodiscard]] CLine VerticalThrough(CPointF point) const;
  [[nodiscard]] CCarrier CarrierOf(CPointF foot) const;
  // Where `point`, carried along the ground, meets a vertical.
  [[nodiscard]] static std::optional<CPointF> Carry(const CCarrier& carrier, CPointF point,
                                                    const CLine& vertical);
  [[nodiscard]] std::optional<CPointF> HeadOf(CPointF foot, float meters) const;
  void DescribeResult();

  CCalibrator3DConfig& record;  // the base's
  CCalibrator3DInfo info;
  bool wasConfigured = false;
  bool threeDReady = false;
  CReferences references;
  std::optional<CPointF> verticalVanishingPoint;
  CPointF parallelDirection;  // of verticals without a vanishing point
  C1DCalibrator::CMyAssignTable zTable;
};

}  // namespace ztlib
