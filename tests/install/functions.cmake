# run(<variable> <command> <argument>...): sets the variable to the output; a failure ends the test.
function(run variable)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  if(failed)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\n${output}${errors}")
  endif()
  set(${variable} "${output}" PARENT_SCOPE)
endfunction()

# same(<what> <list> <list>): fails unless both lists have the same entries.
function(same what is should)
  list(SORT is)
  list(SORT should)
  if(NOT is STREQUAL should)
    set(surplus ${is})
    list(REMOVE_ITEM surplus ${should})
    list(REMOVE_ITEM should ${is})
    message(SEND_ERROR "${what}: unexpected are (${surplus}), missing are (${should})")
  endif()
endfunction()

# public_headers(<variable> <folder>): sets the variable to the headers that DataStorage.h includes, as paths
# in that folder.
function(public_headers variable folder)
  run(headers ${CXX} -std=c++20 -MM -I${folder} ${folder}/DataStorage/DataStorage.h)
  string(REPLACE "${folder}/" "" headers "${headers}")
  string(REGEX MATCHALL "DataStorage/[^ \n]+" headers "${headers}")
  set(${variable} ${headers} PARENT_SCOPE)
endfunction()
