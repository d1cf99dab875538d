#pragma once

#include "main/lib/base/pixel_format.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ztlib {

// A rectangle in samples. Operations that take corners read it as left, top, right, bottom.
struct Rect {
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;
};

// A client frame and its first pixel.
struct ClientFrame {
  void* frame = nullptr;
  void* data = nullptr;
};

// Throws "Invalid range" for sizes in samples that no image can have: negative ones, and those
// whose sample offsets or pixel sizes leave 32 bits.
void CheckImageSize(std::int64_t dx, std::int64_t dy, int sampleDx, int sampleDy,
                    const char* function, const char* source, int line);

// Asks the frame manager for a picture of dx by dy samples. An image without samples may come
// without memory; any other refusal throws "Using null-pointer".
[[nodiscard]] ClientFrame AllocateClientFrame(std::int32_t dx, std::int32_t dy, PixelFormat format);

// Owner of the memory of one image: a client frame that goes back to the frame manager with the
// last view of it. Rows have no padding.
template <class T>
class TCSharedImage {
 public:
  using Traits = PixelTraits<T>;

  TCSharedImage(std::int32_t dx, std::int32_t dy) { Allocate(dx, dy); }
  // Takes ownership of `frame`.
  TCSharedImage(std::int32_t dx, std::int32_t dy, ClientFrame client) { Bind(dx, dy, client); }
  ~TCSharedImage() { Free(); }
  TCSharedImage(const TCSharedImage&) = delete;
  TCSharedImage& operator=(const TCSharedImage&) = delete;

  // Gives the memory back, then gets new one. If that fails the owner is left without memory.
  void Renew(std::int32_t newDx, std::int32_t newDy) {
    Free();
    Bind(0, 0, {});
    Allocate(newDx, newDy);
  }

  std::int32_t scanline = 0;  // distance of two rows in samples
  T* data = nullptr;
  std::int32_t dx = 0;
  std::int32_t dy = 0;
  void* frame = nullptr;
  bool owned = true;

 private:
  void Allocate(std::int32_t newDx, std::int32_t newDy) {
    Bind(newDx, newDy, AllocateClientFrame(newDx, newDy, Traits::format));
  }
  void Bind(std::int32_t newDx, std::int32_t newDy, ClientFrame client) {
    scanline = dx = newDx;
    dy = newDy;
    data = static_cast<T*>(client.data);
    frame = client.frame;
  }
  void Free();
};

// What an image is to conversions and codecs: a whole buffer or a part of one. Copying a view
// shares the pixels. A view is used by one thread at a time.
template <class T>
class TCImageView {
 public:
  using Pixel = T;
  using Traits = PixelTraits<T>;

  // Makes the view own a buffer of that size in samples. Keeps the present one if it has that size
  // and nobody else holds it, so that temporaries that are used again cost no allocation.
  void Create(std::int32_t newDx, std::int32_t newDy);

  // The same, but the old buffer is given back first and never kept. Empty after a failure.
  void Recreate(std::int32_t newDx, std::int32_t newDy);

  // Wraps a client frame of `newDx` by `newDy` samples and takes ownership of it. `newPlaneStride`
  // tells of rows that lie elsewhere than `newDx` samples apart.
  void Wrap(std::int32_t newDx, std::int32_t newDy, ClientFrame client,
            std::int64_t newPlaneStride = 0);

  // A view of a part of `parent`, sharing its buffer; empty if the parent is. Nothing clips.
  [[nodiscard]] static TCImageView MapOf(const TCImageView& parent, const Rect& rect);

  void Reset() { *this = TCImageView(); }
  [[nodiscard]] bool IsEmpty() const { return !data || !owner; }
  [[nodiscard]] bool Assigned() const { return data != nullptr; }
  // Bytes from row to row for those who analyse the picture as a plane.
  [[nodiscard]] std::int64_t PlaneStride() const {
    return planeStride != 0 ? planeStride : std::int64_t{scanline} * std::int64_t{sizeof(T)};
  }

  // 32-bit offsets: CheckImageSize keeps all of an image within them.
  [[nodiscard]] T* PtrAt(std::int32_t x, std::int32_t y) const { return data + (y * scanline + x); }
  [[nodiscard]] std::uint8_t* RowBytes(std::int32_t y) const {
    return reinterpret_cast<std::uint8_t*>(PtrAt(0, y));
  }

  std::int32_t scanline = 0;
  T* data = nullptr;
  std::int32_t dx = 0;
  std::int32_t dy = 0;
  std::shared_ptr<TCSharedImage<T>> owner;
  std::int64_t originX = 0;  // position in the owner, in samples
  std::int64_t originY = 0;

 private:
  void TakeFromOwner();

  // Where a client laid out the rows, else 0: what this library fills has no padding. Only planes
  // are read so; everything else goes by the scanline.
  std::int64_t planeStride = 0;
};

// Working buffer with its own heap memory. Rows are padded to a multiple of 4 samples. Copies share
// the pixels until one of them is written to with copyOnWrite set.
template <class T, class Index>
class TCImageX {
 public:
  struct Deallocator {
    void operator()(T* pointer) const;
  };

  TCImageX() = default;
  TCImageX(Index dx, Index dy) { Create(dx, dy); }

  // Content is not initialised; a size of zero allocates nothing. Throws std::bad_alloc.
  void Create(Index newDx, Index newDy);

  // Takes rows that lie `newScanline` samples apart in memory of somebody else.
  void Wrap(Index newDx, Index newDy, std::shared_ptr<T> memory, Index newScanline);

  [[nodiscard]] bool Assigned() const { return data != nullptr; }
  [[nodiscard]] Index GetDx() const { return dx; }
  [[nodiscard]] Index GetDy() const { return dy; }
  [[nodiscard]] Index GetScanline() const { return scanline; }
  [[nodiscard]] const T* GetPtr() const { return data.get(); }

  // The only way to write: gives this image a buffer of its own first if copyOnWrite asks for it
  // and the buffer is shared.
  [[nodiscard]] T* GetWritePtr();

  bool copyOnWrite = false;

 private:
  [[nodiscard]] std::size_t ByteSize() const;
  void Allocate();

  Index dx = 0;
  Index dy = 0;
  std::shared_ptr<T> data;
  Index scanline = 0;
};

extern template class TCImageX<unsigned char, long long>;
extern template class TCImageX<float, long long>;

}  // namespace ztlib
