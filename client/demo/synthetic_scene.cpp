#include "client/demo/synthetic_scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

// Heights in units of 1/480 of the picture.
constexpr float horizon = 215, lane = 335;
constexpr float pi = std::numbers::pi_v<float>;

// The camera: its height over the street in meters, the focal length and the height in the picture
// of what is infinitely far away, in the same units.
constexpr float cameraHeight = 10, focalLength = 900, skyline = -40;
// Of a person of size 1, from the ground to the top of the hair.
constexpr float personSize = 59;

constexpr std::array<CColor, 6> carColors{
    {{178, 38, 34}, {38, 72, 128}, {206, 208, 212}, {46, 48, 52}, {214, 168, 48}, {52, 104, 78}}};
constexpr std::array<CColor, 7> coatColors{{{152, 44, 52},
                                            {44, 66, 110},
                                            {206, 176, 72},
                                            {72, 96, 66},
                                            {178, 178, 184},
                                            {112, 66, 120},
                                            {190, 104, 52}}};
constexpr std::array<CColor, 4> trouserColors{
    {{40, 44, 60}, {84, 74, 62}, {58, 58, 62}, {96, 104, 120}}};
constexpr std::array<CColor, 4> skinColors{
    {{224, 182, 150}, {196, 146, 110}, {140, 96, 68}, {236, 200, 176}}};
constexpr std::array<CColor, 5> wallColors{
    {{164, 96, 76}, {186, 164, 132}, {134, 128, 124}, {158, 120, 88}, {112, 84, 78}}};

CColor Mix(const CColor& a, const CColor& b, float share) {
  return {a.red + (b.red - a.red) * share, a.green + (b.green - a.green) * share,
          a.blue + (b.blue - a.blue) * share};
}

CColor Scaled(const CColor& color, float factor) {
  return {color.red * factor, color.green * factor, color.blue * factor};
}

float Smooth(float from, float to, float value) {
  const float share = std::clamp((value - from) / (to - from), 0.0F, 1.0F);
  return share * share * (3 - 2 * share);
}

// Position on a way of that length which is entered again after its end.
float Wrapped(float position, float length) {
  const float rest = std::fmod(position, length);
  return rest < 0 ? rest + length : rest;
}

}  // namespace

CSyntheticScene::CSyntheticScene(int width, int height, std::int64_t frames, EStreet kind)
    : count(frames),
      street(kind),
      unit(float(height) / bottom),
      road(float(width) / unit),
      carWay(road + (kind == EStreet::quiet ? 3000 : 320)),
      personWay(road + (kind == EStreet::quiet ? 1000 : 80)),
      background(width, height),
      canvas(width, height),
      lampLight(std::size_t(width) * std::size_t(height)),
      light(lampLight.size()) {
  DrawHouses();
  DrawGround();
  AddTexture();
  PlaceLamps();
  // One speed per lane, so nobody drives through the car ahead.
  for (const auto& [feet, speed] : {std::pair{318.0F, -150.0F}, std::pair{396.0F, 185.0F}})
    for (int i = 0; i < (kind == EStreet::quiet ? 1 : 3); ++i)
      cars.push_back(
          {carWay * (float(i) + Random(0.1F, 0.5F)) / 3, speed, feet, RandomOf(carColors)});
  for (int i = 0; i < (kind == EStreet::quiet ? 4 : 11); ++i) {
    const bool isNear = i % 3 == 0;
    const float speed = Random(26, 44) * (i % 2 ? 1.0F : -1.0F);
    people.push_back({Random(0, personWay), isNear ? 1.5F * speed : speed,
                      isNear ? Random(456, 474) : Random(238, 256), Random(1.6F, 1.9F),
                      Random(0, 2 * pi), RandomOf(coatColors), RandomOf(trouserColors),
                      RandomOf(skinColors)});
  }
  std::sort(people.begin(), people.end(),
            [](const CPerson& a, const CPerson& b) { return a.feet < b.feet; });
}

float CSyntheticScene::Random(float low, float high) {
  return low + (high - low) * float(random() >> 8) / float(1 << 24);
}

CColor CSyntheticScene::RandomOf(std::span<const CColor> colors) {
  return colors[random() % colors.size()];
}

