#pragma once

#include <cstdint>
#include <span>
#include <string>

enum EFrameType : std::int32_t {
  frameTypeKey = 0,
  frameTypeUntold = 1,  // as all of layered video, to be taken as plain
  frameTypePlain = 3,
  frameTypeDifference = 4,
  frameTypeReference = 5,
};

// What a coded frame tells about itself.
struct CFrameHeader {
  std::uint32_t kind = 0;
  std::uint32_t totalSize = 0;
  std::int32_t videoFormat = 0;
  std::int32_t frameType = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::uint32_t payloadSize = 0;
  // Of differential video, as the frame says: nothing holds it to the truth.
  std::uint32_t blockCount = 0, listSize = 0, stripSize = 0;

  // Whether it needs frames before it.
  [[nodiscard]] bool IsDifferential() const;
  // One layer of a layered picture, in a file without the others; it has no size.
  [[nodiscard]] bool IsLoneLayer() const;
  // Why no decoder takes it, empty if one does as far as the header tells.
  [[nodiscard]] std::string Fault() const;
  [[nodiscard]] std::string FormatName() const;
  [[nodiscard]] std::string KindName() const;
  [[nodiscard]] std::string TypeName() const;
};

// No frame is shorter than the header of the oldest ones.
inline constexpr std::uint32_t minFrameSize = 64;
inline constexpr std::uint32_t headerSize = 112;

// Throws CLibraryError if the bytes are too few for a header.
[[nodiscard]] CFrameHeader ReadFrameHeader(std::span<const std::uint8_t> frame);

// The list of blocks and the strip (a JPEG file) of a differential frame, cut where the frame ends.
struct CDifferentialParts {
  std::span<const std::uint8_t> list, strip;
};
[[nodiscard]] CDifferentialParts PartsOf(std::span<const std::uint8_t> frame);

// How all numbers are stored.
[[nodiscard]] constexpr std::uint32_t LittleEndian(std::span<const std::uint8_t, 4> bytes) {
  return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
         std::uint32_t{bytes[3]} << 24;
}

// The two fields that lead through a file, from the first eight bytes of a frame.
struct CFrameStart {
  std::uint32_t kind = 0;
  std::uint32_t totalSize = 0;
};
[[nodiscard]] CFrameStart ReadFrameStart(std::span<const std::uint8_t, 8> bytes);
[[nodiscard]] bool IsVideoFormat(std::int32_t videoFormat);
[[nodiscard]] bool IsFrameKind(std::uint32_t kind);
