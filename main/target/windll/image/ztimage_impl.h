#pragma once

#include "main/lib/base/image_rw.h"

#include <cstdint>
#include <memory>

namespace ztlib {

// The picture behind a CZTImage handle, whatever its pixel type. Geometry is in samples unless a
// name says pixels.
class CZTImageImplBase {
 public:
  virtual ~CZTImageImplBase() = default;

  // An image of `format` with the same size in pixels, truncated to whole samples; no pixels are
  // copied.
  [[nodiscard]] virtual std::unique_ptr<CZTImageImplBase> CreateSameSize(
      PixelFormat format) const = 0;
  [[nodiscard]] virtual Rect GetRect() const = 0;
  [[nodiscard]] virtual Rect GetRectInPixels() const = 0;
  [[nodiscard]] virtual int GetDx() const = 0;
  [[nodiscard]] virtual int GetDy() const = 0;
  [[nodiscard]] virtual int GetDxInPixels() const = 0;
  [[nodiscard]] virtual int GetDyInPixels() const = 0;
  [[nodiscard]] virtual int GetSampleDx() const = 0;
  [[nodiscard]] virtual int GetSampleDy() const = 0;
  [[nodiscard]] virtual int GetSampleSize() const = 0;  // in bytes
  [[nodiscard]] virtual int GetScanlineSamples() const = 0;
  [[nodiscard]] virtual std::int64_t GetScanlineSize() const = 0;  // in bytes
  [[nodiscard]] virtual std::int64_t GetRowSize() const = 0;       // in bytes
  [[nodiscard]] virtual int GetRowSamples() const = 0;
  // This image's size in pixels as whole samples of `format`.
  virtual void GetSizeInFormat(int* dx, int* dy, PixelFormat format) const = 0;
  [[nodiscard]] virtual void* GetPtr() = 0;
  [[nodiscard]] virtual void* GetPtrAt(int x, int y) = 0;
  [[nodiscard]] virtual const void* GetPtr() const = 0;
  [[nodiscard]] virtual const void* GetPtrAt(int x, int y) const = 0;
  // The embedded TCImageView of the pixel type.
  [[nodiscard]] virtual const void* GetImage() const = 0;
  [[nodiscard]] virtual PixelFormat GetPixelFormat() const = 0;
  // A new image of `format` by the conversion matrix. "Wrong format" if the pair has no conversion.
  [[nodiscard]] virtual std::unique_ptr<CZTImageImplBase> ConvertToNew(
      PixelFormat format) const = 0;
  // A new image of the same format with the same pixels.
  [[nodiscard]] virtual std::unique_ptr<CZTImageImplBase> CreateCopy() const = 0;
  // Views that share the buffer. Nothing tests the rectangle against the image.
  [[nodiscard]] virtual std::unique_ptr<CZTImageImplBase> CreateMap() const = 0;
  [[nodiscard]] virtual std::unique_ptr<CZTImageImplBase> CreateMapOfCorners(
      const Rect& corners) const = 0;
  [[nodiscard]] virtual std::unique_ptr<CZTImageImplBase> CreateMapOfRect(
      const Rect& rect) const = 0;
  // Slide the view over its buffer; its size stays.
  virtual void RelocMapX(int dx) = 0;
  virtual void RelocMapY(int dy) = 0;
  virtual void RelocMap(int dx, int dy) = 0;
  [[nodiscard]] virtual int GetUseCount() const = 0;
  [[nodiscard]] virtual void* GetFrame() const = 0;
  // Drops the buffer, then gets one of the new size; empty after a failure.
  virtual void Recreate(int dx, int dy) = 0;
};

// A picture of one pixel type: a view of a client's frame, which it shares with its copies.
template <class T>
class TCZTImageImpl final : public CZTImageImplBase {
 public:
  using Traits = PixelTraits<T>;

  TCZTImageImpl() = default;
  TCZTImageImpl(int dx, int dy) { view.Create(dx, dy); }
  // Wraps a client frame and takes ownership of it, unless it throws.
  explicit TCZTImageImpl(void* frame);
  explicit TCZTImageImpl(TCImageView<T> view) : view(std::move(view)) {}

  [[nodiscard]] TCImageView<T>& View() { return view; }
  [[nodiscard]] const TCImageView<T>& View() const { return view; }

  std::unique_ptr<CZTImageImplBase> CreateSameSize(PixelFormat format) const override;
  Rect GetRect() const override { return {0, 0, view.dx, view.dy}; }
  Rect GetRectInPixels() const override { return {0, 0, GetDxInPixels(), GetDyInPixels()}; }
  int GetDx() const override { return view.dx; }
  int GetDy() const override { return view.dy; }
  int GetDxInPixels() const override { return view.dx * Traits::sampleDx; }
  int GetDyInPixels() const override { return view.dy * Traits::sampleDy; }
  int GetSampleDx() const override { return Traits::sampleDx; }
  int GetSampleDy() const override { return Traits::sampleDy; }
  int GetSampleSize() const override { return sizeof(T); }
  int GetScanlineSamples() const override { return view.scanline; }
  std::int64_t GetScanlineSize() const override {
    return std::int64_t{view.scanline} * GetSampleSize();
  }
  std::int64_t GetRowSize() const override { return std::int64_t{view.dx} * GetSampleSize(); }
  int GetRowSamples() const override { return view.dx; }
  void GetSizeInFormat(int* dx, int* dy, PixelFormat format) const override;
  void* GetPtr() override { return view.data; }
  void* GetPtrAt(int x, int y) override { return view.PtrAt(x, y); }
  const void* GetPtr() const override { return view.data; }
  const void* GetPtrAt(int x, int y) const override { return view.PtrAt(x, y); }
  const void* GetImage() const override { return &view; }
  PixelFormat GetPixelFormat() const override { return Traits::format; }
  std::unique_ptr<CZTImageImplBase> ConvertToNew(PixelFormat format) const override;
  std::unique_ptr<CZTImageImplBase> CreateCopy() const override;
  std::unique_ptr<CZTImageImplBase> CreateMap() const override;
  std::unique_ptr<CZTImageImplBase> CreateMapOfCorners(const Rect& corners) const override;
  std::unique_ptr<CZTImageImplBase> CreateMapOfRect(const Rect& rect) const override;
  void RelocMapX(int dx) override { Reloc(dx, 0, "RelocMapX"); }
  void RelocMapY(int dy) override { Reloc(0, dy, "RelocMapY"); }
  void RelocMap(int dx, int dy) override { Reloc(dx, dy, "RelocMap"); }
  int GetUseCount() const override { return static_cast<int>(view.owner.use_count()); }
  void* GetFrame() const override { return view.IsEmpty() ? nullptr : view.owner->frame; }
  void Recreate(int dx, int dy) override { view.Recreate(dx, dy); }

 private:
  void Reloc(int dx, int dy, const char* function);

  TCImageView<T> view;
};

// Copies the rows of an image into one of the same format and size.
void CopyPixels(CZTImageImplBase& target, const CZTImageImplBase& from);

// Build the implementation of a format: without buffer, with a new buffer of that size in samples,
// around a client frame. A format outside 0 to 8 throws "Wrong format".
[[nodiscard]] std::unique_ptr<CZTImageImplBase> CreateNewImageBase(PixelFormat format);
[[nodiscard]] std::unique_ptr<CZTImageImplBase> CreateNewImageBase(PixelFormat format, int dx,
                                                                   int dy);
[[nodiscard]] std::unique_ptr<CZTImageImplBase> CreateNewImageBase(PixelFormat format, void* frame);

}  // namespace ztlib
