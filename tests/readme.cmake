cmake_minimum_required(VERSION 3.21)

# The first page shows examples/quickstart.cpp and what it prints, to the letter.
file(READ ${ROOT}/README.md readme)
file(READ ${ROOT}/examples/quickstart.cpp source)
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
foreach(block IN ITEMS "```cpp\n${source}```" "```text\n${output}```")
  string(FIND "${readme}" "${block}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "README.md should contain\n${block}")
  endif()
endforeach()
