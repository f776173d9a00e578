#pragma once

/// @file
/// What the shared library exports.

/// @def DATASTORAGE_EXPORT
/// Exports a declaration from the shared library; all others are hidden. Users of the static library define
/// DATASTORAGE_STATIC (the CMake target does so). Type arguments of exported templates need it too: an
/// instantiation with a hidden type is hidden.
#if defined(__GNUC__) && __cplusplus < 202002L
#error "DataStorage needs C++20: -std=c++20, or in CMake target_link_libraries with DataStorage::DataStorage"
#endif

#if defined(DATASTORAGE_STATIC)
#define DATASTORAGE_EXPORT
#elif defined(_WIN32)
#if defined(DATASTORAGE_BUILDING)
#define DATASTORAGE_EXPORT __declspec(dllexport)
#else
#define DATASTORAGE_EXPORT __declspec(dllimport)
#endif
#else
#define DATASTORAGE_EXPORT __attribute__((visibility("default")))
#endif
