#pragma once

#include "ztlib.hpp"

#include <cstdint>
#include <span>
#include <string>

// What a coded frame tells about itself, in words as well.
struct CFrameHeader : ztlib::CodedFrame {
  // Of differential video, as the frame says: nothing holds it to the truth.
  std::uint32_t blockCount = 0, listSize = 0, stripSize = 0;

  // Why no decoder takes it, empty if one does as far as the header tells.
  [[nodiscard]] std::string Fault() const;
  [[nodiscard]] std::string FormatName() const;
  [[nodiscard]] std::string OriginName() const;
  [[nodiscard]] std::string TypeName() const;
};

// No frame is shorter than the header of the oldest ones.
inline constexpr std::uint32_t minFrameSize = 64;
inline constexpr std::uint32_t headerSize = 112;

// Throws ztlib::Error if the bytes are too few for a header.
[[nodiscard]] CFrameHeader ReadFrameHeader(std::span<const std::uint8_t> frame);

// The list of blocks and the strip (a JPEG file) of a differential frame, cut where the frame ends.
struct CDifferentialParts {
  std::span<const std::uint8_t> list, strip;
};
[[nodiscard]] CDifferentialParts PartsOf(std::span<const std::uint8_t> frame);

// The two fields that lead through a file, from the first eight bytes of a frame.
struct CFrameStart {
  std::uint32_t origin = 0;
  std::uint32_t totalSize = 0;
};
[[nodiscard]] CFrameStart ReadFrameStart(std::span<const std::uint8_t, 8> bytes);
[[nodiscard]] bool IsVideoFormat(std::int32_t videoFormat);
[[nodiscard]] bool IsFrameOrigin(std::uint32_t origin);
