// make_seeds FOLDER: writes the seeds of each target into a folder of its name.
#include <filesystem>
#include <fstream>

#include "seeds.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  for (const Seed& seed : Seeds()) {
    const std::filesystem::path folder = std::filesystem::path(argv[1]) / seed.target;
    std::filesystem::create_directories(folder);
    if (!(std::ofstream(folder / seed.name, std::ios::binary) << seed.bytes).flush()) return 1;
  }
}
