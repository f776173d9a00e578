# Whether the Python module is built: where pybind11 and NumPy are there, unless the option says otherwise. They come
# with the distribution, whose interpreter need not be the first one in the path.
if(NOT Python_EXECUTABLE AND EXISTS /usr/bin/python3)
  set(Python_EXECUTABLE /usr/bin/python3)
endif()
if((DATASTORAGE_TOOLS AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CROSSCOMPILING) OR DATASTORAGE_PYTHON)
  find_package(Python 3.9 QUIET COMPONENTS Interpreter Development.Module)
  find_package(pybind11 2.10 QUIET CONFIG)
endif()
if(NOT DEFINED DATASTORAGE_PYTHON)  # not in the cache: pybind11 may be installed later
  set(DATASTORAGE_PYTHON ${pybind11_FOUND})
endif()
if(DATASTORAGE_PYTHON AND NOT pybind11_FOUND)
  datastorage_missing(pybind11 DATASTORAGE_PYTHON "pybind11-dev python3-dev python3-numpy")
endif()
