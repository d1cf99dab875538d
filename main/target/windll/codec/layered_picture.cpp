#include "main/target/windll/codec/layered_picture.h"

#include "main/lib/base/debug.h"
#include "main/target/windll/image/ztimage.h"
#include "main/target/windll/image_convert/image_convert.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ztlib {

namespace {

// Enough for the rows of any common picture. What a giant needed is given back.
constexpr std::size_t maxKeptSize = 4 * 1024 * 1024;
constexpr std::size_t macroblockSide = 16;
constexpr std::size_t blockSide = 8;

bool IsFormat(PixelFormat format) {
  return format == PixelFormat::RGB || format == PixelFormat::YUV || format == PixelFormat::YUYV ||
         format == PixelFormat::UYVY;
}
bool IsScale(std::size_t scale) {
  return scale == 1 || scale == 2 || scale == 4 || scale == 8;
}

template <class T>
void Grow(std::vector<T>& buffer, std::size_t size) {
  buffer.resize(std::max(buffer.size(), size));
}

// Rows that follow each other.
template <class Pixel>
TCImageView<Pixel> ViewOf(std::vector<Pixel>& pixels, std::int32_t dx, std::int32_t dy) {
  TCImageView<Pixel> view;
  view.data = pixels.data();
  view.scanline = view.dx = dx;
  view.dy = dy;
  return view;
}

std::int16_t Dequantised(std::int16_t coefficient, std::int32_t factor) {
  return static_cast<std::int16_t>((coefficient * factor + 32) >> 6);
}

}  // namespace

void LayeredPicture::Refuse() const {
  ZT_THROW(CException, "Invalid range", "Decode", source, 45);
}

void LayeredPicture::Open(Bytes frame, const FrameHeader& frameHeader, std::int32_t newScale,
                          PixelFormat newFormat) {
  const auto picture = CodedPictureOf(frame, frameHeader);
  if (!picture) Refuse();
  coded = *picture;
  header = LayeredHeader::Read(coded.first<LayeredHeader::size>());
  scale = static_cast<std::size_t>(newScale);
  format = newFormat;
  if (!IsTableFamily(header.tableFamily) || !IsFormat(format) || !IsScale(scale)) return;

  if (header.groupSize == 0) Refuse();
  // Every macroblock takes a byte for each of its luma blocks.
  const std::uint64_t macroblocks =
      std::uint64_t{header.width / macroblockSide} * (header.height / macroblockSide);
  if (lumaBlocks * macroblocks > header.baseBytes[0]) Refuse();
  CheckModel(0);
  for (std::size_t plane = 0; plane < LayeredHeader::planes; ++plane)
    CheckStream(header.baseStream[plane], header.baseBytes[plane]);
  for (std::size_t layer = 1; layer < LayeredHeader::layers; ++layer) {
    if (!UsesLayer(layer)) continue;
    CheckModel(layer);
    CheckStream(header.layerStream[layer - 1], header.layerBytes[layer - 1]);
  }
}

// A block at 1 / scale has 8 / scale samples across, and as many coefficients.
bool LayeredPicture::UsesLayer(std::size_t layer) const {
  return header.layerStream[layer - 1] != 0 && scale << layer <= 8;
}

LayeredPicture::Bytes LayeredPicture::CodedAt(std::uint32_t offset) const {
  return coded.subspan(std::min<std::size_t>(offset, coded.size()));
}

// Every decoded byte takes a bit at least.
void LayeredPicture::CheckStream(std::uint32_t offset, std::uint32_t count) const {
  if (count > 8 * std::uint64_t{CodedAt(offset).size()}) Refuse();
}

void LayeredPicture::CheckModel(std::size_t layer) const {
  if (CodedAt(header.model[layer]).size() < LayeredCode::modelHeadSize) Refuse();
}

