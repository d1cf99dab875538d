/* The public header compiles alone, as strict C and, through header_alone.cpp, as C++. */
#include "include/ztlib.h"

/* The header's version is the build's: an array of -1 elements does not compile. */
typedef char version_is_that_of_the_build[ZTLIB_VERSION_MAJOR == BUILD_MAJOR &&
                                                  ZTLIB_VERSION_MINOR == BUILD_MINOR &&
                                                  ZTLIB_VERSION_PATCH == BUILD_PATCH
                                              ? 1
                                              : -1];

int main(void) {
  return 0;
}
