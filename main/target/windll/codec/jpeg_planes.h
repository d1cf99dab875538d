#pragma once

#include "main/target/windll/codec/jpeg_io.h"

#include <array>
#include <cstdint>
#include <vector>

namespace ztlib {

// Reads the components of a YCbCr picture in libjpeg's raw form, which leaves out its scalar copy
// of pixels. Made for the samplings of nearly all streams: full luma and chroma that is full,
// halved across, or halved both ways.
class JpegPlanes {
 public:
  // For an object whose output dimensions are calculated.
  [[nodiscard]] static bool Supports(const jpeg_decompress_struct& object);

  // For an object that has been started with raw output.
  void Start(const jpeg_decompress_struct& object);

  // The samples behind one row of the picture: its luma, and the chroma row that it lies in with
  // that row's neighbour on its side. Chroma rows continue for one byte at both ends, as if their
  // outer samples were repeated. At the edges of the picture `far` is `near`.
  struct Row {
    const std::uint8_t* y;
    std::array<const std::uint8_t*, 2> near;
    std::array<const std::uint8_t*, 2> far;
  };
  // `y` never goes back. Valid until the next call.
  [[nodiscard]] Row ReadRow(jpeg_decompress_struct& object, std::uint32_t y);
  // Reads what is left of the picture.
  void ReadRest(jpeg_decompress_struct& object);

  [[nodiscard]] bool IsHalvedAcross() const { return halvedAcross; }
  [[nodiscard]] bool IsHalvedDown() const { return halvedDown; }

 private:
  static constexpr int componentCount = 3;
  static constexpr std::uint32_t maxGroupRows = 4 * DCTSIZE;
  // A group is what libjpeg gives at once. Two are kept, as chroma needs rows of both where they
  // meet.
  static constexpr std::uint32_t keptGroups = 2;

  struct Plane {
    std::uint32_t groupRows = 0;
    std::uint32_t width = 0;  // in samples of the picture
    std::uint32_t height = 0;
    std::array<std::array<std::uint8_t*, maxGroupRows>, keptGroups> rows{};

    [[nodiscard]] const std::uint8_t* Row(std::uint32_t y) const {
      return rows[y / groupRows % keptGroups][y % groupRows];
    }
  };

  void ReadGroup(jpeg_decompress_struct& object);

  std::array<Plane, componentCount> planes{};
  std::vector<std::uint8_t> memory;
  std::uint32_t groupsRead = 0;
  bool halvedAcross = false;
  bool halvedDown = false;
};

}  // namespace ztlib
