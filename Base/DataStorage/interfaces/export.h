#pragma once

/// @file
/// What the shared library exports.

/// @def DATASTORAGE_EXPORT
/// Exports a class or a function from the shared library; all others are hidden. Users of the static library
/// define DATASTORAGE_STATIC (the CMake target does so). Type arguments of exported templates need it too: an
/// instantiation with a hidden type is hidden.
///
/// @def DATASTORAGE_TEMPLATE
/// Stands in front of the name of a class template whose code is in the headers. Its instantiations are
/// visible to all modules of a program, because exceptions and dynamic casts compare their types. Windows
/// compares them by name.
///
/// @def DATASTORAGE_EXTERN
/// Declares an instantiation of a class template that the library contains. GCC for Windows neither exports
/// nor imports inline functions, so there callers instantiate what is inline themselves; the rest links all
/// the same.
///
/// @def DATASTORAGE_INSTANCE
/// Stands in `template class`, in front of its name, where the library instantiates it: other compilers for
/// Windows export it there, and not where it is declared.
#if defined(__GNUC__) && __cplusplus < 202002L
#error "DataStorage needs C++20: -std=c++20, or in CMake target_link_libraries with DataStorage::DataStorage"
#endif

#if defined(DATASTORAGE_STATIC)
#define DATASTORAGE_EXPORT
#define DATASTORAGE_TEMPLATE
#elif !defined(_WIN32)
#define DATASTORAGE_EXPORT __attribute__((visibility("default")))
#define DATASTORAGE_TEMPLATE DATASTORAGE_EXPORT
#elif defined(DATASTORAGE_BUILDING)
#define DATASTORAGE_EXPORT __declspec(dllexport)
#define DATASTORAGE_TEMPLATE
#else
#define DATASTORAGE_EXPORT __declspec(dllimport)
#define DATASTORAGE_TEMPLATE
#endif

#if defined(__MINGW32__) && !defined(DATASTORAGE_STATIC) && !defined(DATASTORAGE_BUILDING)
#define DATASTORAGE_EXTERN(...)
#elif defined(_MSC_VER) && defined(DATASTORAGE_BUILDING)
#define DATASTORAGE_EXTERN(...) extern template class __VA_ARGS__
#else
#define DATASTORAGE_EXTERN(...) extern template class DATASTORAGE_EXPORT __VA_ARGS__
#endif

#if defined(_MSC_VER) && defined(DATASTORAGE_BUILDING)
#define DATASTORAGE_INSTANCE DATASTORAGE_EXPORT
#else
#define DATASTORAGE_INSTANCE
#endif
