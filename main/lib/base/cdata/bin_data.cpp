#include "main/lib/base/cdata/bin_data.h"

#include <cstring>

namespace ztlib {

CBinData::CBinData(const void* data, std::uint64_t size) {
  if (data == nullptr) return;
  *this = Uninitialised(size);
  std::memcpy(bytes, data, size);
}

CBinData CBinData::Wrap(void* data, std::uint64_t size) {
  CBinData result;
  result.bytes = static_cast<std::uint8_t*>(data);
  result.length = data != nullptr ? size : 0;
  return result;
}

CBinData CBinData::Uninitialised(std::uint64_t size) {
  CBinData result;
  result.owner = std::make_shared_for_overwrite<std::uint8_t[]>(size);
  result.bytes = result.owner.get();
  result.length = size;
  return result;
}

void CBinData::Resize(std::uint64_t size) {
  owner = std::make_shared<std::uint8_t[]>(size);
  bytes = owner.get();
  length = size;
  offset = 0;
}

}  // namespace ztlib
