#pragma once

#include "include/ztlib.hpp"

namespace kit {

// A tree in the tagged form, in which the library gets configurations, written without its code.
using Config = ztlib::TreeWriter;

// `configure` is an export that takes a handle, a configuration and then `more`.
template <class Configure, class... More>
void Apply(const Config& config, Configure configure, void* handle, More... more) {
  const ztlib_blob blob = config.Blob();
  configure(handle, &blob, more...);
}

}  // namespace kit