void CSyntheticScene::DrawHouses() {
  for (int y = 0; y < background.Height(); ++y) {
    const CColor sky = Mix({112, 158, 212}, {214, 224, 232}, Smooth(0, horizon * unit, float(y)));
    for (int x = 0; x < background.Width(); ++x)
      background.At(x, y).color = sky;
  }
  for (float x = -20; x < road;) {
    const float width = Random(86, 150);
    const float roof = Random(28, 96);
    const CColor wall = RandomOf(wallColors);
    background.FillRectangle(Place(x, roof), Place(x + width, horizon), 0, {wall});
    background.FillRectangle(Place(x - 2, roof - 5), Place(x + width + 2, roof + 4), 1,
                             {Scaled(wall, 0.62F)});
    const float step = Random(25, 32);
    const float margin = (width - step * std::floor((width - 8) / step) + 8) / 2;
    for (float top = roof + 15; top + 22 < horizon - 42; top += 36)
      for (float left = x + margin; left + 15 < x + width - 4; left += step) {
        const bool isLit = Random(0, 1) < 0.42F;
        background.FillRectangle(Place(left - 2, top - 2), Place(left + 17, top + 25), 0,
                                 {Scaled(wall, 1.25F)});
        background.FillRectangle(
            Place(left, top), Place(left + 15, top + 22), 0,
            {isLit ? CColor{206, 184, 130} : CColor{62, 76, 92}, isLit ? Random(0.55F, 0.95F) : 0});
        background.DrawLine(Place(left + 7.5F, top), Place(left + 7.5F, top + 22), 1.2F * unit,
                            {Scaled(wall, 1.2F)});
      }
    // The shop on the ground floor.
    background.FillRectangle(Place(x + 8, horizon - 38), Place(x + width - 32, horizon - 4), 1,
                             {{108, 126, 138}, 0.75F});
    background.FillRectangle(Place(x + 4, horizon - 46), Place(x + width - 28, horizon - 37), 2,
                             {RandomOf(carColors), 0.3F});
    background.FillRectangle(Place(x + width - 26, horizon - 38), Place(x + width - 8, horizon), 1,
                             {{72, 50, 38}});
    x += width;
  }
}

void CSyntheticScene::DrawGround() {
  const auto band = [&](float top, float end, const CColor& color) {
    background.FillRectangle(Place(-10, top), Place(road + 10, end), 0, {color});
  };
  band(horizon, curb, {158, 154, 148});
  band(curb - 4, curb, {196, 194, 188});
  band(curb, nearCurb, {86, 88, 92});
  band(nearCurb, nearCurb + 6, {198, 196, 190});
  band(nearCurb + 6, bottom + 10, {164, 160, 152});
  for (int x = 14; x < road; x += 84)
    background.FillRectangle(Place(x, lane - 3), Place(x + 44, lane + 2), 1, {{224, 222, 212}});
  // Joints of the paving slabs, wider apart towards the viewer.
  for (int x = -200; x < road + 200; x += 26)
    background.DrawLine(Place(x, horizon), Place(x + (x - road / 2) * 0.06F, curb - 4), 0.8F * unit,
                        {{126, 122, 118}, 0, 0.8F});
  for (int x = -200; x < road + 200; x += 48)
    background.DrawLine(Place(x, nearCurb + 6), Place(x + (x - road / 2) * 0.1F, bottom), unit,
                        {{130, 126, 120}, 0, 0.8F});
  for (const float y : {232.0F, 246.0F, 446.0F})
    background.DrawLine(Place(0, y), Place(road, y), 0.9F * unit, {{128, 124, 120}, 0, 0.7F});
}

void CSyntheticScene::AddTexture() {
  for (int y = 0; y < background.Height(); ++y)
    for (int x = 0; x < background.Width(); ++x) {
      const float row = float(y) / unit;
      const float strength = row > curb && row < nearCurb ? 0.11F : row > 60 ? 0.06F : 0.012F;
      float factor = 1 + Random(-strength, strength);
      // Courses of bricks.
      if (row > 96 && row < horizon && std::fmod(row, 5.0F) < 1) factor *= 0.93F;
      CColor& color = background.At(x, y).color;
      color = Scaled(color, factor);
    }
}

void CSyntheticScene::AddLight(CPoint center, float radiusX, float radiusY, float strength) {
  const CPoint middle = Place(center.x, center.y);
  radiusX *= unit;
  radiusY *= unit;
  const int width = background.Width();
  const int left = std::max(0, static_cast<int>(middle.x - radiusX));
  const int right = std::min(width, static_cast<int>(middle.x + radiusX) + 1);
  const int top = std::max(0, static_cast<int>(middle.y - radiusY));
  const int end = std::min(background.Height(), static_cast<int>(middle.y + radiusY) + 1);
  for (int y = top; y < end; ++y)
    for (int x = left; x < right; ++x) {
      const float dx = (float(x) - middle.x) / radiusX;
      const float dy = (float(y) - middle.y) / radiusY;
      const float inside = std::max(0.0F, 1 - dx * dx - dy * dy);
      light[std::size_t(y) * std::size_t(width) + std::size_t(x)] += strength * inside * inside;
    }
}

