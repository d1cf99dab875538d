#include "main/target/windll/codec/plane_kernels.h"

#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

namespace {

void SplitYuv(Byte* __restrict y, Byte* __restrict u, Byte* __restrict v,
              const Byte* __restrict yuv, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const Word pixel = Load(yuv + 4 * i);
    y[i] = static_cast<Byte>(pixel);
    u[i] = static_cast<Byte>(pixel >> 8);
    v[i] = static_cast<Byte>(pixel >> 16);
  }
}

void Halve(Byte* __restrict target, const Byte* __restrict upper, const Byte* __restrict lower,
           std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    target[i] = static_cast<Byte>(
        (upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1] + 1 + (i & 1)) >> 2);
}

// The two results of a sample.
struct Wide {
  int left;
  int right;
};
inline Wide WideOf(const Byte* row, const Byte*, std::size_t i) {
  const Byte* const p = row + i;
  return {(3 * p[0] + p[-1] + 1) >> 2, (3 * p[0] + p[1] + 2) >> 2};
}
inline Wide WideBetween(const Byte* near, const Byte* far, std::size_t i) {
  const Byte* const n = near + i;
  const Byte* const f = far + i;
  const int before = 3 * n[-1] + f[-1];
  const int here = 3 * n[0] + f[0];
  const int behind = 3 * n[1] + f[1];
  return {(3 * here + before + 8) >> 4, (3 * here + behind + 7) >> 4};
}
inline Wide PairAt(const Byte* row, const Byte*, std::size_t i) {
  return {row[2 * i], row[2 * i + 1]};
}

template <Wide (*At)(const Byte*, const Byte*, std::size_t)>
void Both(Byte* __restrict target, const Byte* __restrict near, const Byte* __restrict far,
          std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const Wide wide = At(near, far, i);
    const auto pair = static_cast<std::uint16_t>(wide.left | wide.right << 8);
    std::memcpy(target + 2 * i, &pair, sizeof pair);
  }
}
template <Wide (*At)(const Byte*, const Byte*, std::size_t)>
void Mean(Byte* __restrict target, const Byte* __restrict near, const Byte* __restrict far,
          std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const Wide wide = At(near, far, i);
    target[i] = static_cast<Byte>((wide.left + wide.right + 1) >> 1);
  }
}

void JoinYuv(Byte* __restrict target, const Byte* __restrict y, const Byte* __restrict u,
             const Byte* __restrict v, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, y[i] | Word{u[i]} << 8 | Word{v[i]} << 16 | 0xff000000U);
}
void JoinYuyv(Byte* __restrict target, const Byte* __restrict y, const Byte* __restrict u,
              const Byte* __restrict v, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, y[2 * i] | Word{u[i]} << 8 | Word{y[2 * i + 1]} << 16 | Word{v[i]} << 24);
}
void JoinUyvy(Byte* __restrict target, const Byte* __restrict y, const Byte* __restrict u,
              const Byte* __restrict v, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    Store(target + 4 * i, u[i] | Word{y[2 * i]} << 8 | Word{v[i]} << 16 | Word{y[2 * i + 1]} << 24);
}

}  // namespace

constinit const PlaneKernels PlaneKernels::ZTLIB_INSTRUCTION_SET = {
    .splitYuv = SplitYuv,
    .halve = Halve,
    .widen = Both<WideOf>,
    .widenBetween = Both<WideBetween>,
    .widenToPairs = Mean<WideOf>,
    .widenBetweenToPairs = Mean<WideBetween>,
    .meanOfPairs = Mean<PairAt>,
    .joinYuv = JoinYuv,
    .joinYuyv = JoinYuyv,
    .joinUyvy = JoinUyvy,
};

}  // namespace ztlib