void LayeredPicture::Draw(CZTImage& out) {
  if (!IsTableFamily(header.tableFamily)) return;
  if (!IsFormat(format)) ZT_THROW(CException, "Invalid pixelformat", "Process", source, 92);
  if (!IsScale(scale)) return;

  const std::size_t side = macroblockSide / scale;
  const std::size_t across = header.width / macroblockSide;
  // Macroblocks that are not wholly in the picture are read where others follow, but never drawn.
  const std::size_t drawn = std::min(across, static_cast<std::size_t>(out.GetDxInPixels()) / side);
  const std::size_t rows = std::min<std::size_t>(
      header.height / macroblockSide, static_cast<std::size_t>(out.GetDyInPixels()) / side);
  if (drawn == 0 || rows == 0) return;

  const struct Trimming {
    LayeredPicture& picture;
    ~Trimming() { picture.TrimBuffers(); }
  } trimming{*this};
  OpenStreams();
  MakePlaces();
  const std::size_t group = std::min<std::size_t>(header.groupSize, across);
  const std::size_t groupDrawn = std::min(group, drawn);
  Grow(coefficients, groupDrawn * macroblockSize);
  Grow(detailed, groupDrawn * blocksPerMacroblock);
  if (scale == 1) {
    Grow(tiles, drawn);
  } else {
    planeDistance = drawn * side;
    for (auto& plane : planes)
      Grow(plane, planeDistance * side);
    if (format != PixelFormat::YUV) Grow(pixels, planeDistance * side);
  }

  const auto store = format == PixelFormat::RGB    ? &LayeredPicture::StoreRow<RgbImageView>
                     : format == PixelFormat::YUV  ? &LayeredPicture::StoreRow<YuvImageView>
                     : format == PixelFormat::YUYV ? &LayeredPicture::StoreRow<YuyvImageView>
                                                   : &LayeredPicture::StoreRow<UyvyImageView>;
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t x = 0; x < across; x += group) {
      const std::size_t count = std::min(group, across - x);
      const std::size_t wanted = x < drawn ? std::min(count, drawn - x) : 0;
      ReadGroup(count, wanted);
      for (std::size_t i = 0; i < wanted; ++i)
        DrawMacroblock(&coefficients[i * macroblockSize], &detailed[i * blocksPerMacroblock],
                       x + i);
    }
    (this->*store)(out, row, drawn);
  }
}

void LayeredPicture::TrimBuffers() {
  const auto trim = [](auto&... buffers) {
    const std::size_t kept = (... + (buffers.capacity() * sizeof(buffers[0])));
    if (kept > maxKeptSize) (..., std::exchange(buffers, {}));
  };
  trim(coefficients, detailed, tiles, planes[0], planes[1], planes[2], pixels);
}

void LayeredPicture::OpenStreams() {
  codes[0].Build(LayeredCode::UnpackModel(CodedAt(header.model[0])));
  for (std::size_t plane = 0; plane < LayeredHeader::planes; ++plane)
    base[plane].Open(codes[0], CodedAt(header.baseStream[plane]), header.baseBytes[plane]);
  for (std::size_t layer = 1; layer < LayeredHeader::layers; ++layer) {
    LayeredStream& stream = shell[layer - 1];
    stream.Close();
    if (!UsesLayer(layer)) continue;
    codes[layer].Build(LayeredCode::UnpackModel(CodedAt(header.model[layer])));
    stream.Open(codes[layer], CodedAt(header.layerStream[layer - 1]), header.layerBytes[layer - 1]);
  }
  std::ranges::fill(predictors, std::int16_t{0});
}

void LayeredPicture::MakePlaces() {
  const LayeredTables tables = MakeLayeredTables(header.tableFamily, header.quality);
  for (std::size_t layer = 0; layer < LayeredHeader::layers; ++layer) {
    places[layer].clear();
    for (std::size_t block = 0; block < blocksPerMacroblock; ++block) {
      const auto& table = block < lumaBlocks ? tables.luminance : tables.chrominance;
      for (std::size_t i = shellStarts[layer]; i < shellStarts[layer + 1]; ++i) {
        const std::size_t position = shellPositions[i];
        const std::size_t at =
            block * blockSize + position % blockSide * blockSide + position / blockSide;
        places[layer].push_back(
            {static_cast<std::uint16_t>(at), static_cast<std::uint16_t>(table[position])});
      }
    }
  }
}

// Reads the coefficients of `count` macroblocks and keeps those of the first `wanted`.
void LayeredPicture::ReadGroup(std::size_t count, std::size_t wanted) {
  std::fill_n(detailed.begin(), wanted * blocksPerMacroblock, std::uint8_t{0});
  ReadBase(count, wanted);
  ReadShell<1>(count, wanted);
  ReadShell<2>(count, wanted);
  ReadShell<3>(count, wanted);
}

