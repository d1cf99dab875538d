#include "include/ztlib.h"
#include "main/target/windll/client_pointers.h"
#include "main/target/windll/codec/codec.h"
#include "main/target/windll/codec/frame_header.h"
#include "main/target/windll/codec/idct8x8.h"
#include "main/target/windll/codec/jpeg_decoder.h"
#include "main/target/windll/codec/layers.h"
#include "main/target/windll/codec/videodecoder_base.h"
#include "main/target/windll/codec/videoencoder_base.h"
#include "main/target/windll/image/ztimage.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

using namespace ztlib;

namespace {

constexpr char source[] = "main/target/windll/codec_api";

FrameInfo CheckedFrameInfo(Bytes frame, const char* function) {
  if (frame.size() < FrameHeader::minSize)
    ZT_THROW(CException, "Invalid range", function, source, 25);
  return ReadFrameInfo(frame);
}

// The video format of a frame, -1 for what is too short to have one.
std::int32_t VideoFormatOf(Bytes frame) {
  return frame.size() < FrameHeader::formatEnd ? -1 : ReadVideoFormat(frame);
}

// For exports that do not fail.
Bytes BytesIfAny(const ztlib_blob* blob) {
  if (!blob || !blob->data) return {};
  return {static_cast<const std::uint8_t*>(blob->data), static_cast<std::size_t>(blob->size)};
}

template <class T>
const T& Checked(const std::optional<T>& value, const char* function) {
  if (!value) ZT_THROW(CException, "Invalid range", function, source, 42);
  return *value;
}

template <class Output, class Value>
void Store(Output* output, Value value) {
  if (output) *output = static_cast<Output>(value);
}

void StoreInfo(const FrameInfo& info, std::int32_t* width, std::int32_t* height,
               std::int32_t* format, std::int32_t* differential, std::int32_t* refresh,
               std::int32_t* frameType) {
  Store(width, info.header.width);
  Store(height, info.header.height);
  Store(format, info.header.format);
  Store(differential, info.header.differential);
  Store(refresh, info.header.refresh);
  Store(frameType, info.frameType);
}

// The handle becomes null first: the destructor gives frames back to the client, whose callback may
// look at the handle or fill its place anew.
template <class Codec>
void DestroyHandle(void** handle) {
  const FloatingPointGuard guard;
  if (!handle) return;
  delete static_cast<Codec*>(std::exchange(*handle, nullptr));
}

}  // namespace

void* ztlib_encoder_create(std::int32_t format) {
  return GuardedCall({"ztlib_encoder_create", source, 53}, static_cast<void*>(nullptr),
                     [&]() -> void* { return CreateEncoder(format).release(); });
}

void* ztlib_decoder_create(std::int32_t format) {
  return GuardedCall({"ztlib_decoder_create", source, 65}, static_cast<void*>(nullptr),
                     [&]() -> void* { return CreateDecoder(format).release(); });
}

void ztlib_encoder_destroy(void** encoder) {
  DestroyHandle<CVideoEncoderBase>(encoder);
}

void ztlib_decoder_destroy(void** decoder) {
  DestroyHandle<CVideoDecoderBase>(decoder);
}

void ztlib_encoder_config(void* encoder, const ztlib_blob* config) {
  constexpr ExportSite site{"ztlib_encoder_config", source, 80};
  GuardedCall(site, [&] {
    auto& object = Deref<CVideoEncoderBase>(encoder, site);
    object.Configure(ParseConfig(config, site));
  });
}

void ztlib_decoder_config(void* decoder, const ztlib_blob* config) {
  constexpr ExportSite site{"ztlib_decoder_config", source, 94};
  GuardedCall(site, [&] {
    auto& object = Deref<CVideoDecoderBase>(decoder, site);
    object.Configure(ParseConfig(config, site));
  });
}

void ztlib_encoder_process(void* encoder, void* user, ztlib_output out, const void* image,
                           std::uint8_t key) {
  constexpr ExportSite site{"ztlib_encoder_process", source, 140};
  GuardedCall(site, [&] {
    auto& object = Deref<CVideoEncoderBase>(encoder, site);
    CheckNotNull(out, site);
    CBinData frame;
    object.Encode(frame, Deref<const CZTImage>(image, site), {.forceKeyFrame = key != 0});
    out(user, frame.Data(), static_cast<std::uint32_t>(frame.Size()));
  });
}

void ztlib_decoder_process(void** decoder, void* image, void* data, std::uint32_t size) {
  constexpr ExportSite site{"ztlib_decoder_process", source, 155};
  GuardedCall(site, [&] {
    CheckNotNull(decoder, site);
    auto& picture = Deref<CZTImage>(image, site);
    if (size > 0) CheckNotNull(data, site);
    CBinData frame = CBinData::Wrap(data, size);
    auto* object = static_cast<CVideoDecoderBase*>(*decoder);
    // A decoder that has been replaced stays replaced if its first frame fails.
    const struct HandleUpdate {
      void** handle;
      CVideoDecoderBase*& object;
      ~HandleUpdate() { *handle = object; }
    } update{decoder, object};
    DecodeFrame(&object, picture, frame);
  });
}

void ztlib_decoder_setBaseImage(void* decoder, const void* image) {
  constexpr ExportSite site{"ztlib_decoder_setBaseImage", source, 169};
  GuardedCall(site, [&] {
    auto* const object = static_cast<CVideoDecoderBase*>(decoder);
    if (!object || object->GetVideoFormat() != videoFormatMJPEGDIFF) return;
    object->SetBaseImage(Deref<const CZTImage>(image, site));
  });
}

