#include "client/library.h"

#include "client/console.h"
#include "client/tagged_writer.h"

#include <string>

namespace {

// The handler runs before the call that has failed returns. One thread of the program calls the
// library; a string for each thread would end the process if there is no memory at its first use.
std::string failure;

}  // namespace

CSession::CSession(bool verbose) {
  ztlib_registerAVFrameMgr(
      [](int width, int height, int pixelFormat) -> void* {
        return CFramePool::Instance().Allocate(width, height, pixelFormat);
      },
      [](void* frame) { CFramePool::Instance().Release(static_cast<AVFrame*>(frame)); }, nullptr,
      0);
  ztlib_context_create();
  if (verbose)
    ztlib_registerLogger([](int level, const char* text) {
      Complain(Text("library log, level %d: %s", level, text));
    });
  ztlib_registerExceptionHandler([](const char* text) {
    if (failure.empty()) failure = text;
  });
}

CSession::~CSession() {
  ztlib_registerExceptionHandler(nullptr);
  ztlib_context_destroy();
}

void ClearFailure() {
  failure.clear();
}

void ThrowFailure() {
  if (!failure.empty()) throw CLibraryError(failure);
}

void StoreBytes(void* user, const void* data, std::uint32_t size) {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  static_cast<std::vector<std::uint8_t>*>(user)->assign(bytes, bytes + size);
}

ImagePtr WrapFrame(int pixelFormat, PoolFramePtr frame) {
  ClearFailure();
  ImagePtr image(ztlib_ztimage_create_avframe(pixelFormat, frame.get()));
  ThrowFailure();
  static_cast<void>(frame.release());
  return image;
}

const AVFrame& FrameOf(const ImagePtr& image) {
  ClearFailure();
  const auto* frame = static_cast<const AVFrame*>(ztlib_ztimage_get_avframe(image.get()));
  ThrowFailure();
  if (!frame) throw CLibraryError("the image has no picture");
  return *frame;
}

CEncoder::CEncoder(const CEncoderSettings& settings) {
  handle = ztlib_encoder_create(settings.videoFormat);
  if (!handle) throw CLibraryError(Text("no encoder for video format %d", settings.videoFormat));
  CTaggedWriter config;
  config.Int("Width", settings.width)
      .Int("Height", settings.height)
      .Int("JPEGQuality", settings.quality);
  if (settings.videoFormat == ZTLIB_VIDEO_MJPEGDIFF)
    config.Int("IFrameInterval", settings.keyInterval)
        .Int("RPFrameInterval", settings.referenceInterval)
        .Int("IVPixelSensitivity", settings.sensitivity)
        .Bool("AdvancedProfile", settings.isAdvanced)
        .Bool("GenerateOutOfOrderIFrames", settings.hasOverflowKeys)
        .Int("Bits", settings.listBits);
  const ztlib_blob block = config.Block();
  ClearFailure();
  ztlib_encoder_config(handle, &block);
  try {
    ThrowFailure();
  } catch (...) {
    ztlib_encoder_destroy(&handle);
    throw;
  }
}

std::span<std::uint8_t> CEncoder::Encode(const ImagePtr& image) {
  ClearFailure();
  ztlib_encoder_process(handle, &coded, StoreBytes, image.get(), 0);
  ThrowFailure();
  return coded;
}

std::vector<std::uint8_t> WrapJpeg(std::span<const std::uint8_t> jpeg) {
  std::vector<std::uint8_t> frame;
  ClearFailure();
  ztlib_copyAndAddHeader(&frame, StoreBytes, jpeg.data(), static_cast<std::uint32_t>(jpeg.size()));
  ThrowFailure();
  return frame;
}

CDecoder::CDecoder(int scale, int format) : scaleDown(scale), pixelFormat(format) {
  ClearFailure();
  picture.reset(ztlib_ztimage_create());
  ThrowFailure();
}

void CDecoder::Select(int videoFormat) {
  ztlib_decoder_destroy(&handle);
  present = -1;
  baseWidth = baseHeight = 0;
  handle = ztlib_decoder_create(videoFormat);
  if (!handle) throw CLibraryError(Text("unknown video format %d", videoFormat));
  CTaggedWriter config;
  config.Int("ScaleDown", scaleDown).Int("PixelFormat", pixelFormat).Bool("SwapRGB", false);
  const ztlib_blob block = config.Block();
  ztlib_decoder_config(handle, &block);
  ThrowFailure();
  present = videoFormat;
}

const AVFrame& CDecoder::Decode(std::span<std::uint8_t> frame) {
  const CFrameHeader header = ReadFrameHeader(frame);
  // The library would make a picture of whatever lies where a frame has its size.
  if (header.IsLoneLayer()) throw CLibraryError(header.Fault());
  ClearFailure();
  // The library would put a decoder of the frame's format behind the handle by itself, but one
  // without our configuration.
  const ztlib_blob blob{frame.data(), frame.size()};
  const int videoFormat = ztlib_getVideoFormat(&blob);
  if (!handle || videoFormat != present) Select(videoFormat);
  if (videoFormat != ZTLIB_VIDEO_MJPEGDIFF && videoFormat != ZTLIB_VIDEO_LAYEREDDIFF) {
    Process(frame);
    return FrameOf(picture);
  }
  if (!Accepts(header)) throw CLibraryError("a differential frame without its key frame");
  // A decoder of differential MJPEG is at the new scale only behind its first key frame.
  if (videoFormat == ZTLIB_VIDEO_MJPEGDIFF && scaleDown > 1 && baseWidth == 0) Process(frame);
  Process(frame);
  if (!header.IsDifferential()) {
    baseWidth = header.width;
    baseHeight = header.height;
  }
  return FrameOf(picture);
}

void CDecoder::Process(std::span<std::uint8_t> frame) {
  ClearFailure();
  ztlib_decoder_process(&handle, picture.get(), frame.data(),
                        static_cast<std::uint32_t>(frame.size()));
  ThrowFailure();
}

bool CDecoder::Accepts(const CFrameHeader& header) const {
  return !header.IsDifferential() || (header.width == baseWidth && header.height == baseHeight);
}
