#include "tests/system/support/temporary_directory.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace packetdb::host::test {

namespace {

// Leaves some 60 bytes of a socket's path for the names below.
constexpr std::size_t kLongestBase = 40;

std::string Base() {
  const char* given = std::getenv("TMPDIR");
  const std::string base = given == nullptr ? "" : given;
  return base.empty() || base.size() > kLongestBase ? "/tmp" : base;
}

}  // namespace

TemporaryDirectory::TemporaryDirectory(const std::string& name)
    : path_(Base() + "/" + name + ".XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), path_);
  }
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::File(const std::string& name, const std::string& bytes) const {
  std::ofstream file(Path(name), std::ios::binary);
  file.exceptions(std::ios::badbit | std::ios::failbit);
  file << bytes;
  file.close();
  return Path(name);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::system_error(errno, std::generic_category(), path);
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace packetdb::host::test
