#include "client/layered/layered_body.h"

#include <algorithm>

namespace {

constexpr std::size_t innerHeaderSize = 112;
constexpr std::uint32_t macroblockSide = 16;

// Offsets in the inner header.
constexpr std::size_t tableSetAt = 0, streamsAt = 16, streamBytesAt = 40, modelsAt = 64,
                      layerSizesAt = 80, groupSizeAt = 96, widthAt = 100, heightAt = 104,
                      tableFamilyAt = 108, qualityAt = 110;

}  // namespace

void AppendLayeredBody(LayeredBytes& frame, std::span<const LayeredMacroblock> macroblocks,
                       std::uint32_t width, std::uint32_t height, bool isAligned,
                       const CLayeredBodySettings& settings) {
  const std::size_t start = frame.size();
  frame.resize(start + innerHeaderSize);
  const auto store = [&](std::size_t at, std::uint32_t value) {
    StoreNumber(frame, start + at, value, 4);
  };
  const auto position = [&] { return static_cast<std::uint32_t>(frame.size() - start); };
  store(tableSetAt, settings.tableSet);
  store(groupSizeAt, settings.groupSize);
  store(widthAt, width);
  store(heightAt, height);
  StoreNumber(frame, start + tableFamilyAt, static_cast<std::uint32_t>(settings.tableFamily), 2);
  StoreNumber(frame, start + qualityAt, static_cast<std::uint32_t>(settings.quality), 2);

  CLayeredStreams coder(settings.codes);
  const std::size_t across = width / macroblockSide;
  for (std::size_t row = 0; row < height / macroblockSide; ++row)
    for (std::size_t column = 0; column < across; column += settings.groupSize)
      coder.AddGroup(macroblocks.subspan(
          row * across + column, std::min<std::size_t>(settings.groupSize, across - column)));

  for (std::size_t layer = 0; layer < 4; ++layer) {
    if (isAligned) frame.resize((frame.size() + 7) / 8 * 8);
    const std::uint32_t layerStart = position();
    store(modelsAt + 4 * layer, layerStart);
    if (layer > 0 && (settings.layers >> layer & 1) == 0) continue;
    const std::size_t first = layer == 0 ? 0 : CLayeredStreams::baseStreams - 1 + layer;
    const auto streams = std::span<const LayeredBytes>(coder.streams)
                             .subspan(first, layer == 0 ? CLayeredStreams::baseStreams : 1);
    const CLayeredModel model =
        CLayeredModel::Of(streams, settings.models, settings.hasEmptyModels);
    model.WriteTo(frame);
    for (std::size_t i = 0; i < streams.size(); ++i) {
      store(streamsAt + 4 * (first + i), position());
      store(streamBytesAt + 4 * (first + i), static_cast<std::uint32_t>(streams[i].size()));
      model.Encode(streams[i], frame);
    }
    store(layerSizesAt + 4 * layer, position() - layerStart);
  }
}
