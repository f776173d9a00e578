# Installs the library into a scratch prefix, and builds and runs a project that finds it there.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(failed)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
foreach(component runtime dev)
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${SCRATCH}/prefix --component ${component})
endforeach()
run(${CMAKE_COMMAND} -S ${ROOT}/tests/consumer -B ${SCRATCH}/build -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX}
  -DCMAKE_PREFIX_PATH=${SCRATCH}/prefix -DCMAKE_BUILD_TYPE=Debug)
run(${CMAKE_COMMAND} --build ${SCRATCH}/build)
run(${SCRATCH}/build/consumer)
