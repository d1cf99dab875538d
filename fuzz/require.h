#pragma once

#include <cstdlib>

// Checks a property that must hold for every input; the engine takes the abort as a finding.
inline void Require(bool holds) {
  if (!holds) std::abort();
}
