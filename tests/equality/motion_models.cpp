#include "main/lib/base/cdata/HAData.h"
#include "main/lib/vca/old_vca_utils/motion_background.h"
#include "tests/equality/steps.h"

#include <limits>

using namespace ztlib;

namespace {

// A textured scene with noise; some pixels jump, by phase of the sequence many or none.
Bytes Frame(Draw& draw, std::int64_t pixels, int number) {
  Bytes image(static_cast<std::size_t>(pixels));
  const unsigned jumps = number % 30 < 10 ? 0 : number % 30 < 20 ? 12 : 2;
  for (std::size_t i = 0; i < image.size(); ++i) {
    const std::uint32_t drawn = draw();
    image[i] = static_cast<std::uint8_t>(
        jumps != 0 && drawn % jumps == 0 ? drawn >> 8 : i * 7 % 200 + (drawn >> 16) % 5 + 20);
    if (number % 45 == 44) image[i] = static_cast<std::uint8_t>(~image[i]);
  }
  return image;
}

// Time jumps, goes back, reaches its end and begins again; the size of the picture changes.
void Watch(unsigned bits, double sensitivity, int run) {
  constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t steps[] = {40, 31, 32, 0, 250, 1000, 1001, 7, -1, 100, -90000, 1, 30000};
  constexpr std::pair<int, int> sizes[] = {{37, 6}, {0, 5}, {5, 0}};
  CData item;
  item.AddDouble(Tok::Sensitivity, sensitivity);
  constexpr Token switches[] = {Tok::MeltinReduction, Tok::HighVarianceReduction,
                                Tok::AlternativeVarianceHandling, Tok::ForbidHighSensitivityStart,
                                Tok::BinaryOutputMode};
  for (unsigned i = 0; i < std::size(switches); ++i)
    item.AddBool(switches[i], (bits >> i & 1) != 0);
  CMotionBackground model;
  // Settings that are the defaults need no configuration.
  if (bits != 26 || sensitivity != 70) model.ConfigureFromData(item, {37, 6});
  Draw draw(bits);
  std::int64_t now = bits % 4 == 3 ? latest - 3000 : 1000;
  for (int number = 0; number < 150; ++number) {
    const auto [width, height] = number >= 90   ? std::pair(64, 6)
                                 : run % 16 < 3 ? sizes[run % 16]
                                                : std::pair(run % 67 + 1, run % 5 + 1);
    const std::int64_t step = number % 90 == 40 ? 70000 : steps[number % std::size(steps)];
    __builtin_add_overflow(now, number > 30 ? step : 40, &now);
    const Bytes image = Frame(draw, std::int64_t{width} * height, number);
    Mix(model.ProcessImage({width, height, image.data(), width}, &now));
    MixRows(model.GetMean());
    MixRows(model.GetVariance());
    MixRows(model.GetMotion());
    Mix(model.GetHighVarianceCount());
    Mix(model.GetFrameRate());
    Mix(model.IsLightChange());
  }
}

}  // namespace

void MotionModels() {
  const auto steps = [](const char* name, double sensitivity) {
    Step(std::string("motion models, ") + name, [sensitivity] {
      for (unsigned bits = 0; bits < 32; ++bits)
        Watch(bits, sensitivity, static_cast<int>(bits) + (sensitivity > 0 ? 7 : 0));
    });
  };
  steps("usual sensitivity", 70);
  steps("no sensitivity", 0);
  steps("full sensitivity", 100);
  steps("sensitivity out of range", -1e30);
}
