#include "main/target/windll/image/ztimage_impl.h"

#include "main/lib/base/debug.h"
#include "main/lib/base/frame_manager.h"
#include "main/target/windll/image_convert/image_convert.h"

#include <cstring>

namespace ztlib {

namespace {

constexpr char source[] = "main/target/windll/image/ztimage_impl";

template <class T>
void CheckNotEmpty(const TCImageView<T>& view, const char* function, int line) {
  if (view.IsEmpty()) ZT_THROW(CException, "Using null-pointer", function, source, line);
}

// Rows of a gray frame are padded to a multiple of 4 for those who analyse it, unless the frame
// tells that they are as long as the picture is wide. 0 where both are the same.
std::int64_t PlaneStrideOf(const void* frame, std::int32_t width) {
  if (width % 4 == 0 || FrameLineSize(frame) == width) return 0;
  return (std::int64_t{width} + 3) / 4 * 4;
}

template <class T>
TCImageView<T> WrapFrame(void* frame) {
  using Traits = PixelTraits<T>;
  if (!frame) ZT_THROW(CException, "Using null-pointer", "TCZTImageImpl", source, 28);
  const int width = FrameWidth(frame);
  const int height = FrameHeight(frame);
  if (width < 0 || height < 0) ZT_THROW(CException, "Invalid range", "TCZTImageImpl", source, 32);
  const int dx = width / Traits::sampleDx;
  const int dy = height / Traits::sampleDy;
  CheckImageSize(dx, dy, Traits::sampleDx, Traits::sampleDy, "TCZTImageImpl", source, 35);
  void* const data = FramePointer(frame);
  if (!data && dx > 0 && dy > 0)
    ZT_THROW(CException, "Using null-pointer", "TCZTImageImpl", source, 38);
  TCImageView<T> view;
  view.Wrap(dx, dy, {frame, data},
            Traits::format == PixelFormat::GRAY ? PlaneStrideOf(frame, dx) : 0);
  return view;
}

}  // namespace

void CopyPixels(CZTImageImplBase& target, const CZTImageImplBase& from) {
  const auto rowSize = static_cast<std::size_t>(from.GetRowSize());
  const auto rows = static_cast<std::size_t>(from.GetDy());
  if (rowSize == 0 || rows == 0) return;
  if (from.GetScanlineSize() == from.GetRowSize() &&
      target.GetScanlineSize() == from.GetRowSize()) {
    std::memmove(target.GetPtr(), from.GetPtr(), rowSize * rows);
    return;
  }
  for (int y = 0; y < from.GetDy(); ++y)
    std::memmove(target.GetPtrAt(0, y), from.GetPtrAt(0, y), rowSize);
}

template <class T>
TCZTImageImpl<T>::TCZTImageImpl(void* frame) : view(WrapFrame<T>(frame)) {}

template <class T>
void TCZTImageImpl<T>::GetSizeInFormat(int* dx, int* dy, PixelFormat format) const {
  const int sampleDx = ztlib::GetSampleDx(format);
  const int sampleDy = ztlib::GetSampleDy(format);
  if (sampleDx == 0 || sampleDy == 0)
    ZT_THROW(CException, "Invalid range", "GetSizeInFormat", source, 68);
  *dx = GetDxInPixels() / sampleDx;
  *dy = GetDyInPixels() / sampleDy;
}

template <class T>
std::unique_ptr<CZTImageImplBase> TCZTImageImpl<T>::CreateSameSize(PixelFormat format) const {
  int dx = 0;
  int dy = 0;
  GetSizeInFormat(&dx, &dy, format);
  return CreateNewImageBase(format, dx, dy);
}

template <class T>
std::unique_ptr<CZTImageImplBase> TCZTImageImpl<T>::ConvertToNew(PixelFormat format) const {
  // The client's functions for frames may give this image another picture, and so end this object.
  const TCImageView<T> from = view;
  int dx = 0;
  int dy = 0;
  GetSizeInFormat(&dx, &dy, format);
  return VisitPixelType(format, [&](auto tag) -> std::unique_ptr<CZTImageImplBase> {
    using Target = typename decltype(tag)::type;
    if constexpr (!IsConvertible<Target, T>) {
      RefuseConversion(Traits::format, format);
    } else {
      auto result = std::make_unique<TCZTImageImpl<Target>>(dx, dy);
      Convert(result->View(), from);
      return result;
    }
  });
}

// The pixels stay alive as well, because the copy of the view shares them.
template <class T>
std::unique_ptr<CZTImageImplBase> TCZTImageImpl<T>::CreateCopy() const {
  const TCZTImageImpl from(view);
  auto result = std::make_unique<TCZTImageImpl>(from.GetDx(), from.GetDy());
  CopyPixels(*result, from);
  return result;
}

template <class T>
std::unique_ptr<CZTImageImplBase> TCZTImageImpl<T>::CreateMap() const {
  CheckNotEmpty(view, "CreateMap", 111);
  return std::make_unique<TCZTImageImpl>(view);
}

template <class T>
std::unique_ptr<CZTImageImplBase> TCZTImageImpl<T>::CreateMapOfCorners(const Rect& corners) const {
  return CreateMapOfRect(
      {corners.x, corners.y, corners.width - corners.x, corners.height - corners.y});
}

template <class T>
std::unique_ptr<CZTImageImplBase> TCZTImageImpl<T>::CreateMapOfRect(const Rect& rect) const {
  CheckNotEmpty(view, "CreateMap", 123);
  return std::make_unique<TCZTImageImpl>(TCImageView<T>::MapOf(view, rect));
}

template <class T>
void TCZTImageImpl<T>::Reloc(int dx, int dy, const char* function) {
  CheckNotEmpty(view, function, 129);
  view.data += std::int64_t{dy} * view.scanline + dx;
  view.originX += dx;
  view.originY += dy;
}

namespace {

// Calls f with the pixel type of the format and gives its result to the base.
template <class F>
std::unique_ptr<CZTImageImplBase> CreateOfType(PixelFormat format, F&& f) {
  // Clients know this throw by the source of the public image.
  if (!IsPixelFormat(format))
    ZT_THROW(CException, "Wrong format", "CreateNewImageBase", "main/target/windll/image/ztimage",
             13);
  return VisitPixelType(format,
                        [&](auto tag) -> std::unique_ptr<CZTImageImplBase> { return f(tag); });
}

}  // namespace

std::unique_ptr<CZTImageImplBase> CreateNewImageBase(PixelFormat format) {
  return CreateOfType(format, [](auto tag) {
    return std::make_unique<TCZTImageImpl<typename decltype(tag)::type>>();
  });
}

std::unique_ptr<CZTImageImplBase> CreateNewImageBase(PixelFormat format, int dx, int dy) {
  return CreateOfType(format, [&](auto tag) {
    return std::make_unique<TCZTImageImpl<typename decltype(tag)::type>>(dx, dy);
  });
}

std::unique_ptr<CZTImageImplBase> CreateNewImageBase(PixelFormat format, void* frame) {
  return CreateOfType(format, [&](auto tag) {
    return std::make_unique<TCZTImageImpl<typename decltype(tag)::type>>(frame);
  });
}

template class TCZTImageImpl<TBool8>;
template class TCZTImageImpl<TTGray<unsigned char>>;
template class TCZTImageImpl<TTRGB<unsigned char>>;
template class TCZTImageImpl<TTYUV<unsigned char>>;
template class TCZTImageImpl<TTYUYV<unsigned char>>;
template class TCZTImageImpl<TTUYVY<unsigned char>>;
template class TCZTImageImpl<TTRGBBayer<unsigned char>>;
template class TCZTImageImpl<TTYUVBayerBlock<unsigned char>>;
template class TCZTImageImpl<TTYUV420Block<unsigned char>>;

}  // namespace ztlib
