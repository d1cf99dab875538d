#include "main/lib/vca/old_vca_utils/motion_background.h"

#include "main/lib/base/exceptions.h"
#include "tests/support/common.h"

#include <xmmintrin.h>

using namespace ztlib;

namespace {

using Floats = std::vector<float>;

constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();

// The model in its simplest form, pixel by pixel and with branches.
struct Reference {
  std::int64_t width = -1, height = 0, last = 0, reducedUntil = 0, startupUntil = 0;
  std::int64_t high = 0, learned = 0, big = 0;
  float sensitivity = 70, frameRate = 0;
  bool melt = false, highReduction = true, alternative = false, forbidStart = true, binary = true;
  bool quiet = true;
  Floats mean, variance;
  Bytes motion;

  static std::int64_t Later(std::int64_t now, std::int64_t by) {
    return now > latest - by ? latest : now + by;
  }

  std::int64_t Process(const Bytes& image, std::int64_t w, std::int64_t h, std::int64_t now) {
    if (w != width || h != height) {
      mean = variance = Floats(image.size());
      motion = Bytes(image.size());
      learned = 0;
    }
    width = w;
    height = h;
    if (now < last) reducedUntil = startupUntil = now;
    const auto gap = static_cast<__int128>(now) - last;
    frameRate = gap != 0 && gap <= 1000 ? 1000.0F / static_cast<float>(gap) : 1;
    float rate = 0.5F / frameRate;
    const float t = (10 - sensitivity / 10) * 0.5F + 2.5F, base = t * t;
    const bool startup = now < startupUntil && forbidStart;
    const bool reduced = !startup && now < reducedUntil;
    float k = startup ? 6.25F : base;
    if (reduced || melt) k = base * 0.5F;
    if (alternative && !quiet) {
      k = base * 2.25F;
      rate = rate * 2;
    }
    const float m = reduced || melt || (alternative && !quiet) ? 0.05F : 0.025F;
    const float c = reduced || melt ? 100 : 65000;
    rate = std::min(std::max(rate, 0.015625F), 0.125F);
    high = big = 0;
    last = now;
    if (learned < 32) {
      const auto n = static_cast<float>(++learned);
      for (std::size_t i = 0; i < image.size(); ++i) {
        mean[i] += image[i];
        const float d = (image[i] * n - mean[i]) / n;
        variance[i] = d * d + variance[i];
      }
      if (learned < 32) return 0;
      for (std::size_t i = 0; i < image.size(); ++i) {
        mean[i] *= 0.03125F;
        variance[i] *= 0.03125F;
      }
      startupUntil = Later(now, 60000);
      reducedUntil = now;
    }
    std::int64_t count = 0;
    for (std::size_t i = 0; i < image.size(); ++i)
      count += Pixel(i, image[i], k, c, rate, rate * m);
    if (binary) count -= Despeckle();
    const auto pixels = static_cast<double>(width * height);
    if (highReduction && static_cast<double>(high) > 0.25 * pixels && now > reducedUntil)
      reducedUntil = Later(now, 5000);
    if (alternative) quiet = static_cast<double>(high) < 0.05 * pixels;
    return count;
  }

  bool Pixel(std::size_t i, float p, float k, float c, float rate, float s) {
    const float d = (p - mean[i]) * (p - mean[i]), limit = k * variance[i];
    const bool moves = !(d <= 100.0F || d <= limit);
    mean[i] = (1 - s) * mean[i] + s * p;
    const float v = moves ? (1 - s) * variance[i] + s * d : (1 - rate) * variance[i] + rate * d;
    motion[i] = !moves   ? 0
                : binary ? 0xFF
                         : static_cast<std::uint8_t>(std::sqrt(d - (100 < limit ? limit : 100)));
    big += d > std::max(300.0F, v);
    high += v > 100.0F;
    variance[i] = v > c ? c : v;
    return moves;
  }

  // Removes single pixels. The pixel to the right of one that stays is skipped.
  std::int64_t Despeckle() {
    std::int64_t cleared = 0;
    for (std::int64_t y = 1; y < height - 1; ++y)
      for (std::int64_t x = 1; x < width - 1; ++x) {
        const auto at = motion.begin() + y * width + x;
        if (*at == 0) continue;
        int near = 0;
        for (const std::int64_t row : {-width, std::int64_t{0}, width})
          near += (at[row - 1] != 0) + (at[row] != 0) + (at[row + 1] != 0);
        if (near == 1) {
          *at = 0;
          ++cleared;
        } else {
          ++x;
        }
      }
    return cleared;
  }
};

// Results are compared while denormal numbers count as zero, as in the model.
class MotionBackground : public testing::Test {
 protected:
  MotionBackground() { _mm_setcsr(saved | 0x8040); }
  ~MotionBackground() override { _mm_setcsr(saved); }
  const unsigned saved = _mm_getcsr();
  std::mt19937 random{5};

