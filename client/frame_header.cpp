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
constexpr std::uint32_t kindLayer = 1;
constexpr CName kinds[] = {{kindLayer, "layer"}, {2, "wrapped"}, {3, "encoder"}};
constexpr CName types[] = {{frameTypeKey, "key"},
                           {frameTypeUntold, "diff"},
                           {frameTypePlain, "plain"},
                           {frameTypeDifference, "difference"},
                           {frameTypeReference, "reference"}};

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

// Offsets in the header.
constexpr std::size_t blockCountAt = 84, listSizeAt = 88, stripSizeAt = 92;

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
  if (header.IsLoneLayer()) header.width = header.height = 0;
  if (header.IsDifferential() && frame.size() >= headerSize) {
    header.blockCount = LittleEndian(frame.subspan<blockCountAt, 4>());
    header.listSize = LittleEndian(frame.subspan<listSizeAt, 4>());
    // Layers have sizes of their own.
    header.stripSize = header.videoFormat == ZTLIB_VIDEO_MJPEGDIFF
                           ? LittleEndian(frame.subspan<stripSizeAt, 4>())
                           : header.payloadSize - std::min(header.payloadSize, header.listSize);
  }
  return header;
}

CDifferentialParts PartsOf(std::span<const std::uint8_t> frame) {
  const CFrameHeader header = ReadFrameHeader(frame);
  const auto body = frame.subspan(std::min<std::size_t>(frame.size(), headerSize));
  const auto list = body.first(std::min<std::size_t>(body.size(), header.listSize));
  return {list, body.subspan(list.size())};
}

bool CFrameHeader::IsDifferential() const {
  return (videoFormat == ZTLIB_VIDEO_MJPEGDIFF || videoFormat == ZTLIB_VIDEO_LAYEREDDIFF) &&
         frameType != frameTypeKey && !IsLoneLayer();
}

bool CFrameHeader::IsLoneLayer() const {
  return kind == kindLayer &&
         (videoFormat == ZTLIB_VIDEO_LAYERED || videoFormat == ZTLIB_VIDEO_LAYEREDDIFF);
}

std::string CFrameHeader::Fault() const {
  if (IsLoneLayer()) return "one layer of a picture, the others are missing";
  return IsVideoFormat(videoFormat) ? "" : Text("unknown video format %d", videoFormat);
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
