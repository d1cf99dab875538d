/* The public header compiles alone, as strict C and, through header_alone.cpp, as C++. */
#include "include/ztlib.h"

int main(void) {
  return 0;
}