void ztlib_getFrameInfo1(const ztlib_blob* frame, std::int32_t* width, std::int32_t* height,
                         std::int32_t* format, std::int32_t* differential, std::int32_t* refresh,
                         std::int32_t* frameType, void* user, ztlib_output out) {
  constexpr ExportSite site{"ztlib_getFrameInfo1", source, 190};
  GuardedCall(site, [&] {
    const Bytes bytes = BytesOf(frame, site);
    CheckNotNull(out, site);
    const FrameInfo info = CheckedFrameInfo(bytes, site.name);
    // The callback gets bytes of the library's own: it may write to the frame.
    const CBinData payload(info.payload.data(), info.payload.size());
    StoreInfo(info, width, height, format, differential, refresh, frameType);
    out(user, payload.Data(), static_cast<std::uint32_t>(payload.Size()));
  });
}

void ztlib_getFrameInfo2(const void* data, std::uint32_t size, std::int32_t* width,
                         std::int32_t* height, std::int32_t* format, std::int32_t* differential,
                         std::int32_t* refresh, std::int32_t* frameType, const void** payload,
                         std::uint32_t* payloadSize) {
  constexpr ExportSite site{"ztlib_getFrameInfo2", source, 221};
  GuardedCall(site, [&] {
    const FrameInfo info = CheckedFrameInfo(BytesAt(data, size, site), site.name);
    StoreInfo(info, width, height, format, differential, refresh, frameType);
    Store(payload, info.payload.data());
    Store(payloadSize, info.payload.size());
  });
}

void ztlib_copyAndAddHeader(void* user, ztlib_output out, const void* jpeg, std::uint32_t size) {
  constexpr ExportSite site{"ztlib_copyAndAddHeader", source, 324};
  GuardedCall(site, [&] {
    CheckNotNull(out, site);
    const Bytes stream = BytesAt(jpeg, size, site);
    if (size > UINT32_MAX - FrameHeader::size)
      ZT_THROW(CException, "Invalid range", site.name, source, 180);
    const JpegSize picture = CJPEGDecoder().ReadHeader(stream);
    const FrameHeader header{.kind = FrameHeader::kindAdded,
                             .totalSize = size + FrameHeader::size,
                             .headerSize = FrameHeader::size,
                             .format = videoFormatMJPEG,
                             .addedHeaderMark = 1,
                             .width = picture.width,
                             .height = picture.height};
    const auto frame = std::make_unique_for_overwrite<std::uint8_t[]>(header.totalSize);
    header.Write(std::span<std::uint8_t, FrameHeader::size>(frame.get(), FrameHeader::size));
    std::memcpy(frame.get() + FrameHeader::size, stream.data(), stream.size());
    out(user, frame.get(), header.totalSize);
  });
}

std::int32_t ztlib_getVideoFormat(const ztlib_blob* frame) {
  const FloatingPointGuard guard;
  return VideoFormatOf(BytesIfAny(frame));
}

std::int32_t ztlib_getLayerCount(const ztlib_blob* frame) {
  const FloatingPointGuard guard;
  return IsLayered(VideoFormatOf(BytesIfAny(frame))) ? LayeredHeader::layers : 0;
}

void ztlib_getLayerSizes(const ztlib_blob* frame, std::uint32_t sizes[4]) {
  const FloatingPointGuard guard;
  const Bytes bytes = BytesIfAny(frame);
  if (!sizes || !IsLayered(VideoFormatOf(bytes))) return;
  if (const auto read = ReadLayerSizes(bytes)) std::ranges::copy(*read, sizes);
}

std::int32_t ztlib_decomposeToLayers(const ztlib_blob* frame, void* const users[4],
                                     ztlib_output out) {
  constexpr ExportSite site{"ztlib_decomposeToLayers", source, 240};
  return GuardedCall(site, std::int32_t{0}, [&]() -> std::int32_t {
    const Bytes bytes = BytesOf(frame, site);
    CheckNotNull(users, site);
    CheckNotNull(out, site);
    if (bytes.size() < FrameHeader::formatEnd)
      ZT_THROW(CException, "Invalid range", site.name, source, 221);
    if (!IsLayered(VideoFormatOf(bytes))) return 0;
    const auto split = SplitLayers(bytes);
    const LayerRecords& records = Checked(split, site.name);
    for (std::size_t layer = 0; layer < records.size(); ++layer)
      out(users[layer], records[layer].data(), static_cast<std::uint32_t>(records[layer].size()));
    return LayeredHeader::layers;
  });
}

void ztlib_composeFromLayers(void* user, ztlib_output out, const ztlib_blob* const* layers,
                             std::int32_t count) {
  constexpr ExportSite site{"ztlib_composeFromLayers", source, 266};
  GuardedCall(site, [&] {
    CheckNotNull(out, site);
    CheckNotNull(layers, site);
    if (count < 1 || count > static_cast<std::int32_t>(LayeredHeader::layers))
      ZT_THROW(CException, "Invalid range", site.name, source, 238);
    Bytes records[LayeredHeader::layers];
    for (std::int32_t i = 0; i < count; ++i)
      records[i] = BytesOf(layers[i], site);
    const auto frame = JoinLayers(std::span(records, static_cast<std::size_t>(count)));
    const auto& bytes = Checked(frame, site.name);
    out(user, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  });
}

void idct8x8_mmx(std::int16_t block[64]) {
  InverseTransform8x8(block);
}
