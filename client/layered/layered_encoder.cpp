#include "client/layered/layered_encoder.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr std::size_t headerSize = 112;
constexpr std::uint32_t blockSide = 16;
constexpr std::uint32_t layered = 0, layeredDifferential = 4;  // video formats

std::uint32_t Across(const CLayeredPicture& picture) {
  return static_cast<std::uint32_t>(picture.width) / blockSide;
}
std::uint32_t Down(const CLayeredPicture& picture) {
  return static_cast<std::uint32_t>(picture.height) / blockSide;
}

struct CDifferentialFields {
  std::uint32_t blockCount = 0, listSize = 0;
};

void StoreHeader(LayeredBytes& frame, const CLayeredPicture& picture,
                 const CLayeredSettings& settings, const CDifferentialFields* differential) {
  const auto store = [&](std::size_t at, std::size_t value, int size) {
    StoreNumber(frame, at, static_cast<std::uint32_t>(value), size);
  };
  store(0, 3, 4);  // made by an encoder
  store(4, frame.size(), 4);
  store(8, headerSize, 4);
  store(24, settings.isDifferential ? layeredDifferential : layered, 2);
  store(26, differential ? 1 : 0, 2);
  store(28, settings.isDifferential && !differential ? 1 : 0, 2);
  store(32, static_cast<std::uint32_t>(picture.width), 4);
  store(36, static_cast<std::uint32_t>(picture.height), 4);
  store(64, static_cast<std::uint32_t>(settings.quality), 2);
  if (settings.isDifferential) store(66, blockSide, 2);
  if (!differential) return;
  store(84, differential->blockCount, 4);
  store(88, differential->listSize, 4);
}

// Two by two for each block, in rows.
std::vector<std::uint8_t> MeansOf(const CLayeredPicture& picture) {
  const std::size_t across = 2 * Across(picture), down = 2 * Down(picture);
  std::vector<std::uint8_t> means(across * down);
  std::vector<std::uint32_t> sums;
  for (std::size_t row = 0; row < down; ++row) {
    sums.assign(across, 0);
    for (std::size_t y = 8 * row; y < 8 * row + 8; ++y) {
      const std::uint8_t* samples =
          picture.planes[0] + static_cast<std::ptrdiff_t>(y) * picture.strides[0];
      for (std::size_t x = 0; x < 8 * across; ++x)
        sums[x / 8] += samples[x];
    }
    for (std::size_t i = 0; i < across; ++i)
      means[row * across + i] = static_cast<std::uint8_t>(sums[i] / 64);
  }
  return means;
}

std::vector<std::uint32_t> ChangedBlocks(const std::vector<std::uint8_t>& before,
                                         const std::vector<std::uint8_t>& now, std::size_t across,
                                         std::size_t down, int threshold) {
  std::vector<bool> isSent(across * down);
  for (std::size_t row = 0; row < down; ++row)
    for (std::size_t column = 0; column < across; ++column) {
      int difference = 0;
      for (const std::size_t at :
           {4 * row * across + 2 * column, (4 * row + 2) * across + 2 * column})
        for (const std::size_t i : {at, at + 1})
          difference += std::abs(before[i] - now[i]);
      if (difference <= threshold) continue;
      const std::size_t block = row * across + column;
      isSent[block] = true;
      if (column > 0) isSent[block - 1] = true;
      if (column + 1 < across) isSent[block + 1] = true;
      if (row > 0) isSent[block - across] = true;
      if (row + 1 < down) isSent[block + across] = true;
    }
  std::vector<std::uint32_t> blocks;
  for (std::uint32_t block = 0; block < isSent.size(); ++block)
    if (isSent[block]) blocks.push_back(block);
  return blocks;
}

}  // namespace

CLayeredPlanes::CLayeredPlanes(const std::uint8_t* uyvy, std::ptrdiff_t stride, int pictureWidth,
                               int pictureHeight)
    : width(pictureWidth & ~1), height(pictureHeight & ~1) {
  const auto pairs = static_cast<std::size_t>(width / 2);
  for (int y = 0; y < height; y += 2) {
    const std::uint8_t* upper = uyvy + y * stride;
    const std::uint8_t* lower = upper + stride;
    for (const std::uint8_t* row : {upper, lower})
      for (std::size_t i = 0; i < pairs; ++i)
        planes[0].insert(planes[0].end(), {row[4 * i + 1], row[4 * i + 3]});
    for (std::size_t i = 0; i < pairs; ++i)
      for (const std::size_t plane : {1, 2}) {
        const std::size_t at = 4 * i + 2 * (plane - 1);
        planes[plane].push_back(static_cast<std::uint8_t>((upper[at] + lower[at] + 1) >> 1));
      }
  }
}

CLayeredPicture CLayeredPlanes::Picture() const {
  return {width,
          height,
          {planes[0].data(), planes[1].data(), planes[2].data()},
          {width, width / 2, width / 2}};
}

CLayeredEncoder::CLayeredEncoder(const CLayeredSettings& encoderSettings)
    : settings(encoderSettings),
      tables(MakeLayeredTables(encoderSettings.tableFamily, encoderSettings.quality)) {}

