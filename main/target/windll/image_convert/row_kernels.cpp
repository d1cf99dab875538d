#include "main/target/windll/image_convert/row_kernels.h"

#include "main/target/windll/image_convert/pixel_vectors.h"

namespace {

// Chroma of the pixel that is three quarters in one sample and one quarter in the next.
inline int Blend(int own, int side) {
  return (3 * own + side + 2) >> 2;
}

// The two pixels of sample i of a row. The chroma of each leans to the sample at its side; the
// outer pixels of a row have none and keep the chroma of their sample.
template <class Format>
inline Word LeftPixel(const Byte* row, std::size_t i) {
  const Word sample = Format::ToSample(Load(row + 4 * i));
  int u = ByteOf(sample, 1);
  int v = ByteOf(sample, 3);
  if (i > 0) {
    const Word side = Format::ToSample(Load(row + 4 * i - 4));
    const int sideU = ByteOf(side, 1);
    const int sideV = ByteOf(side, 3);
    // UYVY takes the chroma that its left neighbour has just got, YUYV what it had.
    u = Blend(u, Format::inPlace ? Blend(sideU, u) : sideU);
    v = Blend(v, Format::inPlace ? Blend(sideV, v) : sideV);
  }
  return Pack(ByteOf(sample, 0), u, v);
}
template <class Format>
inline Word RightPixel(const Byte* row, std::size_t i, std::size_t count) {
  const Word sample = Format::ToSample(Load(row + 4 * i));
  int u = ByteOf(sample, 1);
  int v = ByteOf(sample, 3);
  if (i + 1 < count) {
    const Word side = Format::ToSample(Load(row + 4 * i + 4));
    u = Blend(u, ByteOf(side, 1));
    v = Blend(v, ByteOf(side, 3));
  }
  return Pack(ByteOf(sample, 2), u, v);
}

// The sums behind the equations from RGB: blue and red in the halves of a word, green in another.
struct RgbTerms {
  explicit RgbTerms(V32 rgb) : blueRed((S16)(rgb & 0x00ff00ffU)), green((S16)((V16)rgb >> 8)) {}
  [[nodiscard]] V32 Sum(int blueWeight, int greenWeight, int redWeight) const {
    return (V32)(MultiplyAdd(blueRed, Pairs(blueWeight, redWeight)) +
                 MultiplyAdd(green, Pairs(greenWeight, 0)));
  }
  [[nodiscard]] V32 Luma() const { return Sum(29, 150, 77) >> 8; }
  // 256 times the chroma: adding 128 behind the shift is adding 0x8000 before it.
  [[nodiscard]] V32 U() const { return Sum(128, -85, -43) + 0x8000; }
  [[nodiscard]] V32 V() const { return Sum(-21, -107, 128) + 0x8000; }

  S16 blueRed;
  S16 green;
};

// Luma (Y0, Y1) of packed samples, and samples from luma and chroma (U, V), 16 bits each.
template <class Format>
inline V16 LumaOf(V32 samples) {
  return Format::lumaFirst ? (V16)samples & 0xff : (V16)samples >> 8;
}
template <class Format>
inline V32 Join(V16 luma, V16 chroma) {
  return (V32)(Format::lumaFirst ? luma | chroma << 8 : chroma | luma << 8);
}

// The chroma of the left and right pixels of samples inside a row, less `bias`, times 1 << shift
// and with the remainder of its division still in. UYVY's left pixel,
// (3 * own + ((3 * before + own + 2) >> 2) + 2) >> 2, is (13 * own + 3 * before + 10) >> 4.
template <class Format>
struct BlendedChroma {
  static constexpr int shift = Format::inPlace ? 4 : 2;

