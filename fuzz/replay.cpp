// Runs the target once for each file of the folders that are given: what a fuzzer once found stays
// found, with any compiler.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/target.h"

namespace {

std::vector<std::uint8_t> Read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      const std::vector<std::uint8_t> data = Read(entry.path());
      std::printf("%s\n", entry.path().filename().c_str());
      std::fflush(stdout);
      packetdb::fuzz::TryInput(data.data(), data.size());
      ++files;
    }
  }
  std::printf("%zu inputs\n", files);
  return files == 0 ? 1 : 0;
}