LayeredMacroblock CLayeredEncoder::Transform(const CLayeredPicture& picture,
                                             std::uint32_t block) const {
  const auto column = static_cast<std::ptrdiff_t>(block % Across(picture));
  const auto row = static_cast<std::ptrdiff_t>(block / Across(picture));
  const auto at = [&](std::size_t plane, std::ptrdiff_t x, std::ptrdiff_t y) {
    return picture.planes[plane] + y * picture.strides[plane] + x;
  };
  LayeredMacroblock macroblock;
  for (std::size_t i = 0; i < 4; ++i) {
    const auto right = static_cast<std::ptrdiff_t>(8 * (i % 2));
    const auto below = static_cast<std::ptrdiff_t>(8 * (i / 2));
    macroblock[i] = TransformLayeredBlock(at(0, 16 * column + right, 16 * row + below),
                                          picture.strides[0], tables.luma);
  }
  for (std::size_t plane = 1; plane < 3; ++plane)
    macroblock[3 + plane] = TransformLayeredBlock(at(plane, 8 * column, 8 * row),
                                                  picture.strides[plane], tables.chroma);
  return macroblock;
}

LayeredBytes CLayeredEncoder::EncodeKey(const CLayeredPicture& picture) {
  std::vector<LayeredMacroblock> macroblocks(std::size_t{Across(picture)} * Down(picture));
  for (std::uint32_t block = 0; block < macroblocks.size(); ++block)
    macroblocks[block] = Transform(picture, block);
  LayeredBytes frame(headerSize);
  // In differential frames the list takes any number of bytes, so layers are packed there.
  AppendLayeredBody(frame, macroblocks, static_cast<std::uint32_t>(picture.width),
                    static_cast<std::uint32_t>(picture.height), !settings.isDifferential, settings);
  StoreHeader(frame, picture, settings, nullptr);
  return frame;
}

std::optional<LayeredBytes> CLayeredEncoder::EncodeBlocks(const CLayeredPicture& picture,
                                                          std::span<const std::uint32_t> blocks) {
  const std::optional<LayeredBytes> list = PackLayeredList(blocks, settings.listBits);
  if (!list) return std::nullopt;
  std::vector<LayeredMacroblock> strip;
  for (const std::uint32_t block : blocks)
    strip.push_back(Transform(picture, block));
  LayeredBytes frame(headerSize + list->size());
  std::copy(list->begin(), list->end(), frame.begin() + headerSize);
  const auto count = static_cast<std::uint32_t>(blocks.size());
  AppendLayeredBody(frame, strip, blockSide * count, blockSide, false, settings);
  const CDifferentialFields fields{count, static_cast<std::uint32_t>(list->size())};
  StoreHeader(frame, picture, settings, &fields);
  return frame;
}

LayeredBytes CLayeredEncoder::Encode(const CLayeredPicture& picture, bool isKey) {
  if (!settings.isDifferential) return EncodeKey(picture);
  std::vector<std::uint8_t> means = MeansOf(picture);
  if (!isKey && !keyMeans.empty() && picture.width == width && picture.height == height &&
      framesSinceKey + 1 < settings.keyInterval) {
    const std::vector<std::uint32_t> blocks =
        ChangedBlocks(keyMeans, means, Across(picture), Down(picture), settings.threshold);
    const bool isOverflow = blocks.size() > means.size() / 4 * 40 / 100;
    if (!settings.hasOverflowKeys || !isOverflow)
      if (std::optional<LayeredBytes> frame = EncodeBlocks(picture, blocks)) {
        ++framesSinceKey;
        return *std::move(frame);
      }
  }
  width = picture.width;
  height = picture.height;
  framesSinceKey = 0;
  keyMeans = std::move(means);
  return EncodeKey(picture);
}

std::optional<LayeredBytes> PackLayeredList(std::span<const std::uint32_t> blocks, unsigned bits) {
  LayeredBytes runs, offsets;
  const std::uint64_t step = std::uint64_t{1} << bits;
  std::uint64_t base = 0;
  std::uint64_t held = 0;
  unsigned heldBits = 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (blocks[i] >= base + step) {
      const std::uint64_t steps = (blocks[i] - base) / step;
      if (i > UINT16_MAX || steps > UINT16_MAX) return std::nullopt;
      base += steps * step;
      AppendNumber(runs, static_cast<std::uint32_t>(i), 2);
      AppendNumber(runs, static_cast<std::uint32_t>(steps), 2);
    }
    held |= (blocks[i] - base) << heldBits;
    for (heldBits += bits; heldBits >= 8; heldBits -= 8, held >>= 8)
      offsets.push_back(static_cast<std::uint8_t>(held));
  }
  if (heldBits > 0) offsets.push_back(static_cast<std::uint8_t>(held));
  if (!blocks.empty()) offsets.resize((offsets.size() + 7) / 4 * 4);
  LayeredBytes list;
  AppendNumber(list, static_cast<std::uint32_t>(blocks.size()), 4);
  AppendNumber(list, static_cast<std::uint32_t>(runs.size() / 4), 4);
  AppendNumber(list, bits, 4);
  list.insert(list.end(), runs.begin(), runs.end());
  list.insert(list.end(), offsets.begin(), offsets.end());
  return list;
}