  explicit BlendedChroma(const Byte* samples, int bias = 0) {
    constexpr int index = Format::lumaFirst ? 1 : 0;
    const V32 own = LoadVector(samples);
    const V32 before = LoadVector(samples - 4);
    const V32 after = LoadVector(samples + 4);
    const auto rounding = [bias](int value) {
      return static_cast<std::uint16_t>(value - (bias << shift));
    };
    if constexpr (Format::inPlace) {
      left = WeighByte<index, 13>(own) + WeighByte<index, 3>(before) + rounding(10);
      right = WeighByte<index, 12>(own) + WeighByte<index, 4>(after) + rounding(8);
    } else {
      const V16 both = WeighByte<index, 3>(own) + rounding(2);
      left = both + WeighByte<index, 1>(before);
      right = both + WeighByte<index, 1>(after);
    }
  }

  V16 left;
  V16 right;
};

// Samples from pixels, even and odd ones in separate words.
template <class Format>
inline V32 JoinPairs(V32 evenLuma, V32 oddLuma, V8 chromaU, V8 chromaV) {
  const V32 luma = evenLuma | oddLuma << 16;
  const V32 chroma = ((V32)chromaU >> 8 & 0xff) | ((V32)chromaV << 8 & 0xff0000U);
  return InOrder(Join<Format>((V16)luma, (V16)chroma));
}

void BoolToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count, [=](std::size_t i) { StoreVector(target + i, (V32) - (V8)LoadVector(source + i)); },
      [=](std::size_t i) { target[i] = static_cast<Byte>(-source[i]); });
}

void GrayToBool(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        StoreVector(target + i, (V32)((V8)LoadVector(source + i) != 0) & 0x01010101U);
      },
      [=](std::size_t i) { target[i] = source[i] != 0; });
}

template <bool isBool>
void GrayToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto value = (V8)InOrder(LoadVector(source + i));
        const V8 gray = isBool ? -value : value;
        StorePixels(target + 4 * i, InterleaveLow(gray, gray), InterleaveLow(gray, V8{}));
        StorePixels(target + 4 * i + 2 * bytesPerVector, InterleaveHigh(gray, gray),
                    InterleaveHigh(gray, V8{}));
      },
      [=](std::size_t i) {
        const auto gray = static_cast<Byte>(isBool ? -source[i] : source[i]);
        StorePixel(target + 4 * i, gray * 0x010101U);
      });
}

void GrayToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto gray = (V8)InOrder(LoadVector(source + i));
        StorePixels(target + 4 * i, InterleaveLow(gray, V8{} + 128), V16{} + 128);
        StorePixels(target + 4 * i + 2 * bytesPerVector, InterleaveHigh(gray, V8{} + 128),
                    V16{} + 128);
      },
      [=](std::size_t i) { StorePixel(target + 4 * i, source[i] | 0x808000U); });
}

template <class Format>
void GrayToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector / 2>(
      0, count,
      [=](std::size_t i) {
        const auto gray = (V8)InOrder(LoadVector(source + 2 * i));
        StoreVector(target + 4 * i, Join<Format>(InterleaveLow(gray, V8{}), V16{} + 128));
        StoreVector(target + 4 * i + bytesPerVector,
                    Join<Format>(InterleaveHigh(gray, V8{}), V16{} + 128));
      },
      [=](std::size_t i) {
        Store(target + 4 * i, Format::ToSample(Pack(source[2 * i], 128, source[2 * i + 1], 128)));
      });
}

void RgbToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto luma = [=](std::size_t part) {
          return RgbTerms(LoadVector(source + 4 * i + part * bytesPerVector)).Luma();
        };
        StoreVector(target + i, PackWordsToBytes(luma(0), luma(1), luma(2), luma(3)));
      },
      [=](std::size_t i) { target[i] = static_cast<Byte>(LumaOfRgb(Load(source + 4 * i))); });
}

void RgbToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        const RgbTerms rgb(LoadVector(source + 4 * i));
        StorePixels(target + 4 * i, rgb.Luma() | (rgb.U() & 0xff00U) | (rgb.V() << 8 & 0xff0000U));
      },
      [=](std::size_t i) { StorePixel(target + 4 * i, YuvOfRgb(Load(source + 4 * i))); });
}

