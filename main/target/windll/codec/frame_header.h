#pragma once

#include <cstdint>
#include <span>

namespace ztlib {

// The header in front of every coded frame, 112 bytes little-endian; docs/formats.md has the table
// of its bytes.

enum VideoFormat : std::int16_t {
  videoFormatLayered = 0,
  videoFormatMJPEG = 3,
  videoFormatLayeredDiff = 4,
  videoFormatMJPEGDIFF = 7
};

// Of differential video. All but key frames are made against the reference, which only key and
// reference frames renew.
enum FrameType : std::uint32_t {
  frameTypeKey = 0,
  frameTypePlain = 3,       // changed blocks as they are
  frameTypeDifference = 4,  // changed blocks as half their difference to the reference
  frameTypeReference = 5    // changed blocks, which also become the reference
};

struct FrameHeader {
  static constexpr std::uint32_t size = 112;
  // Enough of a frame to know its video format.
  static constexpr std::uint32_t formatEnd = 26;
  // Headers of earlier encoders; what they lack reads as 0.
  static constexpr std::uint32_t minSize = 64;

  static constexpr std::uint32_t kindAdded = 2;
  static constexpr std::uint32_t kindEncoded = 3;

  // For what completes headers of early encoders in place.
  static constexpr std::uint32_t frameTypeOffset = 72;

  std::uint32_t kind = 0;
  std::uint32_t totalSize = 0;
  std::uint32_t headerSize = 0;
  std::uint64_t timestamp = 0;
  std::int16_t format = 0;
  std::int16_t differential = 0;
  std::int16_t refresh = 0;
  std::uint16_t addedHeaderMark = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t quality = 0;
  std::uint16_t blockSize = 0;
  std::uint32_t jpegOffset = 0;
  std::uint32_t frameType = 0;
  std::uint32_t blockCount = 0;
  std::uint32_t listSize = 0;
  std::uint32_t jpegSize = 0;

  // Fields behind the frame's end read as 0.
  [[nodiscard]] static FrameHeader Read(std::span<const std::uint8_t> frame);
  void Write(std::span<std::uint8_t, size> target) const;
};

// The video format of a frame of at least formatEnd bytes: all of the header that decides who
// decodes it.
[[nodiscard]] std::int16_t ReadVideoFormat(std::span<const std::uint8_t> frame);

// What clients learn about a frame without decoding it.
struct FrameInfo {
  FrameHeader header;
  std::int32_t frameType = 0;
  std::span<const std::uint8_t> payload = {};  // inside the frame; may be empty
};

// Reads a frame of at least FrameHeader::minSize bytes. A header size that cannot be true counts as
// minSize.
[[nodiscard]] FrameInfo ReadFrameInfo(std::span<const std::uint8_t> frame);

}  // namespace ztlib
