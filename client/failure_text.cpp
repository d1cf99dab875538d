#include "client/failure_text.h"

#include "client/console.h"
#include "client/frame_header.h"
#include "client/text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using Bytes = std::span<const std::uint8_t>;

// The largest side of a picture that JPEG encoders make.
constexpr int mostJpegPixels = 65500;

std::size_t BigEndian(Bytes bytes, std::size_t at) {
  return std::size_t{bytes[at]} << 8 | bytes[at + 1];
}

// Looks at a JPEG stream up to its first scan.
std::string JpegFault(Bytes jpeg) {
  if (jpeg.size() < 4 || jpeg[0] != 0xFF || jpeg[1] != 0xD8) return "it holds no JPEG picture";
  constexpr std::array<std::uint8_t, 2> end{0xFF, 0xD9};
  const bool isWhole = std::search(jpeg.begin(), jpeg.end(), end.begin(), end.end()) != jpeg.end();
  for (std::size_t at = 2; at + 4 <= jpeg.size();) {
    const unsigned marker = jpeg[at + 1];
    const std::size_t size = BigEndian(jpeg, at + 2);
    if (jpeg[at] != 0xFF || size < 2) return "its JPEG header is damaged";
    if (marker == 0xDA) return isWhole ? "its JPEG data is damaged" : "its JPEG data is cut";
    if (at + 2 + size > jpeg.size()) break;
    // DHT, JPG and DAC lie between the frame headers.
    const bool isFrame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 &&
                         marker != 0xCC && size >= 8;
    if (isFrame) {
      const std::size_t height = BigEndian(jpeg, at + 5), width = BigEndian(jpeg, at + 7);
      if (std::uint64_t{width} * height * 4 > ztlib::maxPictureBytes)
        return Text("its JPEG picture of %zux%zu is larger than any this program shows", width,
                    height);
      if (jpeg[at + 4] != 8)
        return Text("its JPEG picture has %d bits a sample, not 8", jpeg[at + 4]);
    }
    at += 2 + size;
  }
  return "its JPEG data is cut in its header";
}

std::string LayersFault(Bytes frame, const CFrameHeader& header) {
  constexpr std::uint32_t untold = UINT32_MAX;
  std::array<std::uint32_t, 4> bytes{untold};
  const ztlib_blob blob{frame.data(), frame.size()};
  ztlib_getLayerSizes(&blob, bytes.data());
  if (bytes[0] == untold) return "it is cut before its layers begin, or a layer lies outside of it";
  std::uint64_t all = 2 * headerSize;
  for (const std::uint32_t layer : bytes)
    all += layer;
  if (all > frame.size()) return "layers are missing";
  if (std::uint64_t(std::max(0, header.width)) * std::uint64_t(std::max(0, header.height)) * 4 >
      ztlib::maxPictureBytes)
    return Text("its picture of %dx%d is larger than any this program shows", header.width,
                header.height);
  return "its layers are damaged";
}

}  // namespace

std::string InPlaceOf(const ztlib::Error& error, const std::string& sentence) {
  const std::string_view words = error.what();
  if (words == "std::bad_alloc") return "out of memory";
  const bool isOfLibrary = words.starts_with("Exception [") || words == "Unknown exception!" ||
                           words.starts_with("std::");
  if (!isOfLibrary) return std::string(words);
  return IsVerbose() ? sentence + " (" + std::string(words) + ")" : sentence;
}

std::string WhyNotDecoded(Bytes frame, const ztlib::Error& error) {
  const CFrameHeader header = ReadFrameHeader(frame);
  std::string fault = header.Fault();
  if (!fault.empty()) return InPlaceOf(error, fault);
  if (header.videoFormat == ZTLIB_VIDEO_LAYERED || header.videoFormat == ZTLIB_VIDEO_LAYEREDDIFF)
    return InPlaceOf(error, LayersFault(frame, header));
  if (!header.IsDifferential())
    return InPlaceOf(error, JpegFault({header.payload.data(), header.payload.size()}));
  const CDifferentialParts parts = PartsOf(frame);
  if (parts.list.size() < header.listSize) return InPlaceOf(error, "its list of blocks is cut");
  fault = JpegFault(parts.strip);
  return InPlaceOf(error, "of the strip with its blocks: " + fault);
}

std::string WhyNotSplit(Bytes frame, const ztlib::Error& error) {
  if (frame.size() < minFrameSize) return InPlaceOf(error, "it is cut in its header");
  return InPlaceOf(error, LayersFault(frame, ReadFrameHeader(frame)));
}

std::string WhyNotJoined(Bytes first, const ztlib::Error& error) {
  constexpr std::size_t leastFirst = 2 * headerSize + 32;
  return InPlaceOf(error, first.size() < leastFirst
                              ? "the record of its first layer is cut"
                              : "the records of its layers are cut, or do not belong together");
}

std::string WhyNotEncoded(int width, int height, const ztlib::Error& error) {
  if (std::max(width, height) > mostJpegPixels)
    return InPlaceOf(error, Text("JPEG pictures have at most %d pixels a side", mostJpegPixels));
  return InPlaceOf(error,
                   "so small a picture takes more bytes than the encoder allows (two a pixel); "
                   "choose a larger size or a lower quality");
}
