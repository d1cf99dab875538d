#pragma once

#include "client/canvas.h"
#include "client/picture_source.h"

#include <random>
#include <vector>

enum class EStreet {
  busy,   // from day through dusk into a lamp-lit night
  quiet,  // by day, now and then empty
};

// A street that is drawn, not filmed: people and cars before houses, with the noise of a camera.
// The same seed gives the same pictures. What stands on the ground is seen as by a camera 10 m
// above a flat street, which looks level; the picture is cut from below its horizon.
class CSyntheticScene : public IPictureSource {
 public:
  CSyntheticScene(int width, int height, std::int64_t frames, EStreet kind = EStreet::busy);

  // Heights in units of 1/480 of the picture, where areas of the street begin and end.
  static constexpr float curb = 262, nearCurb = 415, bottom = 480;

  bool Next(AVFrame& picture) override;
  [[nodiscard]] std::int64_t TimeMs() const override { return 40 * (index - 1); }
  [[nodiscard]] std::string Name() const override { return "synthetic street scene"; }
  [[nodiscard]] AVRational FrameRate() const override { return {25, 1}; }
  [[nodiscard]] std::int64_t Count() const override { return count; }

  // The pixel of a point to the right of the camera, away from it and above the ground, in meters.
  [[nodiscard]] CPoint Project(float right, float away, float above) const;
  // The roadway between its curbs, in meters.
  struct CRoadway {
    float nearest, farthest;
  };
  [[nodiscard]] static CRoadway Roadway();
  // The people who are all in the last picture, from far to near.
  struct CStanding {
    CPoint foot, head;
    float meters;  // of the head at this moment of the walk
  };
  [[nodiscard]] std::vector<CStanding> Standing() const;

 private:
  // x runs over the road (units of 1/480 of the height, like all sizes here), then out of sight,
  // and wraps.
  struct CCar {
    float start, speed, feet;
    CColor color;
  };
  struct CPerson {
    float start, speed, feet, height, phase;  // the height in meters
    CColor coat, trousers, skin;
  };

  // Fixed seed, and no std distribution: their results differ between libraries.
  [[nodiscard]] float Random(float low, float high);
  [[nodiscard]] CColor RandomOf(std::span<const CColor> colors);

  [[nodiscard]] CPoint Place(float x, float y) const { return {x * unit, y * unit}; }
  // Where a person is at a time, how large, and how far down the walk bends.
  struct CStep {
    float x, size, swing, bob;
  };
  [[nodiscard]] CStep StepOf(const CPerson& person, float time) const;
  void DrawHouses();
  void DrawGround();
  void AddTexture();
  void PlaceLamps();
  void Draw(CCanvas& canvas, const CCar& car, float time, float night);
  void Draw(CCanvas& canvas, const CPerson& person, float time) const;
  void AddLight(CPoint center, float radiusX, float radiusY, float strength);
  void Expose(AVFrame& picture, float day);

  // The numbers of std::mt19937, whose words are twice as wide on Linux and take twice the time.
  std::mersenne_twister_engine<std::uint32_t, 32, 624, 397, 31, 0x9908B0DF, 11, 0xFFFFFFFF, 7,
                               0x9D2C5680, 15, 0xEFC60000, 18, 1812433253>
      random{20240117};
  std::int64_t count, index = 0;
  EStreet street;
  float unit, road;
  float carWay, personWay;  // until they come again
  CCanvas background, canvas;
  std::vector<float> lampLight, light;  // per pixel
  std::vector<CCar> cars;
  std::vector<CPerson> people;
};
