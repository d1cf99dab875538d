#include "client/layer_records.h"

#include "client/frame_header.h"
#include "client/library.h"

#include <algorithm>

namespace {

constexpr std::size_t totalSizeAt = 4;
// In the inner header, of the last stream of layer 0 and those of the others; 0 if there is none.
constexpr std::size_t streamsAt = 24;

void CheckLayered(std::span<const std::uint8_t> frame) {
  const ztlib_blob blob{frame.data(), frame.size()};
  if (ztlib_getLayerCount(&blob) == 0) throw CLibraryError("no layered frame");
}

}  // namespace

std::array<CLayerSize, layerCount> LayerSizes(std::span<const std::uint8_t> frame) {
  CheckLayered(frame);
  constexpr std::uint32_t untold = UINT32_MAX;
  std::array<std::uint32_t, layerCount> bytes{untold};
  const ztlib_blob blob{frame.data(), frame.size()};
  ztlib_getLayerSizes(&blob, bytes.data());
  if (bytes[0] == untold) throw CLibraryError("the frame is too short for its headers");
  const std::size_t inner = headerSize + ReadFrameHeader(frame).listSize;
  std::array<CLayerSize, layerCount> sizes;
  for (std::size_t i = 0; i < layerCount; ++i) {
    const auto stream = frame.subspan(inner + streamsAt + 4 * i).first<4>();
    sizes[i] = {bytes[i], LittleEndian(stream) != 0};
  }
  return sizes;
}

std::array<LayerRecord, layerCount> SplitLayers(std::span<const std::uint8_t> frame) {
  CheckLayered(frame);
  std::array<LayerRecord, layerCount> records;
  std::array<void*, layerCount> users;
  std::transform(records.begin(), records.end(), users.begin(),
                 [](LayerRecord& record) { return &record; });
  const ztlib_blob blob{frame.data(), frame.size()};
  ClearFailure();
  static_cast<void>(ztlib_decomposeToLayers(&blob, users.data(), StoreBytes));
  ThrowFailure();
  return records;
}

std::vector<std::uint8_t> JoinLayers(std::span<const LayerRecord> records) {
  std::array<ztlib_blob, layerCount> blobs{};
  std::array<const ztlib_blob*, layerCount> addresses{};
  const std::size_t count = std::min(records.size(), layerCount);
  for (std::size_t i = 0; i < count; ++i) {
    blobs[i] = {records[i].data(), records[i].size()};
    addresses[i] = &blobs[i];
  }
  std::vector<std::uint8_t> frame;
  ClearFailure();
  ztlib_composeFromLayers(&frame, StoreBytes, addresses.data(), static_cast<std::int32_t>(count));
  ThrowFailure();
  if (frame.size() < headerSize) throw CLibraryError("no layer of a layered frame");
  // The frame says what size it had with all its layers; a joined one has room behind them.
  const std::uint32_t before = LittleEndian(std::span(frame).subspan<totalSizeAt, 4>());
  if (before >= headerSize && frame.size() > before) frame.resize(before);
  for (std::size_t i = 0; i < 4; ++i)
    frame[totalSizeAt + i] = static_cast<std::uint8_t>(frame.size() >> (8 * i));
  return frame;
}
