# Cross-builds for 64-bit Windows with Debian's mingw-w64.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The "posix" flavour has the threads library that the locks stand on.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

cmake_path(SET ZTLIB_WINDOWS_DEPS NORMALIZE
           ${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps/prefix)
list(APPEND CMAKE_FIND_ROOT_PATH ${ZTLIB_WINDOWS_DEPS} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${ZTLIB_WINDOWS_DEPS}/lib/pkgconfig)
