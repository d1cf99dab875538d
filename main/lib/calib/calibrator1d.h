#pragma once

#include "main/lib/imgproc/math_helper.h"

#include <array>
#include <map>
#include <optional>
#include <vector>

namespace ztlib {

// A function from float to float as samples: linear between them, constant beyond them.
class CAssignTable {
 public:
  virtual ~CAssignTable();
  // The value for a key; without any sample 0.
  virtual float Get(float key) const;
  // The key for a value, by the same look-up: values must ascend as keys do.
  virtual float GetInverse(float value) const;

  std::vector<float> keys;
  std::vector<float> values;  // as many
  float minimumKey = 0;
  float maximumKey = 0;
};

// The samples, whose keys increase strictly.
class CMonotonAssignTable : public CAssignTable {};

// Measures length along one direction of a picture in perspective.
class C1DCalibrator {
 public:
  // Made from a quadrilateral in the picture that stands for a rectangle in the world and from the
  // rectangle's length. The near end is p0-p1, the far end p2-p3; the sides p0-p2 and p1-p3 run
  // along what is measured. Keys are distances in the picture on the measuring axis, a line through
  // p0 that meets the sides at their vanishing point; values are meters from p0. Both are negative
  // before the near end. Nothing here is locked, and nothing throws but for want of memory.
  class CMyAssignTable : public CMonotonAssignTable {
   public:
    // In the units of the picture, of which it has 16384 in each direction.
    static constexpr float usualStep = 88.7F;

    // Samples are taken until they are less than `minimumStep` apart. The table goes `meterBefore`
    // and `meterBehind` meters beyond the rectangle, but not farther in the picture than the eye
    // can follow. False, with a log line and an empty table: no length, or corners that are no
    // rectangle in perspective.
    bool Configure(int x0, int y0, int x1, int y1, int x2, int y2, int x3, int y3, float meter,
                   float minimumStep = usualStep, float meterBefore = 0, float meterBehind = 0);
    // Sets a table behind this one if its values begin where those of this one end, and does
    // nothing otherwise.
    void Append(const CMyAssignTable& other);
    void Reset();

    // The key of a point of the picture; false if it has none.
    bool KeyOf(CPointF point, float& key) const;
    [[nodiscard]] CPointF PointOf(float key) const;
    // All points of this line through `point` have the same value.
    [[nodiscard]] CLine LineAcross(CPointF point) const;

    // The vanishing point of the sides; nothing if they are parallel.
    [[nodiscard]] const std::optional<CPointF>& VanishingPoint() const { return vanishingPoint; }
    [[nodiscard]] const CLine& SideA() const { return sideA; }
    [[nodiscard]] const CLine& SideB() const { return sideB; }

   private:
    using Corners = std::array<CPointF, 4>;
    struct CSubdivision {
      std::map<float, float> samples;  // values by key
      float minimumStep;
      bool isTooDeep = false;
    };

    // The table of one quadrilateral, without extension.
    bool Build(const Corners& corners, CPointF start, float firstValue, float lastValue,
               float minimumStep);
    void Subdivide(CSubdivision& subdivision, const Corners& corners, float firstValue,
                   float lastValue, int depth) const;
    void Extend(const Corners& corners, float minimumStep, float meterBefore, float meterBehind);
    // Removes samples whose values do not ascend. Returns false if what is left is no table.
    bool Tidy();

    CLine sideA, sideB, axis, nearLine;
    // Where the sides meet, and where the ends meet.
    std::optional<CPointF> vanishingPoint, crossVanishingPoint;
    CPointF nearA, nearB;
    CPointF origin, farEnd;              // of the axis: the points of key 0 and of `keyOfEnd`
    CPointF direction;                   // of the axis, one unit long
    bool flipped = false;                // on which side of the near line the keys are positive
    float rangeStart = 0, rangeEnd = 0;  // of the values
    float keyOfEnd = 0;
  };
};

}  // namespace ztlib
