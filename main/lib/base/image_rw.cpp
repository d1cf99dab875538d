#include "main/lib/base/image_rw.h"

#include "main/lib/base/debug.h"
#include "main/lib/base/frame_manager.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/base/image_rw";

void DumpStack() {}  // for targets that can

}  // namespace

void CheckImageSize(std::int64_t dx, std::int64_t dy, int sampleDx, int sampleDy,
                    const char* function, const char* site, int line) {
  constexpr std::int64_t limit = std::numeric_limits<std::int32_t>::max();
  if (dx < 0 || dy < 0 || dx > limit / sampleDx || dy > limit / sampleDy ||
      (dy > 0 && dx > limit / dy))
    ZT_THROW(CException, "Invalid range", function, site, line);
}

ClientFrame AllocateClientFrame(std::int32_t dx, std::int32_t dy, PixelFormat format) {
  const int sampleDx = GetSampleDx(format);
  const int sampleDy = GetSampleDy(format);
  CheckImageSize(dx, dy, sampleDx, sampleDy, "Create", source, 31);
  ClientFrame client;
  client.frame = AllocateFrame(dx * sampleDx, dy * sampleDy, static_cast<std::int32_t>(format));
  if (client.frame) client.data = FramePointer(client.frame);
  if (!client.data && dx > 0 && dy > 0) {
    if (client.frame) ReleaseFrame(client.frame);
    ZT_THROW(CException, "Using null-pointer", "Create", source, 38);
  }
  return client;
}

template <class T>
void TCSharedImage<T>::Free() {
  if (!owned) return;
  if (frame)
    ReleaseFrame(frame);
  else
    std::free(data);
}

template <class T>
void TCImageView<T>::TakeFromOwner() {
  scanline = owner->scanline;
  data = owner->data;
  dx = owner->dx;
  dy = owner->dy;
  originX = originY = 0;
  planeStride = 0;
}

template <class T>
void TCImageView<T>::Create(std::int32_t newDx, std::int32_t newDy) {
  CheckImageSize(newDx, newDy, Traits::sampleDx, Traits::sampleDy, "Create", source, 64);
  const bool reusable = dx == newDx && dy == newDy && data && owner && owner.use_count() == 1;
  if (!reusable) owner = std::make_shared<TCSharedImage<T>>(newDx, newDy);
  TakeFromOwner();
}

template <class T>
void TCImageView<T>::Recreate(std::int32_t newDx, std::int32_t newDy) {
  std::shared_ptr<TCSharedImage<T>> sole;
  if (owner && owner.use_count() == 1) sole = std::move(owner);
  Reset();
  if (sole)
    sole->Renew(newDx, newDy);
  else
    sole = std::make_shared<TCSharedImage<T>>(newDx, newDy);
  owner = std::move(sole);
  TakeFromOwner();
}

template <class T>
void TCImageView<T>::Wrap(std::int32_t newDx, std::int32_t newDy, ClientFrame client,
                          std::int64_t newPlaneStride) {
  owner = std::make_shared<TCSharedImage<T>>(newDx, newDy, client);
  TakeFromOwner();
  planeStride = newPlaneStride;
}

template <class T>
TCImageView<T> TCImageView<T>::MapOf(const TCImageView& parent, const Rect& rect) {
  TCImageView view;
  if (parent.IsEmpty()) return view;
  view.owner = parent.owner;
  view.scanline = parent.owner->scanline;
  view.originX = parent.originX + rect.x;
  view.originY = parent.originY + rect.y;
  view.data = parent.data + (view.scanline * rect.y + rect.x);
  view.dx = static_cast<std::int32_t>(rect.width);
  view.dy = static_cast<std::int32_t>(rect.height);
  return view;
}

#define ZT_INSTANTIATE(Pixel)          \
  template class TCSharedImage<Pixel>; \
  template class TCImageView<Pixel>;
ZT_INSTANTIATE(TBool8)
ZT_INSTANTIATE(TTGray<unsigned char>)
ZT_INSTANTIATE(TTRGB<unsigned char>)
ZT_INSTANTIATE(TTYUV<unsigned char>)
ZT_INSTANTIATE(TTYUYV<unsigned char>)
ZT_INSTANTIATE(TTUYVY<unsigned char>)
ZT_INSTANTIATE(TTRGBBayer<unsigned char>)
ZT_INSTANTIATE(TTYUVBayerBlock<unsigned char>)
ZT_INSTANTIATE(TTYUV420Block<unsigned char>)
#undef ZT_INSTANTIATE

template <class T, class Index>
void TCImageX<T, Index>::Deallocator::operator()(T* pointer) const {
  if (pointer) std::free(pointer);
}

template <class T, class Index>
std::size_t TCImageX<T, Index>::ByteSize() const {
  constexpr std::size_t limit = std::numeric_limits<std::size_t>::max() / 2 / sizeof(T);
  if (dx < 0 || dy < 0) throw std::bad_alloc();
  const auto rows = static_cast<std::size_t>(dy);
  const auto columns = static_cast<std::size_t>(scanline);
  if (rows != 0 && columns > limit / rows) throw std::bad_alloc();
  return columns * rows * sizeof(T);
}

template <class T, class Index>
void TCImageX<T, Index>::Allocate() {
  const std::size_t size = ByteSize();
  T* const memory = size == 0 ? nullptr : static_cast<T*>(std::malloc(size));
  if (size != 0 && !memory) throw std::bad_alloc();
  data = memory ? std::shared_ptr<T>(memory, Deallocator()) : nullptr;
  copyOnWrite = false;
}

template <class T, class Index>
void TCImageX<T, Index>::Wrap(Index newDx, Index newDy, std::shared_ptr<T> memory,
                              Index newScanline) {
  data = std::move(memory);
  dx = newDx;
  dy = newDy;
  scanline = newScanline;
  copyOnWrite = false;
}

template <class T, class Index>
void TCImageX<T, Index>::Create(Index newDx, Index newDy) {
  constexpr Index mask = 3;
  if (newDx > std::numeric_limits<Index>::max() - mask) throw std::bad_alloc();
  Wrap(newDx, newDy, nullptr, (newDx + mask) & ~mask);
  Allocate();
}

template <class T, class Index>
T* TCImageX<T, Index>::GetWritePtr() {
  if (!copyOnWrite || !data) return data.get();
  if (data.use_count() == 1) return data.get();
  ZT_LOG(4, source, 165, "~ IMAGE COPY-ON_WRITE ~~~~~~~~~~~~~~~~~~~~~~~~~~~");
  DumpStack();
  ZT_LOG(4, source, 167, "~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~");
  const std::shared_ptr<T> old = data;
  Allocate();
  if (data) std::memcpy(data.get(), old.get(), ByteSize());
  return data.get();
}

template class TCImageX<unsigned char, long long>;
template class TCImageX<float, long long>;

}  // namespace ztlib
