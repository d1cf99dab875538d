#include "main/target/windll/codec/block_kernels.h"

#include "main/target/windll/image_convert/pixel_vectors.h"

namespace ztlib {

namespace {

// Pixels of a row that are summed at a time: sums stay in the first cache, and the largest square
// divides it.
constexpr std::size_t sumCount = 512;

// Luma is the upper byte of each 16-bit word of a row.
inline void AddLuma(std::uint16_t* __restrict sums, const Byte* __restrict uyvy,
                    std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    std::uint16_t word;
    std::memcpy(&word, uyvy + 2 * i, sizeof word);
    sums[i] = static_cast<std::uint16_t>(sums[i] + (word >> 8));
  }
}

template <unsigned Factor>
inline void Fold(Byte* __restrict target, const std::uint16_t* __restrict sums,
                 std::size_t columns) {
  for (std::size_t i = 0; i < columns; ++i) {
    std::uint32_t sum = 0;
    for (unsigned j = 0; j < Factor; ++j)
      sum += sums[i * Factor + j];
    target[i] = static_cast<Byte>(sum / (Factor * Factor));
  }
}

template <unsigned Factor>
void MeanLumaBy(Byte* target, const Byte* uyvy, std::size_t distance, std::size_t columns) {
  constexpr std::size_t step = sumCount / Factor;
  for (std::size_t first = 0; first < columns; first += step) {
    const std::size_t count = columns - first < step ? columns - first : step;
    alignas(32) std::uint16_t sums[sumCount] = {};
    for (unsigned row = 0; row < Factor; ++row)
      AddLuma(sums, uyvy + row * distance + first * Factor * 2, count * Factor);
    Fold<Factor>(target + first, sums, count);
  }
}

// The factor of thumbnails. All rows are read side by side and their sums stay in registers, so this
// takes no longer than reading the picture.
void MeanLumaBy8(Byte* target, const Byte* uyvy, std::size_t distance, std::size_t columns) {
  constexpr std::size_t factor = 8;
  ForRange<wordsPerVector>(
      0, columns,
      [=](std::size_t i) {
        const Byte* const squares = uyvy + 2 * factor * i;
        const auto sum = [=](std::size_t vector) {
          V16 lumas{};
          for (std::size_t row = 0; row < factor; ++row)
            lumas += (V16)LoadVector(squares + row * distance + vector * bytesPerVector) >> 8;
          return (S16)lumas;
        };
        const S16 ones = S16{} + 1;
        const auto addPairs = [ones](S16 a, S16 b) {
          return Pack(MultiplyAdd(a, ones), MultiplyAdd(b, ones));
        };
        const S16 quarters = addPairs(addPairs(sum(0), sum(1)), addPairs(sum(2), sum(3)));
        const V32 means = InOrderTwice((V32)MultiplyAdd(quarters, ones)) / (factor * factor);
        const V32 bytes = PackWordsToBytes(means, means, means, means);
        std::memcpy(target + i, &bytes, wordsPerVector);
      },
      [=](std::size_t i) { MeanLumaBy<factor>(target + i, uyvy + 2 * factor * i, distance, 1); });
}

void MeanLuma(Byte* target, const Byte* uyvy, std::size_t distance, std::size_t columns,
              unsigned factor) {
  switch (factor) {
    case 2:
      return MeanLumaBy<2>(target, uyvy, distance, columns);
    case 4:
      return MeanLumaBy<4>(target, uyvy, distance, columns);
    case 8:
      return MeanLumaBy8(target, uyvy, distance, columns);
    case 16:
      return MeanLumaBy<16>(target, uyvy, distance, columns);
    case 32:
      return MeanLumaBy<32>(target, uyvy, distance, columns);
    default:
      return MeanLumaBy<64>(target, uyvy, distance, columns);
  }
}

inline int Distance(int a, int b) {
  return a < b ? b - a : a - b;
}

bool CompareGroups(Byte* __restrict marks, const Byte* const reference[2],
                   const Byte* const present[2], std::size_t count, unsigned threshold) {
  const Byte* __restrict const r0 = reference[0];
  const Byte* __restrict const r1 = reference[1];
  const Byte* __restrict const p0 = present[0];
  const Byte* __restrict const p1 = present[1];
  const int limit = static_cast<int>(threshold);
  Byte any = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const int sum = Distance(r0[2 * i], p0[2 * i]) + Distance(r0[2 * i + 1], p0[2 * i + 1]) +
                    Distance(r1[2 * i], p1[2 * i]) + Distance(r1[2 * i + 1], p1[2 * i + 1]);
    const auto mark = static_cast<Byte>(sum > limit ? 255 : 0);
    marks[i] = mark;
    any = static_cast<Byte>(any | mark);
  }
  return any != 0;
}

void SpreadMarks(Byte* __restrict target, const Byte* __restrict above, const Byte* __restrict row,
                 const Byte* __restrict below, std::size_t count) {
  const Byte* const left = row - 1;
  const Byte* const right = row + 1;
  for (std::size_t i = 0; i < count; ++i)
    target[i] = static_cast<Byte>(left[i] | row[i] | right[i] | above[i] | below[i]);
}

void HalfDifference(Byte* __restrict target, const Byte* __restrict reference,
                    const Byte* __restrict present, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto difference = static_cast<std::int16_t>(reference[i] - present[i]);
    target[i] = static_cast<Byte>(difference / 2 + 128);
  }
}

// The row sizes of most blocks are constants for the compiler, which then makes no loop of a row.
template <std::size_t fixedSize>
void AddRows(Byte* __restrict target, const Byte* __restrict base, std::size_t distance,
             const Byte* __restrict difference, std::size_t differenceDistance, std::size_t rowSize,
             std::size_t rows) {
  const std::size_t count = fixedSize != 0 ? fixedSize : rowSize;
  for (; rows > 0; --rows) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto value = static_cast<std::int16_t>(base[i] + 256 - 2 * difference[i]);
      target[i] = static_cast<Byte>(value < 0 ? 0 : value > 255 ? 255 : value);
    }
    target += distance;
    base += distance;
    difference += differenceDistance;
  }
}
void AddDifference(Byte* target, const Byte* base, std::size_t distance, const Byte* difference,
                   std::size_t differenceDistance, std::size_t rowSize, std::size_t rows) {
  const auto add = rowSize == 64 ? AddRows<64> : rowSize == 32 ? AddRows<32> : AddRows<0>;
  add(target, base, distance, difference, differenceDistance, rowSize, rows);
}

template <std::size_t fixedSize>
void CopyRowsOf(Byte* target, std::size_t targetDistance, const Byte* source,
                std::size_t sourceDistance, std::size_t rowSize, std::size_t rows) {
  for (std::size_t row = 0; row < rows; ++row)
    std::memcpy(target + row * targetDistance, source + row * sourceDistance,
                fixedSize != 0 ? fixedSize : rowSize);
}
void CopyRows(Byte* target, std::size_t targetDistance, const Byte* source,
              std::size_t sourceDistance, std::size_t rowSize, std::size_t rows) {
  const auto copy = rowSize == 64 ? CopyRowsOf<64> : rowSize == 32 ? CopyRowsOf<32> : CopyRowsOf<0>;
  copy(target, targetDistance, source, sourceDistance, rowSize, rows);
}

}  // namespace

constinit const BlockKernels BlockKernels::ZTLIB_INSTRUCTION_SET = {
    MeanLuma, CompareGroups, SpreadMarks, HalfDifference, AddDifference, CopyRows};

}  // namespace ztlib
