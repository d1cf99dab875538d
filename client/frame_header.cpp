#include "client/frame_header.h"

#include "client/text.h"

#include <algorithm>
#include <iterator>

namespace {

struct CName {
  std::int32_t value;
  const char* text;
};

constexpr CName formats[] = {{0, "layered"}, {3, "mjpeg"}, {4, "layereddiff"}, {7, "mjpegdiff"}};
// Who wrote the header: the layer splitter, the wrapping of a JPEG file, an encoder.
constexpr CName origins[] = {{1, "layer"}, {2, "wrapped"}, {3, "encoder"}};
constexpr CName types[] = {{ztlib::keyFrame, "key"},
                           {ztlib::untoldFrame, "diff"},
                           {ztlib::plainFrame, "plain"},
                           {ztlib::differenceFrame, "difference"},
                           {ztlib::referenceFrame, "reference"}};

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
  return {static_cast<std::uint32_t>(ztlib::LittleEndian(bytes.first(4))),
          static_cast<std::uint32_t>(ztlib::LittleEndian(bytes.last(4)))};
}

bool IsVideoFormat(std::int32_t videoFormat) {
  return Find(formats, videoFormat) != nullptr;
}

bool IsFrameOrigin(std::uint32_t origin) {
  return Find(origins, origin) != nullptr;
}

CFrameHeader ReadFrameHeader(std::span<const std::uint8_t> frame) {
  CFrameHeader header{ztlib::ReadCodedFrame(frame)};
  if (header.IsDifferential() && frame.size() >= headerSize) {
    const auto number = [&](std::size_t at) {
      return static_cast<std::uint32_t>(ztlib::LittleEndian(frame.subspan(at, 4)));
    };
    header.blockCount = number(blockCountAt);
    header.listSize = number(listSizeAt);
    // Layers have sizes of their own.
    const auto body = static_cast<std::uint32_t>(header.payload.size());
    header.stripSize = header.videoFormat == ZTLIB_VIDEO_MJPEGDIFF
                           ? number(stripSizeAt)
                           : body - std::min(body, header.listSize);
  }
  return header;
}

CDifferentialParts PartsOf(std::span<const std::uint8_t> frame) {
  const CFrameHeader header = ReadFrameHeader(frame);
  const auto body = frame.subspan(std::min<std::size_t>(frame.size(), headerSize));
  const auto list = body.first(std::min<std::size_t>(body.size(), header.listSize));
  return {list, body.subspan(list.size())};
}

std::string CFrameHeader::Fault() const {
  if (IsLoneLayer()) return "one layer of a picture, the others are missing";
  return IsVideoFormat(videoFormat) ? "" : Text("unknown video format %d", videoFormat);
}

std::string CFrameHeader::FormatName() const {
  return NameOf(formats, videoFormat);
}

std::string CFrameHeader::OriginName() const {
  return NameOf(origins, origin);
}

std::string CFrameHeader::TypeName() const {
  return NameOf(types, frameType);
}