void CSyntheticScene::PlaceLamps() {
  for (int i = 0; float(70 + 190 * i) < road; ++i) {
    const auto x = float(70 + 190 * i);
    background.DrawLine(Place(x, curb - 6), Place(x, 118), 3.4F * unit, {{58, 62, 66}});
    background.DrawLine(Place(x, 118), Place(x + 26, 110), 2.6F * unit, {{58, 62, 66}});
    background.FillEllipse(Place(x + 30, 111), 9 * unit, 3.4F * unit, {{244, 236, 214}, 1});
    AddLight({x + 30, 111}, 42, 36, 0.8F);
    AddLight({x + 30, 275}, 128, 130, 0.95F);
  }
  lampLight = light;
}

void CSyntheticScene::Draw(CCanvas& target, const CCar& car, float time, float night) {
  const float x = Wrapped(car.start + car.speed * time, carWay) - 160;
  const float front = car.speed > 0 ? 1.0F : -1.0F;
  const float size = car.feet > lane ? 1.25F : 1.0F;
  const auto at = [&](float dx, float dy) {
    return Place(x + dx * front * size, car.feet - dy * size);
  };
  // A mirrored box or polygon has its corners the other way round.
  const auto box = [&](float x0, float y0, float x1, float y1, float radius, const CPaint& paint) {
    const CPoint a = at(x0, y1), b = at(x1, y0);
    target.FillRectangle({std::min(a.x, b.x), a.y}, {std::max(a.x, b.x), b.y}, radius * unit,
                         paint);
  };
  const auto polygon = [&](std::array<CPoint, 4> corners, const CPaint& paint) {
    for (CPoint& corner : corners)
      corner = at(corner.x, corner.y);
    if (front < 0) std::reverse(corners.begin(), corners.end());
    target.FillConvex(corners, paint);
  };
  target.FillEllipse(at(0, 1), 64 * size * unit, 6 * size * unit, {{20, 20, 22}, 0, 0.55F});
  polygon({{{-42, 26}, {-28, 46}, {18, 46}, {36, 26}}}, {Scaled(car.color, 0.92F)});
  polygon({{{-36, 27}, {-25, 43}, {-7, 43}, {-7, 27}}}, {{92, 116, 134}});
  polygon({{{-3, 27}, {-3, 43}, {16, 43}, {30, 27}}}, {{104, 130, 148}});
  box(-60, 8, 60, 29, 8, {car.color});
  box(-59, 8, 59, 13, 2, {Scaled(car.color, 0.6F)});
  box(-58, 26, 56, 27.5F, 0.5F, {Mix(car.color, {255, 255, 255}, 0.35F)});
  for (const float wheel : {-37.0F, 37.0F}) {
    target.FillEllipse(at(wheel, 9), 11 * size * unit, 11 * size * unit, {{26, 26, 28}});
    target.FillEllipse(at(wheel, 9), 5.5F * size * unit, 5.5F * size * unit, {{150, 152, 156}});
  }
  target.FillEllipse(at(56, 21), 4 * size * unit, 3.2F * size * unit, {{250, 244, 220}, 1});
  target.FillEllipse(at(-57, 22), 3 * size * unit, 3.4F * size * unit, {{208, 30, 26}, 0.9F});
  AddLight({x + front * 150 * size, car.feet - 2}, 104 * size, 24 * size, 1.1F * night);
  AddLight({x + front * 58 * size, car.feet - 21 * size}, 26, 20, 0.6F * night);
}

CPoint CSyntheticScene::Project(float right, float away, float above) const {
  return Place(road / 2 + focalLength * right / away,
               skyline + focalLength * (cameraHeight - above) / away);
}

CSyntheticScene::CRoadway CSyntheticScene::Roadway() {
  return {focalLength * cameraHeight / (nearCurb - skyline),
          focalLength * cameraHeight / (curb - skyline)};
}

CSyntheticScene::CStep CSyntheticScene::StepOf(const CPerson& person, float time) const {
  CStep step{};
  step.x = Wrapped(person.start + person.speed * time, personWay) - 40;
  step.size = person.height * (person.feet - skyline) / cameraHeight / personSize;
  step.swing = std::sin(person.phase + std::abs(person.speed) * time * 0.26F / step.size);
  step.bob = std::abs(step.swing) * 0.9F;
  return step;
}

std::vector<CSyntheticScene::CStanding> CSyntheticScene::Standing() const {
  constexpr float margin = 16;
  const float time = float(TimeMs()) / 1000;
  std::vector<CStanding> standing;
  for (const CPerson& person : people) {
    const CStep step = StepOf(person, time);
    if (step.x < margin || step.x > road - margin) continue;
    const float top = personSize - step.bob;
    standing.push_back({Place(step.x, person.feet), Place(step.x, person.feet - top * step.size),
                        person.height * top / personSize});
  }
  return standing;
}

