#include "tests/support/counting_heap.h"

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

// This is loaded in front of a program (LD_PRELOAD). Counted from the start of its `main`, call
// number ZTLIB_FAILING_CALL of the heap fails. At its end the number of calls goes to the file
// ZTLIB_HEAP_CALLS.

namespace {

using Main = int (*)(int, char**, char**);
Main programMain = nullptr;

void TellCalls() {
  const counting_heap::Pause pause;
  if (const char* name = std::getenv("ZTLIB_HEAP_CALLS")) {
    if (std::FILE* file = std::fopen(name, "w")) {
      std::fprintf(file, "%d\n", counting_heap::heapCalls.load());
      std::fclose(file);
    }
  }
}

int CountedMain(int count, char** values, char** environment) {
  if (const char* number = std::getenv("ZTLIB_FAILING_CALL"))
    counting_heap::callsToFailure = std::atoi(number);
  counting_heap::heapCalls = 0;
  std::atexit(TellCalls);
  return programMain(count, values, environment);
}

}  // namespace

extern "C" int __libc_start_main(Main main, int count, char** values, void (*init)(),
                                 void (*fini)(), void (*loaderFini)(), void* stackEnd) {
  programMain = main;
  const auto start =
      reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(CountedMain, count, values, init, fini, loaderFini, stackEnd);
}
