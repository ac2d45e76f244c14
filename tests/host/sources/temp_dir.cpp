#include "tests/host/sources/temp_dir.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace packetdb::host::test {

TempDir::TempDir() : path_(std::filesystem::temp_directory_path() / "packetdb sources XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category());
  chmod(path_.c_str(), 0755);  // for a test that gives up its rights
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::Path(std::string_view name) const {
  return name.empty() ? path_ : path_ + "/" + std::string(name);
}

std::string TempDir::File(std::string_view name, const std::vector<std::uint8_t>& bytes) const {
  // File systems sync a file that is cut and written again, which takes its time.
  std::filesystem::remove(Path(name));
  std::ofstream file(Path(name), std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + Path(name));
  return Path(name);
}

}  // namespace packetdb::host::test