void CSyntheticScene::Draw(CCanvas& target, const CPerson& person, float time) const {
  const CStep step = StepOf(person, time);
  const float size = step.size, swing = step.swing, bob = step.bob;
  const auto at = [&](float dx, float dy) {
    return Place(step.x + dx * size, person.feet - dy * size);
  };
  const auto limb = [&](CPoint from, CPoint to, float thickness, const CColor& color) {
    target.DrawLine(at(from.x, from.y), at(to.x, to.y), thickness * size * unit, {color});
  };
  target.FillEllipse(at(0, 0.5F), 11 * size * unit, 2.8F * size * unit, {{24, 24, 26}, 0, 0.45F});
  limb({-1, 25 - bob}, {-1 - 7 * swing, 1.5F}, 4.6F, Scaled(person.trousers, 0.8F));
  limb({-1, 41 - bob}, {-1 + 7 * swing, 27}, 3.6F, Scaled(person.coat, 0.72F));
  limb({1, 25 - bob}, {1 + 7 * swing, 1.5F}, 4.8F, person.trousers);
  limb({0, 40 - bob}, {0, 27 - bob}, 12, person.coat);
  limb({1, 41 - bob}, {1 - 7 * swing, 27}, 3.8F, Scaled(person.coat, 0.86F));
  const CPoint head = at(person.speed > 0 ? 0.8F : -0.8F, 53 - bob);
  target.FillEllipse(head, 4.6F * size * unit, 5.6F * size * unit, {person.skin});
  target.FillEllipse({head.x, head.y - 2.6F * size * unit}, 4.8F * size * unit, 3.4F * size * unit,
                     {Scaled(person.trousers, 0.7F)});
}

// Ambient light, lamps and glow make the picture, the sensor adds noise, more in the dark.
void CSyntheticScene::Expose(AVFrame& picture, float day) {
  const float dusk = 4 * day * (1 - day);
  const float night = 1 - day;
  const float noise = 2.2F + 2.8F * night;
  // Red, green and blue.
  using CLight = float __attribute__((vector_size(16)));
  using CSamples = std::int32_t __attribute__((vector_size(16)));
  const CLight ambient{0.15F + 0.85F * day + 0.10F * dusk, 0.17F + 0.83F * day,
                       0.27F + 0.71F * day - 0.04F * dusk};
  constexpr CLight lampColor{1, 0.82F, 0.52F}, glowColor{1, 0.9F, 0.62F}, tintColor{1, 0, -1};
  const std::span<const CCanvas::CPixel> pixels = canvas.Pixels();
  std::size_t i = 0;
  for (int y = 0; y < picture.height; ++y) {
    std::uint8_t* row = picture.data[0] + std::ptrdiff_t{y} * picture.linesize[0];
    for (int x = 0; x < picture.width; ++x, ++i) {
      const CColor& color = pixels[i].color;
      // The sum of four bytes is close enough to the normal distribution.
      const std::uint32_t bits = random();
      const auto sum =
          float(int((bits & 255) + (bits >> 8 & 255) + (bits >> 16 & 255) + (bits >> 24)));
      const float grain = (sum - 510) / 148 * noise;
      const float tint = (float(int(bits & 255)) - 127.5F) / 128 * noise * 0.5F;
      CLight exposed = CLight{color.red, color.green, color.blue} *
                           (ambient + light[i] * lampColor + pixels[i].glow * night * glowColor) +
                       grain + tint * tintColor + 0.5F;
      exposed = exposed > 0 ? exposed : CLight{};
      exposed = exposed < 255 ? exposed : CLight{} + 255;
      const CSamples samples = __builtin_convertvector(exposed, CSamples);
      for (int channel = 0; channel < 3; ++channel)
        row[3 * x + channel] = static_cast<std::uint8_t>(samples[channel]);
    }
  }
}

bool CSyntheticScene::Next(AVFrame& picture) {
  if (index == count) return false;
  const float time = float(index) / 25;
  const float share = float(index) / float(std::max<std::int64_t>(1, count - 1));
  const float day = street == EStreet::quiet ? 1 : 1 - Smooth(0.35F, 0.75F, share);
  const float night = 1 - day;

  canvas = background;
  std::transform(lampLight.begin(), lampLight.end(), light.begin(),
                 [&](float lamp) { return lamp * night; });
  // From far to near.
  const auto nearest = std::partition_point(people.begin(), people.end(),
                                            [](const CPerson& p) { return p.feet < lane; });
  for (auto person = people.begin(); person != nearest; ++person)
    Draw(canvas, *person, time);
  for (const CCar& car : cars)
    Draw(canvas, car, time, night);
  for (auto person = nearest; person != people.end(); ++person)
    Draw(canvas, *person, time);

  av_frame_unref(&picture);
  picture.format = AV_PIX_FMT_RGB24;
  picture.width = canvas.Width();
  picture.height = canvas.Height();
  AvCheck(av_frame_get_buffer(&picture, 0), "cannot allocate a picture");
  Expose(picture, day);
  ++index;
  return true;
}
