# A project of another kind uses the library in every way there is: installed as a shared and as a static library,
# found by CMake and by pkg-config, and as a subdirectory.
cmake_minimum_required(VERSION 3.21)
include(${CMAKE_CURRENT_LIST_DIR}/functions.cmake)

set(consumer ${CMAKE_CURRENT_LIST_DIR}/consumer)
set(project ${CMAKE_COMMAND} -S ${consumer} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX})
file(REMOVE_RECURSE ${SCRATCH})

function(install build prefix)
  foreach(component IN LISTS ARGN)
    run(ignored ${CMAKE_COMMAND} --install ${build} --prefix ${prefix} --component ${component})
  endforeach()
endfunction()

function(consume prefix)
  run(ignored ${project} -B ${prefix}-cmake -DCMAKE_PREFIX_PATH=${prefix})
  run(ignored ${CMAKE_COMMAND} --build ${prefix}-cmake)
  run(ignored ${prefix}-cmake/consumer)

  find_program(pkg_config pkg-config)
  if(pkg_config)
    set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
    run(flags ${pkg_config} --cflags --libs "datastorage >= 1.0")
    separate_arguments(flags UNIX_COMMAND "${flags}")
    run(ignored ${CXX} -std=c++20 ${consumer}/main.cpp ${flags} -Wl,-rpath,${prefix}/${LIBDIR}
      -o ${prefix}-pkg-config)
    run(ignored ${prefix}-pkg-config)
  endif()
endfunction()

# What is installed: the headers are those that DataStorage.h brings in.
function(contents prefix)
  file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${prefix} ${prefix}/*)
  file(GLOB flavour RELATIVE ${prefix} ${prefix}/${LIBDIR}/cmake/DataStorage/DataStorageTargets-*.cmake)
  public_headers(headers ${prefix}/include)
  list(TRANSFORM headers PREPEND include/)
  set(expected ${headers} ${flavour} ${ARGN})
  foreach(file IN ITEMS DataStorageConfig DataStorageConfigVersion DataStorageTargets)
    list(APPEND expected ${LIBDIR}/cmake/DataStorage/${file}.cmake)
  endforeach()
  same("installed files" "${files}" "${expected};${LIBDIR}/pkgconfig/datastorage.pc")
endfunction()

set(shared libDataStorage.so libDataStorage.so.1 libDataStorage.so.${VERSION})
list(TRANSFORM shared PREPEND ${LIBDIR}/)
install(${BUILD} ${SCRATCH}/shared runtime dev)
contents(${SCRATCH}/shared ${shared})
consume(${SCRATCH}/shared)

if(TOOL)
  install(${BUILD} ${SCRATCH}/tool runtime tool)
  file(GLOB_RECURSE files RELATIVE ${SCRATCH}/tool ${SCRATCH}/tool/*)
  list(REMOVE_ITEM files ${shared})
  same("files of the tool" "${files}"
    "bin/dseries;share/bash-completion/completions/dseries;share/man/man1/dseries.1")
  run(ignored ${SCRATCH}/tool/bin/dseries --version)
endif()

set(build ${SCRATCH}/subdirectory)
run(ignored ${project} -B ${build} -DDATASTORAGE_SOURCE=${ROOT} -DCMAKE_UNITY_BUILD=ON)
run(ignored ${CMAKE_COMMAND} --build ${build} --parallel)
run(ignored ${build}/consumer)
run(ignored ${CMAKE_COMMAND} --install ${build} --prefix ${build}-prefix)
file(GLOB_RECURSE files RELATIVE ${build}-prefix ${build}-prefix/*)
same("files that a parent project installs" "${files}" bin/consumer)

run(ignored ${project} -B ${build} -DDATASTORAGE_INSTALL=ON)
install(${build} ${SCRATCH}/static runtime dev)
contents(${SCRATCH}/static ${LIBDIR}/libDataStorage.a)
consume(${SCRATCH}/static)
