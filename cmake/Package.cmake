# datastorage_package(<package> <option> <debian>): finds what an optional part of the build needs, or says
# how to get it and which option leaves that part out.
function(datastorage_package package option debian)
  find_package(${package} QUIET)
  if(NOT ${package}_FOUND)
    message(FATAL_ERROR "${package} was not found. Install it (Debian: ${debian}), "
      "or leave out what needs it with -D${option}=OFF.")
  endif()
endfunction()
