#pragma once

#include "client/frame_header.h"
#include "client/frame_pool.h"
#include "client/text.h"
#include "ztlib.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

// A call of the library that failed, with the text that its exception handler got.
class CLibraryError : public CError {
 public:
  using CError::CError;
};

// The client's life with the library: frame manager, context, logger and exception handler first,
// the end of the context last. One at a time; all handles live inside.
class CSession {
 public:
  // With `verbose` the library's log lines go to standard error.
  explicit CSession(bool verbose);
  ~CSession();
  CSession(const CSession&) = delete;
  CSession& operator=(const CSession&) = delete;
};

// Forgets earlier failures of this thread.
void ClearFailure();
// Throws CLibraryError if a call of this thread has failed since ClearFailure.
void ThrowFailure();

// A ztlib_output whose `user` is a vector of bytes.
void StoreBytes(void* user, const void* data, std::uint32_t size);

struct CImageDelete {
  void operator()(void* image) const { ztlib_ztimage_destroy(image); }
};
using ImagePtr = std::unique_ptr<void, CImageDelete>;

// Makes an image of a filled frame without copying; the image owns the frame from then on.
[[nodiscard]] ImagePtr WrapFrame(int pixelFormat, PoolFramePtr frame);

// The frame behind an image.
[[nodiscard]] const AVFrame& FrameOf(const ImagePtr& image);

// Width and height are those of the coded pictures. What follows the quality is for differential
// video alone. Widths and heights are multiples of the format's steps.
struct CEncoderSettings {
  int videoFormat = ZTLIB_VIDEO_MJPEG;
  int width = 0, height = 0;
  int quality = 75;
  int keyInterval = 60;       // frames
  int referenceInterval = 4;  // frames
  int sensitivity = 10;       // 0 to 20
  bool isAdvanced = false;    // difference frames in place of plain ones
  bool hasOverflowKeys = true;
  int listBits = 6;
};

// Makes a coded frame of an image: the library's encoders, and those of formats it only decodes.
class IPictureEncoder {
 public:
  virtual ~IPictureEncoder() = default;

  // The coded frame, header included; valid until the next call.
  [[nodiscard]] virtual std::span<std::uint8_t> Encode(const ImagePtr& image) = 0;
};

// The encoders of the library.
class CEncoder : public IPictureEncoder {
 public:
  explicit CEncoder(const CEncoderSettings& settings);
  ~CEncoder() override { ztlib_encoder_destroy(&handle); }
  CEncoder(const CEncoder&) = delete;
  CEncoder& operator=(const CEncoder&) = delete;

  [[nodiscard]] std::span<std::uint8_t> Encode(const ImagePtr& image) override;

 private:
  void* handle = nullptr;
  std::vector<std::uint8_t> coded;
};

// A JPEG file as a frame of plain MJPEG.
[[nodiscard]] std::vector<std::uint8_t> WrapJpeg(std::span<const std::uint8_t> jpeg);

// A decoder that follows the format of the frames it gets.
class CDecoder {
 public:
  CDecoder(int scaleDown, int pixelFormat);
  ~CDecoder() { ztlib_decoder_destroy(&handle); }
  CDecoder(const CDecoder&) = delete;
  CDecoder& operator=(const CDecoder&) = delete;

  // Whether a frame has what it builds on: a differential frame needs a decoded key frame of its
  // size before it.
  [[nodiscard]] bool Accepts(const CFrameHeader& header) const;

  // The decoded picture, valid until the next call. After a CLibraryError the next frame may be
  // tried.
  [[nodiscard]] const AVFrame& Decode(std::span<std::uint8_t> frame);

 private:
  // Makes `handle` a configured decoder of that format.
  void Select(int videoFormat);
  void Process(std::span<std::uint8_t> frame);

  int scaleDown, pixelFormat;
  int present = -1;                   // video format of `handle`
  int baseWidth = 0, baseHeight = 0;  // of the key frame that differential frames build on
  void* handle = nullptr;
  ImagePtr picture;
};
