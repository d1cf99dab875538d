#pragma once

#include "client/av.h"
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

struct CImageDelete {
  void operator()(void* image) const { ztlib_ztimage_destroy(image); }
};
using ImagePtr = std::unique_ptr<void, CImageDelete>;

// A new frame of the pool, to be filled and handed to WrapFrame.
struct CPoolDelete {
  void operator()(AVFrame* frame) const;
};
using PoolFramePtr = std::unique_ptr<AVFrame, CPoolDelete>;
[[nodiscard]] PoolFramePtr NewPoolFrame(int width, int height, int pixelFormat);

// Makes an image of a filled frame without copying; the image owns the frame from then on.
[[nodiscard]] ImagePtr WrapFrame(int pixelFormat, PoolFramePtr frame);

// The frame behind an image.
[[nodiscard]] const AVFrame& FrameOf(const ImagePtr& image);

class CEncoder {
 public:
  CEncoder(int videoFormat, int width, int height, int quality);
  ~CEncoder() { ztlib_encoder_destroy(&handle); }
  CEncoder(const CEncoder&) = delete;
  CEncoder& operator=(const CEncoder&) = delete;

  // The coded frame, header included; valid until the next call.
  [[nodiscard]] std::span<std::uint8_t> Encode(const ImagePtr& image);

 private:
  void* handle = nullptr;
  std::vector<std::uint8_t> coded;
};

class CDecoder {
 public:
  CDecoder(int scaleDown, int pixelFormat);
  ~CDecoder() { ztlib_decoder_destroy(&handle); }
  CDecoder(const CDecoder&) = delete;
  CDecoder& operator=(const CDecoder&) = delete;

  // The decoded picture, valid until the next call. After a CLibraryError the next frame may be
  // tried.
  [[nodiscard]] const AVFrame& Decode(std::span<std::uint8_t> frame);

 private:
  // Makes `handle` a configured decoder of that format.
  void Select(int videoFormat);

  int scaleDown, pixelFormat;
  int present = -1;  // video format of `handle`
  void* handle = nullptr;
  ImagePtr picture;
};
