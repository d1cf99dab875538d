#pragma once

#include "client/layered/layered_body.h"
#include "client/layered/layered_tables.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct CLayeredSettings : CLayeredBodySettings {
  bool isDifferential = false;
  // Of differential video:
  int keyInterval = 60;  // frames
  // A block is sent if the means of its four 8 by 8 luma squares are off the key frame's by more
  // than this in sum, or if that holds for a neighbour.
  int threshold = 10;
  unsigned listBits = 6;        // 0 to 31
  bool hasOverflowKeys = true;  // a key frame if more than 40 % of the blocks changed
};

// A picture with chroma at half its width and height, in full range around 128. Sizes that are no
// multiple of 16 leave the pixels at the right and at the bottom out.
struct CLayeredPicture {
  int width = 0, height = 0;
  std::array<const std::uint8_t*, 3> planes{};
  std::array<std::ptrdiff_t, 3> strides{};
};

// Planes of a packed picture (U, Y, V, Y for two pixels), chroma averaged over two rows.
class CLayeredPlanes {
 public:
  CLayeredPlanes(const std::uint8_t* uyvy, std::ptrdiff_t stride, int width, int height);
  [[nodiscard]] CLayeredPicture Picture() const;

 private:
  int width, height;
  std::array<std::vector<std::uint8_t>, 3> planes;
};

// Makes the frames of layered video, which the library only decodes: key frames, and in
// differential video between them the blocks that changed since the last key frame. Any number of
// layers may be left out and every code of the format can be called for, so that the frames serve
// to try decoders. For one thread at a time.
class CLayeredEncoder {
 public:
  explicit CLayeredEncoder(const CLayeredSettings& encoderSettings);

  // A picture of another size than the last one is a key frame.
  [[nodiscard]] LayeredBytes Encode(const CLayeredPicture& picture, bool isKey = false);
  // A differential frame with these blocks in ascending order, whatever changed in them. Nothing if
  // the list cannot hold them.
  [[nodiscard]] std::optional<LayeredBytes> EncodeBlocks(const CLayeredPicture& picture,
                                                         std::span<const std::uint32_t> blocks);

 private:
  [[nodiscard]] LayeredBytes EncodeKey(const CLayeredPicture& picture);
  [[nodiscard]] LayeredMacroblock Transform(const CLayeredPicture& picture,
                                            std::uint32_t block) const;

  CLayeredSettings settings;
  CLayeredTables tables;
  int width = 0, height = 0, framesSinceKey = 0;
  std::vector<std::uint8_t> keyMeans;  // of 8 by 8 luma squares of the last key frame
};

// The list of changed blocks. Nothing if an entry number or a distance does not fit into 16 bits.
[[nodiscard]] std::optional<LayeredBytes> PackLayeredList(std::span<const std::uint32_t> blocks,
                                                          unsigned bits);
