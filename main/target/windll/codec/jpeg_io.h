#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

#include <jpeglib.h>

namespace ztlib {

// How libjpeg is bound to this library: objects, failures and the compressed data.

// An object of libjpeg that is destroyed as far as its creation got.
template <class Struct>
struct JpegObject : Struct {
  JpegObject() : Struct{} {}
  ~JpegObject() { jpeg_destroy(reinterpret_cast<j_common_ptr>(static_cast<Struct*>(this))); }
  JpegObject(const JpegObject&) = delete;
  JpegObject& operator=(const JpegObject&) = delete;
};

// A fatal error aborts the object's work and throws the plain `int` 1 through libjpeg's frames. The
// first warning of a picture is one line on standard error; traces are silent.
void InitJpegErrors(jpeg_error_mgr& errors);

// Fails with an error code of libjpeg.
template <class Object>
[[noreturn]] void RaiseJpegError(Object& object, int code) {
  object.err->msg_code = code;
  object.err->error_exit(reinterpret_cast<j_common_ptr>(&object));
  std::abort();  // the error exit does not return
}

// Reads a stream from memory. A stream that ends before its end marker is a fatal error, never
// padded.
class JpegSource {
 public:
  JpegSource();
  JpegSource(const JpegSource&) = delete;
  JpegSource& operator=(const JpegSource&) = delete;
  jpeg_source_mgr* Attach(std::span<const std::uint8_t> data);

 private:
  jpeg_source_mgr manager{};
};

// Writes a stream into a block of fixed size. A stream that does not fit is a fatal error.
class JpegDestination {
 public:
  JpegDestination();
  JpegDestination(const JpegDestination&) = delete;
  JpegDestination& operator=(const JpegDestination&) = delete;
  jpeg_destination_mgr* Attach(std::span<std::uint8_t> room);
  [[nodiscard]] std::size_t FreeRoom() const { return manager.free_in_buffer; }

 private:
  jpeg_destination_mgr manager{};
};

}  // namespace ztlib
