#pragma once

#include "include/ztlib.h"
#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/debug.h"
#include "main/target/windll/call_guard.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace ztlib {

// What clients pass by address, checked: a null pointer where an export needs memory throws "Using
// null-pointer" in the name of the export's source. What comes back is the client's memory in
// place.

using Bytes = std::span<const std::uint8_t>;

template <class Pointer>
void CheckNotNull(Pointer* pointer, const ExportSite& site) {
  if (!pointer) ZT_THROW(CException, "Using null-pointer", site.name, site.source, site.line);
}

template <class T, class Pointer>
T& Deref(Pointer* pointer, const ExportSite& site) {
  CheckNotNull(pointer, site);
  return *static_cast<T*>(pointer);
}

// Null may stand for no bytes.
inline Bytes BytesAt(const void* data, std::uint64_t size, const ExportSite& site) {
  if (size > 0) CheckNotNull(data, site);
  return {static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(size)};
}
inline Bytes BytesOf(const ztlib_blob* blob, const ExportSite& site) {
  CheckNotNull(blob, site);
  return BytesAt(blob->data, blob->size, site);
}

inline CData ParseConfig(const ztlib_blob* blob, const ExportSite& site,
                         const CDataListLimit* limit = nullptr) {
  const Bytes bytes = BytesOf(blob, site);
  CData config;
  ParseTagged(config, bytes.data(), bytes.size(), 0, limit);
  return config;
}

}  // namespace ztlib
