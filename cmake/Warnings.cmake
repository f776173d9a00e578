# The warnings for all code of this project; linked privately, so that callers keep their own.
add_library(datastorage_warnings INTERFACE)
target_compile_options(datastorage_warnings INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow>
  $<$<AND:$<BOOL:${DATASTORAGE_WERROR}>,$<CXX_COMPILER_ID:GNU,Clang,AppleClang>>:-Werror>)
