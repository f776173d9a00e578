#pragma once

/// @file
/// What the shared library shows.

/// @def DATASTORAGE_EXPORT
/// Marks what callers of the library may use; everything else stays hidden. Callers of the static library
/// define DATASTORAGE_STATIC (the CMake target does it for them).
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
