#pragma once

#include <cstddef>
#include <cstdint>

// Limits what one call of the library may cost. A call gets `given` bytes in blocks and pictures,
// and it asks for pictures, or a configuration tells it the size of pictures to work on. Its memory
// and its processor time must stay within multiples of all these bytes. They are measured in builds
// with the address sanitizer, whose heap tells sizes; elsewhere only the calls run.
namespace fuzz {

class CallBudget {
 public:
  explicit CallBudget(std::uint64_t given);
  // Aborts if the call has been too expensive.
  ~CallBudget();
  CallBudget(const CallBudget&) = delete;
  CallBudget& operator=(const CallBudget&) = delete;

  // Adds bytes that the client gives out or works on during a call, such as those of a frame.
  static void Grant(std::uint64_t bytes);

 private:
  std::uint64_t outerPeak, outerBase, outerGranted;
  std::uint64_t given;
  double start;
};

}  // namespace fuzz
