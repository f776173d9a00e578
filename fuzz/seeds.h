#pragma once

#include <string>
#include <vector>

/// An input that the library itself wrote, to start from.
struct Seed {
  std::string target;
  std::string name;
  std::string bytes;
};

std::vector<Seed> Seeds();
