#include "tests/headers/header_alone.c"
