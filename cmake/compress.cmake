# Compresses the manual pages, as Debian packages require.
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/dseries.1)
foreach(page IN LISTS pages)
  execute_process(COMMAND gzip -9n ${page} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
