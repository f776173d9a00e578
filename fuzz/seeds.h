#pragma once

#include <string>
#include <vector>

/// An input to start from, written by the library.
struct Seed {
  std::string target;
  std::string name;
  std::string bytes;
};

std::vector<Seed> Seeds();
