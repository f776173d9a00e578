# datastorage_missing(<package> <option> <debian>): stops because an optional part of the build needs a
# missing package; the message names the Debian package and the option that leaves that part out.
function(datastorage_missing package option debian)
  message(FATAL_ERROR "${package} was not found. Install it (Debian: ${debian}), "
    "or leave out what needs it with -D${option}=OFF.")
endfunction()

# datastorage_package(<package> <option> <debian>): finds a package that an optional part of the build needs.
# A macro, so that the caller gets the variables that the package sets. Where Cross.cmake has made the targets of the
# package, they are named behind; then it is not searched for.
macro(datastorage_package package option debian)
  if(NOT TARGET "${ARGN}")
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
      datastorage_missing(${package} ${option} ${debian})
    endif()
  endif()
endmacro()
