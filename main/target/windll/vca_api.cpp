#include "include/ztlib.h"
#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/debug.h"
#include "main/target/windll/call_guard.h"
#include "main/target/windll/image/ztimage.h"
#include "main/target/windll/simple_motion_context.h"

namespace {

constexpr char source[] = "main/target/windll/vca_api";

void CheckNotNull(const void* pointer, const char* function) {
  if (!pointer) ZT_THROW(CException, "Using null-pointer", function, source, __LINE__);
}

CSimpleMotionContext& ContextOf(void* handle, const char* function) {
  CheckNotNull(handle, function);
  return *static_cast<CSimpleMotionContext*>(handle);
}

}  // namespace

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
    CSimpleMotionContext& object = ContextOf(context, site.name);
    CheckNotNull(config, site.name);
    if (config->size > 0) CheckNotNull(config->data, site.name);
    CData tree;
    ParseTagged(tree, config->data, config->size);
    object.ConfigureFor(tree, width, height);
  });
}

bool ztlib_simplemotion_detect(void* context, void* user, ztlib_output out, const void* image,
                               std::int64_t timestampMs) {
  constexpr ExportSite site{"ztlib_simplemotion_detect", source, 121};
  return GuardedCall(site, false, [&] {
    CSimpleMotionContext& object = ContextOf(context, site.name);
    CheckNotNull(image, site.name);
    const auto found = object.Detect(*static_cast<const CZTImage*>(image), timestampMs);
    if (out) out(user, found.result.data(), static_cast<std::uint32_t>(found.result.size()));
    return found.signal;
  });
}
