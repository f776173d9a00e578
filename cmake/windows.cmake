# Builds for Windows (x64) with the MinGW-w64 compiler of the distribution:
#   cmake --toolchain cmake/windows.cmake ...
# The variant with POSIX threads, because the other one has no std::thread.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)  # for GoogleTest
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests and tools run on the building machine under Wine.
find_program(wine NAMES wine wine64 PATHS /usr/lib/wine)
if(wine)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${wine})
endif()

set(DATASTORAGE_FIGURES OFF CACHE BOOL "The distribution has no cairo for Windows")
