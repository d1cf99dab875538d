#include "main/target/windll/image/ztimage.h"

#include "main/lib/base/debug.h"

namespace ztlib {

namespace {
constexpr char source[] = "main/target/windll/image/ztimage";
}

CZTImageImplBase& CZTImage::Impl(const char* function) {
  if (!impl) ZT_THROW(CException, "Using null-pointer", function, source, 39);
  return *impl;
}

const CZTImageImplBase& CZTImage::ConstImpl(const char* function) const {
  if (!impl) ZT_THROW(CException, "Using null-pointer", function, source, 44);
  return *impl;
}

PixelFormat CZTImage::GetPixelFormat() const {
  return impl ? impl->GetPixelFormat() : PixelFormat::NONE;
}
int CZTImage::GetDx() const {
  return ConstImpl("GetDx").GetDx();
}
int CZTImage::GetDy() const {
  return ConstImpl("GetDy").GetDy();
}
int CZTImage::GetDxInPixels() const {
  return ConstImpl("GetDxInPixels").GetDxInPixels();
}
int CZTImage::GetDyInPixels() const {
  return ConstImpl("GetDyInPixels").GetDyInPixels();
}
int CZTImage::GetSampleSize() const {
  return ConstImpl("GetSampleSize").GetSampleSize();
}
std::int64_t CZTImage::GetScanlineSize() const {
  return ConstImpl("GetScanlineSize").GetScanlineSize();
}
void* CZTImage::GetFrame() const {
  return impl ? impl->GetFrame() : nullptr;
}

void CZTImage::CreateBySizeInPixels(PixelFormat format, int width, int height) {
  // Clients know these throws by the place where the templates are instantiated.
  constexpr char site[] = "main/target/windll/image/ztimage_impl";
  constexpr int line = 627;
  const int sampleDx = GetSampleDx(format);
  const int sampleDy = GetSampleDy(format);
  if (sampleDx == 0 || sampleDy == 0 || width % sampleDx != 0 || height % sampleDy != 0)
    ZT_THROW(CException, "Invalid range", "CreateBySizeInPixels", site, line);
  const int dx = width / sampleDx;
  const int dy = height / sampleDy;
  CheckImageSize(dx, dy, sampleDx, sampleDy, "CreateBySizeInPixels", site, line);
  if (GetPixelFormat() != format) {
    Reset();
    impl = CreateNewImageBase(format, dx, dy);
    return;
  }
  // The same objects serve the next picture: decoding in a loop allocates nothing but frames.
  std::unique_ptr<CZTImageImplBase> reused = std::move(impl);
  reused->Recreate(dx, dy);
  impl = std::move(reused);
}

void CZTImage::SetPixelFormat(PixelFormat format) {
  if (Impl("SetPixelFormat").GetPixelFormat() != format) impl = impl->ConvertToNew(format);
}

void CZTImage::ConvertOrMap(PixelFormat format, const CZTImage& from) {
  if (from.IsEmpty()) return Reset();
  if (format == PixelFormat::NONE)
    ZT_THROW(CException, "Wrong format", "ConvertOrMap", source, 102);
  if (from.GetPixelFormat() != format) {
    impl = from.impl->ConvertToNew(format);
    return;
  }
  Reset();
  if (!from.IsEmpty()) impl = from.impl->CreateMap();
}

void CZTImage::ConvertOrCopy(PixelFormat format, const CZTImage& from) {
  if (from.IsEmpty()) return Reset();
  if (format == PixelFormat::NONE)
    ZT_THROW(CException, "Wrong format", "ConvertOrCopy", source, 114);
  if (from.GetPixelFormat() != format)
    impl = from.impl->ConvertToNew(format);
  else
    Copy(from);
}

void CZTImage::Copy(const CZTImage& from) {
  Reset();
  if (from.IsEmpty()) return;
  impl = from.impl->CreateCopy();
}

void CZTImage::OverWrite(const CZTImage& from) {
  if (from.IsEmpty()) return Reset();
  if (GetPixelFormat() != from.GetPixelFormat())
    ZT_THROW(CException, "Wrong format", "OverWrite", source, 130);
  if (GetDxInPixels() != from.GetDxInPixels() || GetDyInPixels() != from.GetDyInPixels())
    ZT_THROW(CException, "Unknown exception", "OverWrite", source, 132);
  CopyPixels(*impl, *from.impl);
}

}  // namespace ztlib
