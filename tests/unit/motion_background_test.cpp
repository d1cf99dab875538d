#include "main/lib/vca/old_vca_utils/motion_background.h"

#include "main/lib/base/exceptions.h"
#include "tests/support/common.h"

#include <xmmintrin.h>

using namespace ztlib;

namespace {

TEST(MotionBackground, ImpossiblePlanes) {
  CMotionBackground model;
  const std::int64_t now = 0;
  EXPECT_THROW(model.ProcessImage({4, 4, nullptr, 4}, &now), CException);
  EXPECT_THROW(model.ConfigureFromData({}, {-1, 4}), std::bad_alloc);
}

TEST(MotionBackground, StillSceneDecaysToZeroAndTheCallersModeStays) {
  const unsigned saved = _mm_getcsr();
  CMotionBackground model;
  for (int number = 0; number < 30000; ++number) {
    const std::int64_t now = number * 500;
    const Bytes image(64, static_cast<std::uint8_t>(number < 32 ? number % 2 : 0));
    ASSERT_EQ(model.ProcessImage({64, 1, image.data(), 64}, &now), 0);
  }
  EXPECT_EQ(_mm_getcsr() & 0x8040, saved & 0x8040);
  for (const auto* const image : {&model.GetMean(), &model.GetVariance()})
    EXPECT_EQ(std::vector<float>(image->GetPtr(), image->GetPtr() + 64), std::vector<float>(64));
}

}  // namespace
