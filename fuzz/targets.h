#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>

// Each of these reads the bytes as one kind of input and ends the program when the library breaks a
// guarantee: what was read can be written and reads back equal, and a failed read leaves the object
// unchanged. For the fuzzer and for tests; the result is always 0.

/// A series file: checks it, reads it, appends to it, empties it and appends again.
int FuzzSeries(const std::uint8_t* bytes, std::size_t n);
/// The raw forms of number arrays and data arrays in one and two dimensions.
int FuzzRawArrays(const std::uint8_t* bytes, std::size_t n);
/// The objects of every persistent class in a binary and in an ASCII tagged stream.
int FuzzBinaryTagged(const std::uint8_t* bytes, std::size_t n);
int FuzzAsciiTagged(const std::uint8_t* bytes, std::size_t n);
/// Columns of numbers as text.
int FuzzColumns(const std::uint8_t* bytes, std::size_t n);
/// A grey image as a bitmap.
int FuzzBitmap(const std::uint8_t* bytes, std::size_t n);
/// The records of series files: dimensions and tags.
int FuzzRecords(const std::uint8_t* bytes, std::size_t n);

/// A text of numbers, and a picture or a NumPy array, as the tool reads them.
int FuzzTexts(const std::uint8_t* bytes, std::size_t n);
int FuzzPictures(const std::uint8_t* bytes, std::size_t n);

struct FuzzTarget {
  const char* name;  // also of its input folders
  int (*run)(const std::uint8_t* bytes, std::size_t n);
};

/// Prints a target in test results.
inline void PrintTo(const FuzzTarget& target, std::ostream* out) { *out << target.name; }

inline constexpr FuzzTarget fuzz_targets[] = {
    {"series", FuzzSeries},
    {"raw_arrays", FuzzRawArrays},
    {"binary_tagged", FuzzBinaryTagged},
    {"ascii_tagged", FuzzAsciiTagged},
    {"columns", FuzzColumns},
    {"bitmap", FuzzBitmap},
    {"records", FuzzRecords},
    {"texts", FuzzTexts},
    {"pictures", FuzzPictures},
};
