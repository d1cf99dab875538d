#pragma once

#include "main/target/windll/codec/jpeg_io.h"

#include <array>
#include <cstdint>
#include <vector>

namespace ztlib {

// What the components of a picture come from, one group of rows at a time.
class JpegGroupSource {
 public:
  // The rows of a component's group lie `distance` bytes apart and have room for whole units.
  struct Group {
    std::uint8_t* samples;
    std::size_t distance;
    std::uint32_t rows;
  };
  static constexpr int maxComponents = 3;
  using Groups = std::array<Group, maxComponents>;

  // Fails by an exception.
  virtual void ReadGroup(const Groups& groups) = 0;

 protected:
  ~JpegGroupSource() = default;
};

// Keeps the rows of components that are at hand, in memory that stays from picture to picture. Made
// for the samplings of nearly all streams: full luma and chroma that is full, halved across, or
// halved both ways.
class JpegPlanes {
 public:
  // How chroma that is halved across becomes wide again.
  enum class Widening : std::uint8_t { none, blended, repeated };

  // These are for objects whose output dimensions are calculated. `Supports` is about YCbCr
  // pictures; with `lumaOnly` about the first component of any picture.
  [[nodiscard]] static bool Supports(const jpeg_decompress_struct& object, bool lumaOnly);
  void Start(const jpeg_decompress_struct& object, bool lumaOnly);

  // The samples behind one row of the picture: its luma, and the chroma row that it lies in with
  // that row's neighbour on its side. Chroma rows continue for one byte at both ends, as if their
  // outer samples were repeated. At the edges of the picture `far` is `near`.
  struct Row {
    const std::uint8_t* y;
    std::array<const std::uint8_t*, 2> near;
    std::array<const std::uint8_t*, 2> far;
  };
  // `y` never goes back. Valid until the next call.
  [[nodiscard]] Row ReadRow(JpegGroupSource& source, std::uint32_t y);
  // Reads what is left of the picture.
  void ReadRest(JpegGroupSource& source);

  [[nodiscard]] Widening Across() const { return across; }
  [[nodiscard]] bool IsHalvedDown() const { return halvedDown; }

 private:
  static constexpr int maxComponents = JpegGroupSource::maxComponents;
  // A group is what a source gives at once. Two are kept, as chroma needs rows of both where they
  // meet; a strip of blocks, which may be very wide, has only one.
  static constexpr std::uint32_t keptGroups = 2;

  struct Plane {
    std::uint32_t groupRows = 0;
    std::uint32_t keptRows = 0;
    std::uint32_t width = 0;  // in samples of the picture
    std::uint32_t height = 0;
    std::size_t distance = 0;
    std::uint8_t* samples = nullptr;

    [[nodiscard]] std::uint8_t* Row(std::uint32_t y) const {
      return samples + y % keptRows * distance;
    }
  };

  void ReadGroup(JpegGroupSource& source);

  std::array<Plane, maxComponents> planes{};
  std::vector<std::uint8_t> memory;
  int planeCount = 0;
  std::uint32_t groupsRead = 0;
  Widening across = Widening::none;
  bool halvedDown = false;
};

}  // namespace ztlib
