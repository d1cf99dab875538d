/* Finds the library at run time, so that the program starts without it, too. */
#include <stdio.h>
#include <ztlib.h>

#ifdef _WIN32
#include <windows.h>
static void* find(const char* name) {
  static HMODULE library;
  if (!library) library = LoadLibraryA("ztlib.dll");
  return library ? (void*)GetProcAddress(library, name) : NULL;
}
#else
#include <dlfcn.h>
static void* find(const char* name) {
  static void* library;
  char file[32];
  snprintf(file, sizeof file, "libztlib.so.%d", ZTLIB_VERSION_MAJOR);
  if (!library) library = dlopen(file, RTLD_NOW);
  return library ? dlsym(library, name) : NULL;
}
#endif

static void tell(const char* failure) {
  printf("failed: %s\n", failure);
}

int main(void) {
  void (*setHandler)(ztlib_exception_handler) = find("ztlib_registerExceptionHandler");
  int32_t (*chooseScale)(int32_t, int32_t, int32_t, int32_t) = find("ztlib_getScaleDownByPixel3");
  if (!setHandler || !chooseScale) {
    fputs("there is no ztlib\n", stderr);
    return 1;
  }
  setHandler(tell);
  printf("1920 x 1080 in a window 500 wide: scaled down %d times\n",
         (int)chooseScale(500, ZTLIB_RGB, 1920, 1080));
  chooseScale(500, 99, 1920, 1080); /* there is no such pixel format */
  return 0;
}
