#include "include/ztlib.h"
#include "main/lib/base/frame_manager.h"
#include "main/lib/base/platform.h"
#include "main/target/windll/client_pointers.h"
#include "main/target/windll/device_components.h"
#include "main/target/windll/image/ztimage.h"

#include <cstdlib>
#include <ctime>
#include <exception>
#include <memory>
#include <utility>

using namespace ztlib;

namespace {

constexpr char source[] = "main/target/windll/base_api";

// The token only tells that a create came first. It stays set after the destroy, so that a second
// destroy tears down again; its byte is freed once.
char* contextToken = nullptr;
char* contextByte = nullptr;

void FreeContextByte() {
  delete std::exchange(contextByte, nullptr);
}

// What happens when the library is loaded and unloaded.
const struct Load {
  Load() {
    RegisterDeviceComponents();
    std::srand(static_cast<unsigned>(std::time(nullptr)));
  }
  ~Load() { FreeContextByte(); }
} load;

}  // namespace

void* ztlib_context_create(void) {
  contextByte = new char(0);
  contextToken = contextByte;
  return contextToken;
}

void ztlib_context_destroy(void) {
  if (!contextToken) return;
  try {
    CComponentRepository::Instance().DeleteAll();
  } catch (...) {
    PassForcedUnwind();
    std::terminate();
  }
  FreeContextByte();
}

void ztlib_registerLogger(ztlib_logger callback) {
  Logger().AddStream(new CFunctionLogStream(callback));
}

void ztlib_registerExceptionHandler(ztlib_exception_handler handler) {
  SetExceptionHandler(handler);
}

void ztlib_registerAVFrameMgr(ztlib_frame_allocate allocate, ztlib_frame_release release,
                              ztlib_frame_third third, uint8_t keepExisting) {
  RegisterFrameManager(allocate, release, third, keepExisting != 0);
}

void* ztlib_ztimage_create(void) {
  return GuardedCall({"ztlib_ztimage_create", source, 92}, static_cast<void*>(nullptr),
                     []() -> void* { return new CZTImage; });
}

void ztlib_ztimage_destroy(void* image) {
  const FloatingPointGuard guard;
  delete static_cast<CZTImage*>(image);
}

void* ztlib_ztimage_create_avframe(int32_t format, void* frame) {
  return GuardedCall({"ztlib_ztimage_create_avframe", source, 103}, static_cast<void*>(nullptr),
                     [&]() -> void* {
                       auto image = std::make_unique<CZTImage>();
                       image->WrapFrame(PixelFormat{format}, frame);
                       return image.release();
                     });
}

void* ztlib_ztimage_get_avframe(const void* image) {
  constexpr ExportSite site{"ztlib_ztimage_get_avframe", source, 113};
  return GuardedCall(site, static_cast<void*>(nullptr),
                     [&] { return Deref<const CZTImage>(image, site).GetFrame(); });
}

void ztlib_ztimage_saveToZTMem(const void* image, void* user, ztlib_output out) {
  constexpr ExportSite site{"ztlib_ztimage_saveToZTMem", source, 338};
  GuardedCall(site, [&] {
    CheckNotNull(out, site);
    CBinData block;
    Deref<const CZTImage>(image, site).SaveToBinData(block);
    out(user, block.Data(), static_cast<uint32_t>(block.Size()));
  });
}

bool ztlib_ztimage_loadFromZTMem(void* image, const ztlib_blob* memory) {
  constexpr ExportSite site{"ztlib_ztimage_loadFromZTMem", source, 348};
  return GuardedCall(site, false, [&] {
    auto& target = Deref<CZTImage>(image, site);
    CheckNotNull(memory, site);
    // Clients of the older interface passed 32-bit sizes in this field.
    target.LoadFromBuff(memory->data, static_cast<int32_t>(static_cast<uint32_t>(memory->size)));
    return true;
  });
}
