#pragma once

#include "main/target/windll/image/ztimage_impl.h"

#include <cstdint>
#include <memory>

namespace ztlib {

class CBinData;

// The image that clients and the rest of the library hold: empty, or a picture of one of the nine
// formats. Operations that read an empty image throw "Using null-pointer". After an exception the
// image is as before, unless an operation says otherwise. One thread at a time.
class CZTImage {
 public:
  CZTImage() = default;
  virtual ~CZTImage() = default;
  CZTImage(const CZTImage&) = delete;
  CZTImage& operator=(const CZTImage&) = delete;

  [[nodiscard]] bool IsEmpty() const { return !impl; }
  [[nodiscard]] PixelFormat GetPixelFormat() const;  // NONE for an empty image
  [[nodiscard]] int GetDx() const;                   // in samples
  [[nodiscard]] int GetDy() const;
  [[nodiscard]] int GetDxInPixels() const;
  [[nodiscard]] int GetDyInPixels() const;
  [[nodiscard]] int GetSampleSize() const;             // in bytes
  [[nodiscard]] std::int64_t GetScanlineSize() const;  // in bytes
  [[nodiscard]] void* GetFrame() const;                // the client frame, null if there is none

  template <class T>
  [[nodiscard]] T* GetPtrAs() {
    return static_cast<T*>(Impl("GetPtrAs").GetPtr());
  }
  template <class T>
  [[nodiscard]] const T* GetPtrAs() const {
    return static_cast<const T*>(ConstImpl("GetPtrAs").GetPtr());
  }
  template <class T>
  [[nodiscard]] T* GetPtrAs(int x, int y) {
    return static_cast<T*>(Impl("GetPtrAs").GetPtrAt(x, y));
  }
  template <class T>
  [[nodiscard]] const T* GetPtrAs(int x, int y) const {
    return static_cast<const T*>(ConstImpl("GetPtrAs").GetPtrAt(x, y));
  }

  // The view of an image whose pixel type is T; the caller has tested the format.
  template <class T>
  [[nodiscard]] const TCImageView<T>& GetView() const {
    return *static_cast<const TCImageView<T>*>(ConstImpl("GetView").GetImage());
  }

  // Drops the picture and creates a new one. The size must be whole samples of the format. If the
  // frame manager refuses, the image is empty.
  void CreateBySizeInPixels(PixelFormat format, int width, int height);

  // Becomes a picture around a client frame and takes ownership of it, unless it throws.
  void WrapFrame(PixelFormat format, void* frame) { impl = CreateNewImageBase(format, frame); }

  // Converts the picture in place.
  void SetPixelFormat(PixelFormat format);

  // Becomes `source` in `format`: sharing its pixels if it has that format, converted otherwise.
  // Onto itself in its own format it leaves the image empty.
  void ConvertOrMap(PixelFormat format, const CZTImage& source);
  // The same, but never sharing pixels.
  void ConvertOrCopy(PixelFormat format, const CZTImage& source);

  // Becomes a deep copy. Onto itself it leaves the image empty.
  void Copy(const CZTImage& source);

  // Copies the pixels of an image of the same format and size into this image's buffer. An empty
  // source empties this image.
  void OverWrite(const CZTImage& source);

  void Reset() { impl.reset(); }
  void Swap(CZTImage& other) noexcept { impl.swap(other.impl); }

  // The image memory format, version 1; bytes of header and body.
  [[nodiscard]] int GetSizeOfSavedBody_V1() const;
  static constexpr int savedHeaderSize = 32;
  // Writes GetSizeOfSavedBody_V1() + savedHeaderSize bytes and returns the end. Reserved fields and
  // slack are left as they are.
  void* SaveToBuff(void* buffer) const;
  void SaveToBinData(CBinData& block) const;
  // Replaces this image and returns buffer + size.
  const void* LoadFromBuff(const void* buffer, int size);
  // The same from the read position of a block; stricter about the version, and a block without
  // memory gives a blank gray image of 16 by 1.
  void FromBindata(const CBinData& block);

 private:
  [[nodiscard]] CZTImageImplBase& Impl(const char* function);
  [[nodiscard]] const CZTImageImplBase& ConstImpl(const char* function) const;

  std::unique_ptr<CZTImageImplBase> impl;
};

}  // namespace ztlib