  // Returns a textured scene with noise. In some phases of the sequence pixels jump.
  Bytes Frame(std::int64_t width, std::int64_t height, int number) {
    Bytes image(static_cast<std::size_t>(width * height));
    const unsigned jumps = number % 30 < 10 ? 0 : number % 30 < 20 ? 12 : 2;
    for (std::size_t i = 0; i < image.size(); ++i) {
      const unsigned draw = random();
      image[i] = static_cast<std::uint8_t>(
          jumps != 0 && draw % jumps == 0 ? draw >> 8 : i * 7 % 200 + (draw >> 16) % 5 + 20);
      if (number % 45 == 44) image[i] = static_cast<std::uint8_t>(~image[i]);
    }
    return image;
  }
};

template <class T>
bool Same(const TCImageX<T, long long>& image, const std::vector<T>& expected) {
  bool same = image.GetDx() * image.GetDy() == std::ssize(expected);
  for (long long y = 0; same && y < image.GetDy() && image.GetDx() > 0; ++y)
    same = std::memcmp(image.GetPtr() + y * image.GetScanline(), &expected[y * image.GetDx()],
                       static_cast<std::size_t>(image.GetDx()) * sizeof(T)) == 0;
  return same;
}

TEST_F(MotionBackground, FollowsThePlainModelBitForBitInAllSettings) {
  constexpr std::int64_t steps[] = {40, 31, 32, 0, 250, 1000, 1001, 7, -1, 100, -90000, 1, 30000};
  constexpr double sensitivities[] = {70, 0, 100, -1e30, std::numeric_limits<double>::quiet_NaN()};
  constexpr std::pair<int, int> sizes[] = {{37, 6}, {0, 5}, {5, 0}};
  int run = 0;
  for (const double sensitivity : sensitivities)
    for (unsigned bits = 0; bits < 32; ++bits, ++run) {
      SCOPED_TRACE(testing::Message() << sensitivity << ", settings " << bits);
      Reference reference;
      reference.sensitivity = static_cast<float>(sensitivity);
      CData item;
      item.AddDouble(Tok::Sensitivity, sensitivity);
      const auto set = [&](int bit, Token token, bool& value) {
        value = (bits >> bit & 1U) != 0;
        item.AddBool(token, value);
      };
      set(0, Tok::MeltinReduction, reference.melt);
      set(1, Tok::HighVarianceReduction, reference.highReduction);
      set(2, Tok::AlternativeVarianceHandling, reference.alternative);
      set(3, Tok::ForbidHighSensitivityStart, reference.forbidStart);
      set(4, Tok::BinaryOutputMode, reference.binary);
      CMotionBackground model;
      // The default settings need no configuration.
      if (bits != 26 || sensitivity != 70) model.ConfigureFromData(item, {37, 6});
      // In some sequences the time wraps from its largest value to its smallest.
      std::int64_t now = bits % 4 == 3 ? latest - 3000 : 1000;
      for (int number = 0; number < 150; ++number) {
        // A change of size makes the model learn again.
        const auto [width, height] = number >= 90   ? std::pair(64, 6)
                                     : run % 16 < 3 ? sizes[run % 16]
                                                    : std::pair(run % 67 + 1, run % 5 + 1);
        const std::int64_t step = number % 90 == 40 ? 70000 : steps[number % std::size(steps)];
        __builtin_add_overflow(now, number > 30 ? step : 40, &now);
        const Bytes image = Frame(width, height, number);
        const std::int64_t expected = reference.Process(image, width, height, now);
        ASSERT_EQ(model.ProcessImage({width, height, image.data(), width}, &now), expected)
            << number;
        ASSERT_TRUE(Same(model.GetMean(), reference.mean)) << number;
        ASSERT_TRUE(Same(model.GetVariance(), reference.variance)) << number;
        ASSERT_TRUE(Same(model.GetMotion(), reference.motion)) << number;
        ASSERT_EQ(model.GetHighVarianceCount(), reference.high) << number;
        ASSERT_EQ(model.GetFrameRate(), reference.frameRate) << number;
        if (reference.learned == 32) {
          ASSERT_EQ(model.IsLightChange(), width * height / 4 < reference.big) << number;
        }
      }
    }
}

TEST_F(MotionBackground, ImpossiblePlanes) {
  CMotionBackground model;
  const std::int64_t now = 0;
  EXPECT_THROW(model.ProcessImage({4, 4, nullptr, 4}, &now), CException);
  EXPECT_THROW(model.ConfigureFromData({}, {-1, 4}), std::bad_alloc);
}

TEST_F(MotionBackground, StillSceneDecaysToZeroAndTheCallersModeStays) {
  _mm_setcsr(saved);
  CMotionBackground model;
  for (int number = 0; number < 30000; ++number) {
    const std::int64_t now = number * 500;
    const Bytes image(64, static_cast<std::uint8_t>(number < 32 ? number % 2 : 0));
    ASSERT_EQ(model.ProcessImage({64, 1, image.data(), 64}, &now), 0);
  }
  EXPECT_EQ(_mm_getcsr() & 0x8040, saved & 0x8040);
  EXPECT_TRUE(Same(model.GetMean(), Floats(64)) && Same(model.GetVariance(), Floats(64)));
}

}  // namespace
