#pragma once

#include <cstddef>
#include <span>

namespace ztlib {

// Kernels are compiled once for every x86-64 processor, which is the baseline, and once more for
// each instruction set of the build. ZTLIB_INSTRUCTION_SETS has a ZT_SET(name) for each of these,
// where the name is that of the processor's feature; a set comes behind those that it includes.
// Results are the same bytes with every set.

// How many of these sets this process uses, decided once: those of the processor, or none if
// ZTLIB_BASELINE=1 is in the environment.
[[nodiscard]] std::size_t UsableInstructionSets();

// The tables of kernels that this process may use, from the baseline's to the best one.
#define ZT_SET(name) , &Kernels::name
template <class Kernels>
[[nodiscard]] std::span<const Kernels* const> UsableKernels() {
  static constexpr const Kernels* tables[] = {&Kernels::baseline ZTLIB_INSTRUCTION_SETS};
  return std::span(tables).first(1 + UsableInstructionSets());
}
#undef ZT_SET

// The table for this process.
template <class Kernels>
[[nodiscard]] const Kernels& KernelsFor() {
  static const Kernels& kernels = *UsableKernels<Kernels>().back();
  return kernels;
}

// Stands in the class of a table and declares one table for each set, which has the set's name. The
// source that defines the table of ZTLIB_INSTRUCTION_SET is compiled once for each: all else in it
// has internal linkage, and it uses no inline function that has not. Of such a function the linker
// keeps one copy for all, and that could be one with instructions which the processor lacks.
#define ZT_SET(name) , name
#define ZT_KERNEL_TABLES(Kernels) static const Kernels baseline ZTLIB_INSTRUCTION_SETS

}  // namespace ztlib