template <class Format>
void RgbToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        const V32 first = LoadVector(source + 8 * i);
        const V32 second = LoadVector(source + 8 * i + bytesPerVector);
        const RgbTerms even(EvenWords(first, second));
        const RgbTerms odd(OddWords(first, second));
        StoreVector(target + 4 * i,
                    JoinPairs<Format>(even.Luma(), odd.Luma(), Average((V8)even.U(), (V8)odd.U()),
                                      Average((V8)even.V(), (V8)odd.V())));
      },
      [=](std::size_t i) {
        Store(target + 4 * i, Format::ToSample(YuyvOfYuv(YuvOfRgb(Load(source + 8 * i)),
                                                         YuvOfRgb(Load(source + 8 * i + 4)))));
      });
}

void YuvToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<bytesPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto luma = [=](std::size_t part) {
          return LoadVector(source + 4 * i + part * bytesPerVector) & 0xff;
        };
        StoreVector(target + i, PackWordsToBytes(luma(0), luma(1), luma(2), luma(3)));
      },
      [=](std::size_t i) { target[i] = source[4 * i]; });
}

void YuvToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<2 * wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        StorePixels(target + 4 * i, RgbOfYuv({LoadVector(source + 4 * i),
                                              LoadVector(source + 4 * i + bytesPerVector)}));
      },
      [=](std::size_t i) { StorePixel(target + 4 * i, RgbOfYuv(Load(source + 4 * i))); });
}

template <class Format>
void YuvToPairs(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        const V32 first = LoadVector(source + 8 * i);
        const V32 second = LoadVector(source + 8 * i + bytesPerVector);
        const V32 even = EvenWords(first, second);
        const V32 odd = OddWords(first, second);
        const V8 chroma = Average((V8)even, (V8)odd);
        StoreVector(target + 4 * i,
                    JoinPairs<Format>(even & 0xff, odd & 0xff, chroma, (V8)((V32)chroma >> 8)));
      },
      [=](std::size_t i) {
        Store(target + 4 * i,
              Format::ToSample(YuyvOfYuv(Load(source + 8 * i), Load(source + 8 * i + 4))));
      });
}

template <class Format>
void PairsToGray(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  constexpr int luma = Format::lumaFirst ? 0 : 1;
  ForRange<bytesPerVector / 2>(
      0, count,
      [=](std::size_t i) {
        const V16 first = LumaOf<Format>(LoadVector(source + 4 * i));
        const V16 second = LumaOf<Format>(LoadVector(source + 4 * i + bytesPerVector));
        StoreVector(target + 2 * i, InOrder((V32)PackToBytes((S16)first, (S16)second)));
      },
      [=](std::size_t i) {
        target[2 * i] = source[4 * i + luma];
        target[2 * i + 1] = source[4 * i + luma + 2];
      });
}

// Calls `vector` for groups of the samples that have neighbours on both sides, `scalar` for others.
template <class VectorStep, class ScalarStep>
inline void ForInnerRange(std::size_t count, VectorStep vector, ScalarStep scalar) {
  constexpr std::size_t size = wordsPerVector;
  if (count < size + 2) {
    for (std::size_t i = 0; i < count; ++i)
      scalar(i);
    return;
  }
  scalar(0);
  const std::size_t last = count - 1 - size;
  // From the second group on at multiples of the size: aligned rows are met at aligned addresses.
  for (std::size_t i = 1; i < last; i = (i + size) / size * size)
    vector(i);
  vector(last);
  scalar(count - 1);
}

template <class Format>
void PairsToYuv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForInnerRange(
      count,
      [=](std::size_t i) {
        const V16 luma = LumaOf<Format>(LoadVector(source + 4 * i));
        const BlendedChroma<Format> chroma(source + 4 * i);
        const auto spread = (V16)Pairs(256, 1);
        const V32 left = ((V32)luma & 0xffff) | (V32)((chroma.left >> chroma.shift) * spread);
        const V32 right = (V32)luma >> 16 | (V32)((chroma.right >> chroma.shift) * spread);
        StorePixels(target + 8 * i,
                    InOrder(InterleaveLow(left, right), InterleaveHigh(left, right)));
      },
      [=](std::size_t i) {
        StorePixel(target + 8 * i, LeftPixel<Format>(source, i));
        StorePixel(target + 8 * i + 4, RightPixel<Format>(source, i, count));
      });
}