void LayeredPicture::ReadBase(std::size_t count, std::size_t wanted) {
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t block = 0; block < blocksPerMacroblock; ++block) {
      const std::size_t plane = block < lumaBlocks ? 0 : block - lumaBlocks + 1;
      ReadBaseCoefficient(base[plane], predictors[plane]);
      const Place place = places[0][block];
      if (i < wanted)
        coefficients[i * macroblockSize + place.at] = Dequantised(predictors[plane], place.factor);
    }
}

template <std::size_t layer>
void LayeredPicture::ReadShell(std::size_t count, std::size_t wanted) {
  constexpr std::size_t perMacroblock =
      blocksPerMacroblock * (shellStarts[layer + 1] - shellStarts[layer]);
  const auto put = [kept = wanted * perMacroblock, places = places[layer].data(),
                    target = coefficients.data(),
                    marks = detailed.data()](std::size_t i, std::int16_t coefficient) {
    if (i >= kept) return;
    const std::size_t macroblock = i / perMacroblock;
    const Place place = places[i % perMacroblock];
    target[macroblock * macroblockSize + place.at] = Dequantised(coefficient, place.factor);
    marks[macroblock * blocksPerMacroblock + place.at / blockSize] = 1;
  };
  LayeredStream& in = shell[layer - 1];
  if constexpr (layer == LayeredHeader::layers - 1)
    ReadRunsAndCoefficients(in, count * perMacroblock, put);
  else
    ReadCoefficients(in, count * perMacroblock, put);
}

void LayeredPicture::DrawMacroblock(std::int16_t* blocks, const std::uint8_t* isDetailed,
                                    std::size_t x) {
  const std::size_t side = blockSide / scale;
  for (std::size_t block = 0; block < blocksPerMacroblock; ++block, blocks += blockSize) {
    if (scale == 1) {
      auto* const samples = reinterpret_cast<std::uint8_t*>(&tiles[x]);
      DrawBlock(samples + block * blockSize, blockSide, 1, blocks, isDetailed[block]);
    } else if (block < lumaBlocks) {
      DrawBlock(&planes[0][block / 2 * side * planeDistance + (2 * x + block % 2) * side],
                planeDistance, scale, blocks, isDetailed[block]);
    } else {
      DrawBlock(&planes[block - lumaBlocks + 1][2 * x * side], planeDistance, scale / 2, blocks,
                isDetailed[block]);
    }
  }
}

void LayeredPicture::DrawBlock(std::uint8_t* target, std::size_t distance, std::size_t square,
                               std::int16_t* block, bool isDetailed) const {
  if (isDetailed) {
    const auto draw = square == 1   ? kernels.drawSquares1
                      : square == 2 ? kernels.drawSquares2
                                    : kernels.drawSquares4;
    return draw(target, distance, block);
  }
  // The transform of the first coefficient alone is the same number everywhere, and so is its mean
  // but for the rounding toward zero.
  const int samples = static_cast<int>(square * square);
  const int mean = ((block[0] >> 3) * samples + samples / 2) / samples;
  const int value = std::clamp(mean + 128, 0, 255);
  const std::size_t side = blockSide / square;
  for (std::size_t row = 0; row < side; ++row)
    std::memset(target + row * distance, value, side);
}

template <class View>
void LayeredPicture::StoreRow(const CZTImage& out, std::size_t row, std::size_t drawn) {
  const auto side = static_cast<std::int32_t>(macroblockSide / scale);
  const auto count = static_cast<std::int32_t>(drawn);
  const std::int32_t width = count * side;
  auto target =
      View::MapOf(out.GetView<typename View::Pixel>(),
                  {0, static_cast<std::int32_t>(row) * side, width / View::Traits::sampleDx, side});
  constexpr bool isYuv = View::Traits::format == PixelFormat::YUV;
  if (scale == 1) {
    const Yuv420ImageView source = ViewOf(tiles, count, 1);
    if constexpr (isYuv)
      ConvertTilesAlone(target, source);
    else
      Convert(target, source);
    return;
  }
  YuvImageView yuv = ViewOf(pixels, width, side);
  if constexpr (isYuv) yuv = target;
  for (std::int32_t y = 0; y < side; ++y) {
    const std::size_t at = static_cast<std::size_t>(y) * planeDistance;
    kernels.joinYuv(yuv.RowBytes(y), &planes[0][at], &planes[1][at], &planes[2][at], planeDistance);
  }
  if constexpr (!isYuv) Convert(target, yuv);
}

}  // namespace ztlib
