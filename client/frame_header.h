#pragma once

#include <cstdint>
#include <span>
#include <string>

// What a coded frame tells about itself.
struct CFrameHeader {
  std::uint32_t kind = 0;
  std::uint32_t totalSize = 0;
  std::int32_t videoFormat = 0;
  std::int32_t frameType = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::uint32_t payloadSize = 0;

  [[nodiscard]] std::string FormatName() const;
  [[nodiscard]] std::string KindName() const;
  [[nodiscard]] std::string TypeName() const;
};

// No frame is shorter than the header of the oldest ones.
inline constexpr std::uint32_t minFrameSize = 64;

// Throws CLibraryError if the bytes are too few for a header.
[[nodiscard]] CFrameHeader ReadFrameHeader(std::span<const std::uint8_t> frame);

// The two fields that lead through a file, from the first eight bytes of a frame.
struct CFrameStart {
  std::uint32_t kind = 0;
  std::uint32_t totalSize = 0;
};
[[nodiscard]] CFrameStart ReadFrameStart(std::span<const std::uint8_t, 8> bytes);
[[nodiscard]] bool IsVideoFormat(std::int32_t videoFormat);
[[nodiscard]] bool IsFrameKind(std::uint32_t kind);
