#include "main/target/windll/codec/layers.h"

#include "main/lib/base/byte_io.h"

#include <cstring>
#include <limits>

namespace ztlib {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t recordHeaderSize = 32;
constexpr std::uint32_t recordKind = 1;
// Both headers, which travel in the first layer's record.
constexpr std::uint32_t headersSize = FrameHeader::size + LayeredHeader::size;
// Room for the gaps between aligned layers, and then some: zeros at the end of a joined frame.
constexpr std::uint64_t joinedSlack = 128;
constexpr std::uint64_t layerAlignment = 8;

LayeredHeader ReadHeader(Bytes coded) {
  return LayeredHeader::Read(coded.first<LayeredHeader::size>());
}

bool HasLayer(Bytes coded, const LayeredHeader& header, std::size_t layer) {
  return std::uint64_t{header.model[layer]} + header.layerSize[layer] <= coded.size();
}

bool FitsSize(std::uint64_t size) {
  return size <= std::numeric_limits<std::uint32_t>::max();
}

// Layers from `count` on are not there.
void MarkMissing(std::uint8_t* layeredHeader, std::size_t count) {
  for (auto layer = static_cast<std::uint32_t>(count); layer < LayeredHeader::layers; ++layer)
    StoreLE(layeredHeader + LayeredHeader::LayerStreamAt(layer), std::uint32_t{0});
}

}  // namespace

std::optional<LayerSizes> ReadLayerSizes(Bytes frame) {
  const FrameHeader frameHeader = FrameHeader::Read(frame);
  const auto coded = CodedPictureOf(frame, frameHeader);
  if (!coded) return std::nullopt;
  const LayeredHeader header = ReadHeader(*coded);
  LayerSizes sizes;
  for (std::size_t layer = 0; layer < sizes.size(); ++layer) {
    const bool isMissing = layer > 0 && header.layerStream[layer - 1] == 0;
    if (!isMissing && !HasLayer(*coded, header, layer)) return std::nullopt;
    sizes[layer] = header.layerSize[layer];
  }
  const std::uint64_t first = std::uint64_t{sizes[0]} + LayeredListSize(frameHeader);
  if (!FitsSize(first)) return std::nullopt;
  sizes[0] = static_cast<std::uint32_t>(first);
  return sizes;
}

std::optional<LayerRecords> SplitLayers(Bytes frame) {
  const FrameHeader frameHeader = FrameHeader::Read(frame);
  const auto coded = CodedPictureOf(frame, frameHeader);
  if (!coded) return std::nullopt;
  const LayeredHeader header = ReadHeader(*coded);
  const Bytes headers = frame.first(frame.size() - coded->size() + LayeredHeader::size);
  LayerRecords records;
  for (std::uint32_t layer = 0; layer < records.size(); ++layer) {
    if (!HasLayer(*coded, header, layer)) return std::nullopt;
    const Bytes lead = layer == 0 ? headers : Bytes();
    const Bytes body = coded->subspan(header.model[layer], header.layerSize[layer]);
    const std::uint64_t size = recordHeaderSize + std::uint64_t{lead.size()} + body.size();
    if (!FitsSize(size)) return std::nullopt;
    records[layer].resize(size);
    ByteWriter out(records[layer]);
    out.Write(recordKind);
    out.Write(static_cast<std::uint32_t>(size));
    out.Write(std::uint64_t{0});
    out.Write(LayeredHeader::layers);
    out.Write(layer);
    out.Write(std::int32_t{frameHeader.format});
    out.Write(std::uint32_t{0});
    out.WriteBytes(lead.data(), lead.size());
    out.WriteBytes(body.data(), body.size());
  }
  return records;
}

std::optional<std::vector<std::uint8_t>> JoinLayers(std::span<const Bytes> records) {
  if (records.empty() || records.size() > LayeredHeader::layers) return std::nullopt;
  std::array<Bytes, LayeredHeader::layers> bodies;
  std::uint64_t size = joinedSlack;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::uint32_t smallest = recordHeaderSize + (i == 0 ? headersSize : 0);
    if (records[i].size() < smallest) return std::nullopt;
    const auto recordSize = LoadLE<std::uint32_t>(&records[i][4]);
    if (recordSize < smallest || recordSize > records[i].size()) return std::nullopt;
    bodies[i] = records[i].subspan(recordHeaderSize, recordSize - recordHeaderSize);
    size += bodies[i].size();
  }
  if (!FitsSize(size)) return std::nullopt;

  const auto format = LoadLE<std::int32_t>(&records[0][24]);
  if (format != videoFormatLayered && format != videoFormatLayeredDiff)
    return std::vector<std::uint8_t>();
  // The offsets in a frame of format 0 are those of aligned layers, in format 4 those of packed
  // ones.
  const bool isPacked = format == videoFormatLayeredDiff;
  std::uint64_t headerAt = FrameHeader::size;
  if (isPacked) {
    headerAt += FrameHeader::Read(bodies[0]).listSize;
    const std::uint64_t headersEnd = headerAt + LayeredHeader::size;
    if (headersEnd > bodies[0].size()) return std::nullopt;
    const std::uint64_t first = headersEnd + ReadHeader(bodies[0].subspan(headerAt)).layerSize[0];
    if (first > bodies[0].size()) return std::nullopt;
    bodies[0] = bodies[0].first(first);
  }
  std::vector<std::uint8_t> frame(size);
  std::uint64_t end = 0;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (!isPacked) end = (end + layerAlignment - 1) / layerAlignment * layerAlignment;
    if (!bodies[i].empty()) std::memcpy(&frame[end], bodies[i].data(), bodies[i].size());
    end += bodies[i].size();
  }
  MarkMissing(&frame[headerAt], records.size());
  return frame;
}

}  // namespace ztlib
