#include "main/lib/calib/calibrator3d.h"
#include "tests/equality/trees.h"
#include "tests/support/calibration_tree.h"

namespace {

using Table = C1DCalibrator::CMyAssignTable;

void MixFloats(const std::vector<float>& values) {
  Mix(values.size());
  for (const float value : values)
    MixFloat(value);
}

// Tables are made from small or huge corners, parallels, and rounding noise.
void AnyTables(Draw& draw) {
  Table joined;
  for (int round = 0; round < 300; ++round) {
    std::array<int, 8> p;
    for (int& c : p)
      c = static_cast<int>(draw() % (round % 64 == 0 ? ~0U : round % 4 == 1 ? 40 : 16385));
    if (round % 3 == 1) p[7] = p[5], p[3] = p[1];
    const float reach = round % 2 == 0 ? 60 : static_cast<float>(round);
    Table table;
    Mix(table.Configure(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], 6,
                        round == 2 ? 0.01F : 88.7F, reach, reach / 2));
    MixFloats(table.keys);
    MixFloats(table.values);
    for (float at = -20000; at < 30000; at += 1777) {
      MixFloat(table.Get(at));
      MixFloat(table.GetInverse(at / 800));
      float key = 0;
      if (table.KeyOf({at, 8000 - at / 3}, key)) MixFloat(key);
    }
    joined.Append(table);
    MixFloats(joined.values);
    if (round % 50 == 49) joined.Reset();
  }
}

// Returns a rectangle seen from anywhere, with inexact corners, and marks of any kind.
CData AnyCamera(Draw& draw) {
  const int far = draw.Between(200, 7000), near = draw.Between(far + 300, 15000);
  const int middle = draw.Between(4000, 12000), slant = draw.Between(-2500, 2500);
  const int narrow = draw.Between(200, 3000), wide = narrow + draw.Between(0, 4000);
  const int corners[8] = {middle - wide + slant,   near, middle + wide + slant,   near,
                          middle + narrow - slant, far,  middle - narrow - slant, far};
  Numbers numbers{{Tok::Distance01, draw.Between(1, 20)}, {Tok::Distance03, draw.Between(1, 40)}};
  const std::uint32_t turn = draw.Below(4);
  const int shake = draw.Below(3) == 0 ? 0 : 400;
  for (std::uint32_t i = 0; i < 8; ++i)
    numbers.emplace_back(corner[i], corners[(i + 2 * turn) % 8] + draw.Between(-shake, shake));
  Marks marks;
  const int column = draw.Between(3000, 13000);
  const bool isOneColumn = draw.Below(3) == 0;
  for (std::uint32_t left = draw.Below(8) == 0 ? 1 : 2; left > 0; --left) {
    const double x = isOneColumn ? column : draw.Between(2000, 14000);
    const double y = draw.Between(far, near), high = draw.Between(-100, 3000);
    const double lean = draw.Below(3) == 0 ? 0 : draw.Between(-200, 200);
    marks.push_back({x, y, x + lean, y - high});
  }
  return MarkedTree(numbers, marks);
}

void Measure(CCalibrator3D& calibrator, Draw& draw) {
  const auto at = [&draw] { return static_cast<float>(draw.Between(-2000, 18000)); };
  for (int i = 0; i < 40; ++i) {
    const float x = at(), y = at(), up = static_cast<float>(draw.Between(-300, 4000));
    CPointF ground{1, 2}, back{1, 2}, head{1, 2};
    float meters[] = {-1, -1};
    Mix(calibrator.GetGround({x, y}, ground));
    Mix(calibrator.ImagePosition(ground.x, ground.y, back));
    Mix(calibrator.Head({x, y}, up / 1000, head));
    Mix(calibrator.Height({x, y}, {x + up / 50, y - up}, meters[0]));
    Mix(calibrator.Distance({x, y}, {y, x}, meters[1]));
    for (const CPointF point : {ground, back, head}) {
      MixFloat(point.x);
      MixFloat(point.y);
    }
    MixFloat(meters[0]);
    MixFloat(meters[1]);
  }
}

}  // namespace

void Calibrations() {
  // Failures of a configuration are log lines, which are results too, except one that tells a time.
  ztlib_registerLogger([](int level, const char* text) {
    Mix(level);
    if (!std::strstr(text, "clock")) Mix(text);
  });
  Step("calibration tables of any corners", [] {
    Draw draw(3);
    AnyTables(draw);
  });
  for (std::uint32_t seed = 0; seed < 10; ++seed)
    Step("calibration of any camera " + std::to_string(seed), [seed] {
      Draw draw(seed);
      for (int i = 0; i < 20; ++i) {
        CCalibrator3D calibrator;
        calibrator.Configure(AnyCamera(draw));
        MixTree(calibrator.GetConfig());
        Measure(calibrator, draw);
      }
    });
  ztlib_registerLogger(nullptr);
}
