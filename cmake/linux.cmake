# Builds for Linux on another processor with the cross compiler of the distribution: included by the files that name
# the processor.
set(CMAKE_SYSTEM_NAME Linux)
set(prefix ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
set(CMAKE_C_COMPILER ${prefix}-gcc)  # for GoogleTest
set(CMAKE_CXX_COMPILER ${prefix}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests and tools run on the building machine under emulation.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${CMAKE_SYSTEM_PROCESSOR};-L;/usr/${prefix})

set(DATASTORAGE_FIGURES OFF CACHE BOOL "Needs a library of the other platform")
