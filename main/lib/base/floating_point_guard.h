#pragma once

#include <cstdint>

namespace ztlib {

// Masks all six floating-point exceptions for a scope, so that float work cannot trap in a client
// that runs with unmasked exceptions. Restores exactly the six mask bits, whatever a callback of
// the client has made of them meanwhile, and keeps the sticky flags. Both units have such bits: the
// vector unit, which this library computes with, and the x87 unit, which some runtime libraries do.
class FloatingPointGuard {
 public:
  FloatingPointGuard() noexcept;
  ~FloatingPointGuard();
  FloatingPointGuard(const FloatingPointGuard&) = delete;
  FloatingPointGuard& operator=(const FloatingPointGuard&) = delete;

 private:
  std::uint32_t saved;
  std::uint16_t savedX87;
};

}  // namespace ztlib
