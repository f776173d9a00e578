# datastorage_missing(<package> <option> <debian>): stops where a package is missing that an optional part of the
# build needs, and says how to get it and which option leaves that part out.
function(datastorage_missing package option debian)
  message(FATAL_ERROR "${package} was not found. Install it (Debian: ${debian}), "
    "or leave out what needs it with -D${option}=OFF.")
endfunction()

# datastorage_package(<package> <option> <debian>): finds what an optional part of the build needs.
# A macro, because what a package sets is for the caller.
macro(datastorage_package package option debian)
  find_package(${package} QUIET)
  if(NOT ${package}_FOUND)
    datastorage_missing(${package} ${option} ${debian})
  endif()
endmacro()
