#include "main/target/windll/codec/split_kernels.h"

#include "main/target/windll/image_convert/image_convert_toyuv_impl.h"

namespace ztlib {

namespace {

// What the means of an even and an odd column add before they are cut.
inline int HalvingBias(std::size_t column) {
  return 1 + static_cast<int>(column & 1);
}

void SplitPixels(Byte* __restrict y, Byte* __restrict u, Byte* __restrict v,
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
        (upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1] + HalvingBias(i)) >> 2);
}

// Twice the chroma of the samples in a vector: of their left pixels and of their right ones.
template <class Format>
inline V16 ChromaOfBoth(const Byte* samples) {
  const BlendedChroma<Format> chroma(samples);
  return (chroma.left >> chroma.leftShift) + (chroma.right >> chroma.rightShift);
}

template <class Format>
void SplitPairs(Byte* const y[2], Byte* u, Byte* v, const Byte* const rows[2], std::size_t count,
                std::size_t room) {
  // The sums of U and V, in the second and third byte of pixels, over pixels of both rows.
  const auto halve = [=](std::size_t i, const Word(&pixels)[4]) {
    int sums[2] = {HalvingBias(i), HalvingBias(i)};
    for (const Word pixel : pixels)
      for (int j = 0; j < 2; ++j)
        sums[j] += ByteOf(pixel, 1 + j);
    u[i] = static_cast<Byte>(sums[0] >> 2);
    v[i] = static_cast<Byte>(sums[1] >> 2);
  };
  ForInnerRange<2 * wordsPerVector>(
      count,
      [=](std::size_t i) {
        const auto low = static_cast<std::uint64_t>(HalvingBias(i)) * 0x10001;
        const auto high = static_cast<std::uint64_t>(HalvingBias(i + 1)) * 0x10001;
        V16 first = (V16)(V64{} + (low | high << 32));
        V16 second = first;
        for (int row = 0; row < 2; ++row) {
          const Byte* const samples = rows[row] + 4 * i;
          const V16 luma = LumaOf<Format>(LoadVector(samples));
          const V16 nextLuma = LumaOf<Format>(LoadVector(samples + bytesPerVector));
          StoreVector(y[row] + 2 * i, InOrder((V32)PackToBytes((S16)luma, (S16)nextLuma)));
          first += ChromaOfBoth<Format>(samples);
          second += ChromaOfBoth<Format>(samples + bytesPerVector);
        }
        const auto chroma = (V16)PackToBytes((S16)(first >> 2), (S16)(second >> 2));
        StoreHalves(u + i, v + i,
                    InOrderTwice((V32)PackToBytes((S16)(chroma & 0xff), (S16)(chroma >> 8))));
      },
      [=](std::size_t i) {
        const Word pixels[4] = {
            LeftPixel<Format>(rows[0], i), RightPixel<Format>(rows[0], i, count),
            LeftPixel<Format>(rows[1], i), RightPixel<Format>(rows[1], i, count)};
        for (std::size_t j = 0; j < 4; ++j)
          y[j / 2][2 * i + j % 2] = static_cast<Byte>(pixels[j]);
        halve(i, pixels);
      });
  const Word upper = RightPixel<Format>(rows[0], count - 1, count);
  const Word lower = RightPixel<Format>(rows[1], count - 1, count);
  for (std::size_t i = count; i < room; ++i)
    halve(i, {upper, upper, lower, lower});
  for (int row = 0; row < 2; ++row)
    std::memset(y[row] + 2 * count, y[row][2 * count - 1], 2 * (room - count));
}

}  // namespace

constinit const SplitKernels SplitKernels::ZTLIB_INSTRUCTION_SET = {
    .yuv = SplitPixels, .halve = Halve, .yuyv = SplitPairs<Yuyv>, .uyvy = SplitPairs<Uyvy>};

}  // namespace ztlib
