#include "main/lib/base/floating_point_guard.h"

#include <xmmintrin.h>

namespace ztlib {

namespace {

constexpr std::uint32_t exceptionMasks = 0x1F80;

// The x87 unit: its masks and its flags have the same places.
constexpr std::uint16_t x87Bits = 0x3F;

std::uint16_t ReadX87Control() {
  std::uint16_t word = 0;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}
// A flag whose mask goes would trap in the next instruction of the client.
void WriteX87Control(std::uint16_t word) {
  std::uint16_t flags = 0;
  asm volatile("fnstsw %0" : "=m"(flags));
  if ((flags & ~word & x87Bits) != 0) asm volatile("fnclex");
  asm volatile("fldcw %0" : : "m"(word));
}

}  // namespace

FloatingPointGuard::FloatingPointGuard() noexcept
    : saved(_mm_getcsr()), savedX87(ReadX87Control()) {
  if ((saved & exceptionMasks) != exceptionMasks) _mm_setcsr(saved | exceptionMasks);
  if ((savedX87 & x87Bits) != x87Bits) WriteX87Control(savedX87 | x87Bits);
}

FloatingPointGuard::~FloatingPointGuard() {
  const std::uint32_t present = _mm_getcsr();
  if (((present ^ saved) & exceptionMasks) != 0)
    _mm_setcsr((present & ~exceptionMasks) | (saved & exceptionMasks));
  const std::uint16_t presentX87 = ReadX87Control();
  if (((presentX87 ^ savedX87) & x87Bits) != 0)
    WriteX87Control(static_cast<std::uint16_t>((presentX87 & ~x87Bits) | (savedX87 & x87Bits)));
}

}  // namespace ztlib