template <class Format>
void PairsToRgb(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForInnerRange(
      count,
      [=](std::size_t i) {
        using Chroma = BlendedChroma<Format>;
        const Chroma chroma(source + 4 * i, 128);
        constexpr std::uint16_t withoutRemainder = 0xffff << Chroma::shift & 0xffff;
        const ChromaTerms left(chroma.left & withoutRemainder, 256 >> Chroma::shift);
        const ChromaTerms right(chroma.right & withoutRemainder, 256 >> Chroma::shift);
        const TwoVectors rgb = RgbOf(LumaOf<Format>(LoadVector(source + 4 * i)),
                                     (V16)InterleaveLow(left.blueRed, right.blueRed),
                                     (V16)InterleaveHigh(left.blueRed, right.blueRed),
                                     (V16)JoinUpperHalves(left.green, right.green));
        StorePixels(target + 8 * i, InOrder(rgb.first, rgb.second));
      },
      [=](std::size_t i) {
        StorePixel(target + 8 * i, RgbOfYuv(LeftPixel<Format>(source, i)));
        StorePixel(target + 8 * i + 4, RgbOfYuv(RightPixel<Format>(source, i, count)));
      });
}

void YuyvToUyvy(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForRange<wordsPerVector>(
      0, count,
      [=](std::size_t i) {
        const auto samples = (V16)LoadVector(source + 4 * i);
        StoreVector(target + 4 * i, (V32)(samples << 8 | samples >> 8));
      },
      [=](std::size_t i) { Store(target + 4 * i, Uyvy::ToSample(Load(source + 4 * i))); });
}

// Not the way back: it leads over the chroma of single pixels.
void UyvyToYuyv(Byte* __restrict target, const Byte* __restrict source, std::size_t count) {
  ForInnerRange(
      count,
      [=](std::size_t i) {
        const V16 luma = LumaOf<Uyvy>(LoadVector(source + 4 * i));
        const BlendedChroma<Uyvy> chroma(source + 4 * i);
        StoreVector(target + 4 * i,
                    Join<Yuyv>(luma, (V16)Average((V8)(chroma.left >> chroma.shift),
                                                  (V8)(chroma.right >> chroma.shift))));
      },
      [=](std::size_t i) {
        Store(target + 4 * i,
              YuyvOfYuv(LeftPixel<Uyvy>(source, i), RightPixel<Uyvy>(source, i, count)));
      });
}

}  // namespace

constinit const RowKernels RowKernels::ZTLIB_INSTRUCTION_SET = {
    .boolToGray = BoolToGray,
    .boolToRgb = GrayToRgb<true>,
    .grayToBool = GrayToBool,
    .grayToRgb = GrayToRgb<false>,
    .grayToYuv = GrayToYuv,
    .grayToYuyv = GrayToPairs<Yuyv>,
    .grayToUyvy = GrayToPairs<Uyvy>,
    .rgbToGray = RgbToGray,
    .rgbToYuv = RgbToYuv,
    .rgbToYuyv = RgbToPairs<Yuyv>,
    .rgbToUyvy = RgbToPairs<Uyvy>,
    .yuvToGray = YuvToGray,
    .yuvToRgb = YuvToRgb,
    .yuvToYuyv = YuvToPairs<Yuyv>,
    .yuvToUyvy = YuvToPairs<Uyvy>,
    .yuyvToGray = PairsToGray<Yuyv>,
    .yuyvToRgb = PairsToRgb<Yuyv>,
    .yuyvToYuv = PairsToYuv<Yuyv>,
    .yuyvToUyvy = YuyvToUyvy,
    .uyvyToGray = PairsToGray<Uyvy>,
    .uyvyToRgb = PairsToRgb<Uyvy>,
    .uyvyToYuv = PairsToYuv<Uyvy>,
    .uyvyToYuyv = UyvyToYuyv,
};
