#pragma once

#include <cstddef>
#include <cstdint>

// What one call of the library may cost. A call is handed `given` bytes in blocks and pictures, and
// asks for pictures of so many bytes, or is told to work on pictures of that size by a
// configuration; its memory and its processor time stay within multiples of both. Measured in
// builds with the address sanitizer, whose heap tells sizes; elsewhere only the calls run.
namespace fuzz {

class CallBudget {
 public:
  explicit CallBudget(std::uint64_t given);
  // Aborts if the call has been too expensive.
  ~CallBudget();
  CallBudget(const CallBudget&) = delete;
  CallBudget& operator=(const CallBudget&) = delete;

  // The client's own work within a call, such as filling a frame, and what it grants.
  static void Grant(std::uint64_t bytes);

 private:
  std::uint64_t outerPeak, outerBase, outerGranted;
  std::uint64_t given;
  double start;
};

}  // namespace fuzz
