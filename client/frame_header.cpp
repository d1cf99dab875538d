#include "client/frame_header.h"

#include "client/library.h"
#include "client/text.h"
#include "ztlib.h"

#include <algorithm>
#include <iterator>

namespace {

struct CName {
  std::int32_t value;
  const char* text;
};

constexpr CName formats[] = {{0, "layered"}, {3, "mjpeg"}, {4, "layereddiff"}, {7, "mjpegdiff"}};
// Who wrote the header: the layer splitter, the wrapping of a JPEG file, an encoder.
constexpr CName kinds[] = {{1, "layer"}, {2, "wrapped"}, {3, "encoder"}};
constexpr CName types[] = {
    {0, "key"}, {1, "diff"}, {3, "block"}, {4, "difference"}, {5, "reference"}};

template <std::size_t count>
const CName* Find(const CName (&names)[count], std::int64_t value) {
  const auto* found = std::find_if(std::begin(names), std::end(names),
                                   [&](const CName& name) { return name.value == value; });
  return found == std::end(names) ? nullptr : found;
}

template <std::size_t count>
std::string NameOf(const CName (&names)[count], std::int64_t value) {
  const CName* name = Find(names, value);
  return name ? name->text : Text("%lld", static_cast<long long>(value));
}

std::uint32_t LittleEndian(std::span<const std::uint8_t, 4> bytes) {
  return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
         std::uint32_t{bytes[3]} << 24;
}

}  // namespace

CFrameStart ReadFrameStart(std::span<const std::uint8_t, 8> bytes) {
  return {LittleEndian(bytes.first<4>()), LittleEndian(bytes.last<4>())};
}

bool IsVideoFormat(std::int32_t videoFormat) {
  return Find(formats, videoFormat) != nullptr;
}

bool IsFrameKind(std::uint32_t kind) {
  return Find(kinds, kind) != nullptr;
}

CFrameHeader ReadFrameHeader(std::span<const std::uint8_t> frame) {
  CFrameHeader header;
  ClearFailure();
  const void* payload = nullptr;
  ztlib_getFrameInfo2(frame.data(), static_cast<std::uint32_t>(frame.size()), &header.width,
                      &header.height, &header.videoFormat, nullptr, nullptr, &header.frameType,
                      &payload, &header.payloadSize);
  ThrowFailure();
  const CFrameStart start = ReadFrameStart(frame.first<8>());
  header.kind = start.kind;
  header.totalSize = start.totalSize;
  return header;
}

std::string CFrameHeader::FormatName() const {
  return NameOf(formats, videoFormat);
}

std::string CFrameHeader::KindName() const {
  return NameOf(kinds, kind);
}

std::string CFrameHeader::TypeName() const {
  return NameOf(types, frameType);
}
