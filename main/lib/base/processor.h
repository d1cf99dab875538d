#pragma once

// Whether the AVX2 variants of kernels are to be used: the processor has the instructions and
// ZTLIB_BASELINE=1 is not in the environment. Decided once. Results are the same on every path.
[[nodiscard]] bool UseAvx2();
