#include "client/version.h"

#include "client/option_values.h"
#include "client/platform.h"
#include "client/text.h"
#include "ztlib.h"

#include <cstdlib>
#include <string_view>

namespace {

// What the library's kernels may make use of. Each name has to be known when this is compiled.
std::string ProcessorText() {
  std::string text;
  if (__builtin_cpu_supports("avx2")) text += " avx2";
  if (__builtin_cpu_supports("bmi2")) text += " bmi2";
  return text.empty() ? " baseline" : text;
}

}  // namespace

std::string VersionText() {
  std::string formats;
  for (const auto& [name, value] : VideoFormatNames())
    formats += Text(" %s (%d)", name.c_str(), value);
  const std::string library =
      FileWith(reinterpret_cast<const void*>(&ztlib_context_create)).string();
  return Text(
      "ztclient %s\nheader: ztlib.h %d.%d.%d\nlibrary: %s\nvideo formats:%s\nprocessor:%s\n"
      "kernels: %s",
      ZTCLIENT_VERSION, ZTLIB_VERSION_MAJOR, ZTLIB_VERSION_MINOR, ZTLIB_VERSION_PATCH,
      library.c_str(), formats.c_str(), ProcessorText().c_str(), KernelText().c_str());
}

std::string KernelText() {
  const char* const baseline = std::getenv("ZTLIB_BASELINE");
  const bool isForced = baseline && std::string_view(baseline) == "1";
  return isForced ? "baseline, forced by ZTLIB_BASELINE=1" : "the best for this processor";
}
