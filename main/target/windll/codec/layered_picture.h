#pragma once

#include "main/lib/base/pixel_format.h"
#include "main/target/windll/codec/layered_code.h"
#include "main/target/windll/codec/layered_header.h"
#include "main/target/windll/codec/layered_kernels.h"
#include "main/target/windll/codec/layered_shells.h"
#include "main/target/windll/codec/layered_tables.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ztlib {

class CZTImage;

// Decodes the coded pictures of layered video: macroblocks of 16 by 16 pixels with four blocks of
// luma and one each of U and V, in four layers of more and more coefficients. A picture at half,
// quarter or eighth size needs one layer less each. Nothing in a picture is trusted: work and
// memory go by the bytes that are there and by the size of the target. Buffers of a usual
// size are kept for the next picture. One thread at a time.
class LayeredPicture {
 public:
  // `source` is where exceptions come from.
  explicit LayeredPicture(const char* source) : source(source) {}

  // Takes the picture of a frame, whose header is given, to draw it at 1 / scale. The frame's bytes
  // must stay until Draw. Throws "Invalid range" if frame and header contradict each other.
  void Open(std::span<const std::uint8_t> frame, const FrameHeader& frameHeader, std::int32_t scale,
            PixelFormat format);

  // Draws it into `out`, which has format and size; what no whole macroblock covers stays as it is.
  // Nothing is drawn by unknown tables or at a scale other than 1, 2, 4 and 8. Throws
  // "Invalid pixelformat" for formats other than RGB, YUV, YUYV and UYVY.
  void Draw(CZTImage& out);

 private:
  using Bytes = std::span<const std::uint8_t>;
  static constexpr std::size_t blocksPerMacroblock = 6;
  static constexpr std::size_t lumaBlocks = 4;
  static constexpr std::size_t blockSize = 64;
  static constexpr std::size_t macroblockSize = blocksPerMacroblock * blockSize;

  // Where a coefficient of a macroblock goes and what it is multiplied by.
  struct Place {
    std::uint16_t at;
    std::uint16_t factor;
  };
  using Tile = TTYUV420Block<unsigned char>;
  static_assert(sizeof(Tile) == macroblockSize);

  [[nodiscard]] bool UsesLayer(std::size_t layer) const;
  [[nodiscard]] Bytes CodedAt(std::uint32_t offset) const;
  void CheckStream(std::uint32_t offset, std::uint32_t count) const;
  void CheckModel(std::size_t layer) const;
  [[noreturn]] void Refuse() const;

  void OpenStreams();
  void TrimBuffers();
  void MakePlaces();
  void ReadGroup(std::size_t count, std::size_t wanted);
  void ReadBase(std::size_t count, std::size_t wanted);
  template <std::size_t layer>
  void ReadShell(std::size_t count, std::size_t wanted);
  void DrawMacroblock(std::int16_t* blocks, const std::uint8_t* isDetailed, std::size_t x);
  void DrawBlock(std::uint8_t* target, std::size_t distance, std::size_t square,
                 std::int16_t* block, bool isDetailed) const;
  template <class View>
  void StoreRow(const CZTImage& out, std::size_t row, std::size_t drawn);

  const LayeredKernels& kernels = KernelsFor<LayeredKernels>();
  const char* source;
  Bytes coded;
  LayeredHeader header;
  std::size_t scale = 1;
  PixelFormat format = PixelFormat::BOOL8;

  LayeredCode codes[LayeredHeader::layers];
  LayeredStream base[LayeredHeader::planes];
  LayeredStream shell[LayeredHeader::layers - 1];
  std::int16_t predictors[LayeredHeader::planes] = {};
  std::vector<Place> places[LayeredHeader::layers];

  // Of one group. Blocks are stored column by column; between groups all but the first coefficient
  // of each is zero.
  std::vector<std::int16_t> coefficients;
  // Blocks in which more than the first coefficient is there.
  std::vector<std::uint8_t> detailed;

  // A row of macroblocks: tiles at full size, otherwise planes of as many samples each, and the
  // pixels of them on the way to another format.
  std::vector<Tile> tiles;
  std::vector<std::uint8_t> planes[LayeredHeader::planes];
  std::size_t planeDistance = 0;
  std::vector<TTYUV<unsigned char>> pixels;
};

}  // namespace ztlib
