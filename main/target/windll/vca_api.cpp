#include "include/ztlib.h"
#include "main/target/windll/client_pointers.h"
#include "main/target/windll/image/ztimage.h"
#include "main/target/windll/simple_motion_context.h"

using namespace ztlib;

namespace {
constexpr char source[] = "main/target/windll/vca_api";
}

void* ztlib_simplemotion_create() {
  return GuardedCall({"ztlib_simplemotion_create", source, 72}, static_cast<void*>(nullptr),
                     []() -> void* { return new CSimpleMotionContext; });
}

void ztlib_simplemotion_destroy(void* context) {
  const FloatingPointGuard guard;
  delete static_cast<CSimpleMotionContext*>(context);
}

void ztlib_simplemotion_configure(void* context, const ztlib_blob* config, std::int32_t width,
                                  std::int32_t height) {
  constexpr ExportSite site{"ztlib_simplemotion_configure", source, 97};
  GuardedCall(site, [&] {
    auto& object = Deref<CSimpleMotionContext>(context, site);
    object.ConfigureFor(ParseConfig(config, site, &CVCASimpleMotion::listLimit), width, height);
  });
}

bool ztlib_simplemotion_detect(void* context, void* user, ztlib_output out, const void* image,
                               std::int64_t timestampMs) {
  constexpr ExportSite site{"ztlib_simplemotion_detect", source, 121};
  return GuardedCall(site, false, [&] {
    auto& object = Deref<CSimpleMotionContext>(context, site);
    const auto found = object.Detect(Deref<const CZTImage>(image, site), timestampMs);
    if (out) out(user, found.result.data(), static_cast<std::uint32_t>(found.result.size()));
    return found.signal;
  });
}
