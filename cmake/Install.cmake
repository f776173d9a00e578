# Installs the library (component runtime), the files that are needed to build programs with it (dev), and the
# command-line tool (tool).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/DataStorage)
install(TARGETS DataStorage EXPORT DataStorageTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# Callers include the headers outside folders `detail`; those inside serve other headers and the sources.
install(DIRECTORY Base/DataStorage DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev
  FILES_MATCHING REGEX "\\.(h|def)$")
install(EXPORT DataStorageTargets NAMESPACE DataStorage:: DESTINATION ${package_dir} COMPONENT dev)

configure_package_config_file(cmake/DataStorageConfig.cmake.in DataStorageConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(DataStorageConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/DataStorageConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/DataStorageConfigVersion.cmake DESTINATION ${package_dir} COMPONENT dev)

set(pkgconfig_flags ${DATASTORAGE_CALLER_FLAGS})
if(NOT BUILD_SHARED_LIBS)
  list(APPEND pkgconfig_flags -DDATASTORAGE_STATIC)
endif()
list(JOIN pkgconfig_flags " " pkgconfig_flags)

cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  OUTPUT_VARIABLE pkgconfig_prefix)
cmake_path(APPEND pkgconfig_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})  # an absolute path has no prefix
cmake_path(APPEND pkgconfig_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(cmake/datastorage.pc.in datastorage.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/datastorage.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

if(TARGET datastorage_python)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND EXISTS /etc/debian_version)
    set(python_dir lib/python3/dist-packages)
  else()
    set(python_dir lib/python${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}/site-packages)
  endif()
  set(DATASTORAGE_PYTHON_DIR ${python_dir} CACHE STRING "Where the Python module is installed")
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
    BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${DATASTORAGE_PYTHON_DIR}/datastorage OUTPUT_VARIABLE library_dir)
  set_target_properties(datastorage_python PROPERTIES INSTALL_RPATH "$ORIGIN/${library_dir}")
  set(package ${PROJECT_BINARY_DIR}/python/datastorage)
  install(DIRECTORY ${package} ${package}-${PROJECT_VERSION}.dist-info DESTINATION ${DATASTORAGE_PYTHON_DIR} COMPONENT python
    PATTERN "_core.*.so" EXCLUDE PATTERN "__pycache__" EXCLUDE)
  install(TARGETS datastorage_python LIBRARY DESTINATION ${DATASTORAGE_PYTHON_DIR}/datastorage COMPONENT python)
endif()
if(TARGET dseries)
  set_target_properties(dseries PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS dseries RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
endif()
if(TARGET dseries_documents)
  get_target_property(pages dseries_documents BINARY_DIR)
  install(FILES ${pages}/dseries.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
  install(FILES ${pages}/dseries.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME dseries COMPONENT tool)
  install(FILES ${pages}/dseries.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
    RENAME _dseries COMPONENT tool)
  install(FILES ${pages}/dseries.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
endif()
