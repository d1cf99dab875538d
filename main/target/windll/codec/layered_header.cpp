#include "main/target/windll/codec/layered_header.h"

#include "main/lib/base/byte_io.h"

namespace ztlib {

LayeredHeader LayeredHeader::Read(std::span<const std::uint8_t, size> bytes) {
  LayeredHeader header;
  const auto read = [&bytes]<std::size_t count>(std::size_t offset, std::uint32_t(&values)[count]) {
    for (std::size_t i = 0; i < count; ++i)
      values[i] = LoadLE<std::uint32_t>(&bytes[offset + 4 * i]);
  };
  read(16, header.baseStream);
  read(LayerStreamAt(1), header.layerStream);
  read(40, header.baseBytes);
  read(52, header.layerBytes);
  read(64, header.model);
  read(80, header.layerSize);
  header.groupSize = LoadLE<std::uint32_t>(&bytes[96]);
  header.width = LoadLE<std::uint32_t>(&bytes[100]);
  header.height = LoadLE<std::uint32_t>(&bytes[104]);
  header.tableFamily = LoadLE<std::int16_t>(&bytes[108]);
  header.quality = LoadLE<std::int16_t>(&bytes[110]);
  return header;
}

std::optional<std::span<const std::uint8_t>> CodedPictureOf(std::span<const std::uint8_t> frame,
                                                            const FrameHeader& header) {
  if (frame.size() < FrameHeader::size) return std::nullopt;
  const std::uint64_t at = std::uint64_t{FrameHeader::size} + LayeredListSize(header);
  if (at > frame.size() || frame.size() - at < LayeredHeader::size) return std::nullopt;
  return frame.subspan(at);
}

}  // namespace ztlib
