#include "client/layer_records.h"

#include "client/frame.h"
#include "client/frame_header.h"

#include <algorithm>

namespace {

constexpr std::size_t totalSizeAt = 4;
// In the inner header, of the last stream of layer 0 and those of the others; 0 if there is none.
constexpr std::size_t streamsAt = 24;

}  // namespace

std::array<CLayerSize, layerCount> LayerSizes(std::span<const std::uint8_t> frame) {
  const ztlib_blob blob{frame.data(), frame.size()};
  if (ztlib_getLayerCount(&blob) == 0) throw ztlib::Error("no layered frame");
  constexpr std::uint32_t untold = UINT32_MAX;
  std::array<std::uint32_t, layerCount> bytes{untold};
  ztlib_getLayerSizes(&blob, bytes.data());
  if (bytes[0] == untold) throw ztlib::Error("the frame is too short for its headers");
  const std::size_t inner = headerSize + ReadFrameHeader(frame).listSize;
  std::array<CLayerSize, layerCount> sizes;
  for (std::size_t i = 0; i < layerCount; ++i) {
    const auto stream = frame.subspan(inner + streamsAt + 4 * i).first(4);
    sizes[i] = {bytes[i], ztlib::LittleEndian(stream) != 0};
  }
  return sizes;
}

std::vector<std::uint8_t> JoinWholeFrame(std::span<const LayerRecord> records) {
  std::vector<std::uint8_t> frame =
      ztlib::JoinLayers(records.first(std::min(records.size(), layerCount)));
  if (frame.size() < headerSize) throw ztlib::Error("no layer of a layered frame");
  // The frame says what size it had with all its layers; a joined one has room behind them.
  const std::uint64_t before = ztlib::LittleEndian(std::span(frame).subspan(totalSizeAt, 4));
  if (before >= headerSize && frame.size() > before) frame.resize(static_cast<std::size_t>(before));
  for (std::size_t i = 0; i < 4; ++i)
    frame[totalSizeAt + i] = static_cast<std::uint8_t>(frame.size() >> (8 * i));
  return frame;
}
