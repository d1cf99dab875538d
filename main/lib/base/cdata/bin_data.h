#pragma once

#include <cstdint>
#include <memory>

namespace ztlib {

// A run of bytes of which an offset cuts off the front. Copies share the bytes.
class CBinData {
 public:
  CBinData() = default;
  CBinData(const void* data, std::uint64_t size);
  // Borrows memory that must outlive the object and all its copies.
  [[nodiscard]] static CBinData Wrap(void* data, std::uint64_t size);
  [[nodiscard]] static CBinData Uninitialised(std::uint64_t size);
  [[nodiscard]] bool HasMemory() const { return bytes != nullptr; }
  [[nodiscard]] std::uint8_t* Data() { return bytes + offset; }
  [[nodiscard]] const std::uint8_t* Data() const { return bytes + offset; }
  [[nodiscard]] std::uint64_t Size() const { return length - offset; }
  [[nodiscard]] std::uint64_t GetOffset() const { return offset; }
  // Cut to the length of the bytes.
  void SetOffset(std::uint64_t newOffset) { offset = newOffset < length ? newOffset : length; }
  // Lets go of the old bytes; the new ones are zero and the object's own.
  void Resize(std::uint64_t size);

 private:
  std::shared_ptr<std::uint8_t[]> owner;  // null for borrowed bytes
  std::uint8_t* bytes = nullptr;
  std::uint64_t length = 0;
  std::uint64_t offset = 0;
};

}  // namespace ztlib
