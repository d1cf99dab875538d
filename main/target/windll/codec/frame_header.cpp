#include "main/target/windll/codec/frame_header.h"

#include "main/lib/base/byte_io.h"

#include <algorithm>

namespace ztlib {

namespace {

constexpr std::size_t formatOffset = 24;
static_assert(formatOffset + sizeof(FrameHeader::format) == FrameHeader::formatEnd);

// Calls `field` with the offset and the member of every field of the wire layout.
template <class Header, class Field>
void ForEachField(Header& header, Field&& field) {
  field(0, header.kind);
  field(4, header.totalSize);
  field(8, header.headerSize);
  field(16, header.timestamp);
  field(formatOffset, header.format);
  field(26, header.differential);
  field(28, header.refresh);
  field(30, header.addedHeaderMark);
  field(32, header.width);
  field(36, header.height);
  field(64, header.quality);
  field(66, header.blockSize);
  field(68, header.jpegOffset);
  field(FrameHeader::frameTypeOffset, header.frameType);
  field(84, header.blockCount);
  field(88, header.listSize);
  field(92, header.jpegSize);
}

}  // namespace

FrameHeader FrameHeader::Read(std::span<const std::uint8_t> frame) {
  FrameHeader header;
  ForEachField(header, [&]<class T>(std::size_t offset, T& value) {
    if (offset + sizeof(T) <= frame.size()) value = LoadLE<T>(frame.data() + offset);
  });
  return header;
}

void FrameHeader::Write(std::span<std::uint8_t, size> target) const {
  std::ranges::fill(target, std::uint8_t{0});
  ForEachField(*this, [&](std::size_t offset, auto value) { StoreLE(&target[offset], value); });
}

std::int16_t ReadVideoFormat(std::span<const std::uint8_t> frame) {
  return LoadLE<std::int16_t>(&frame[formatOffset]);
}

FrameInfo ReadFrameInfo(std::span<const std::uint8_t> frame) {
  FrameInfo info{.header = FrameHeader::Read(frame)};
  const FrameHeader& header = info.header;
  info.frameType = header.differential;
  // Early encoders of differential video sent no type.
  if (header.format == videoFormatMJPEGDIFF && !(header.differential == 1 && header.frameType == 0))
    info.frameType = static_cast<std::int32_t>(header.frameType);
  const bool credible =
      header.headerSize >= FrameHeader::minSize && header.headerSize <= frame.size();
  info.payload = frame.subspan(credible ? header.headerSize : FrameHeader::minSize);
  return info;
}

}  // namespace ztlib
