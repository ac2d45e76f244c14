// A fresh directory that goes away with its owner.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace packetdb::host::test {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string Path(std::string_view name = {}) const;
  // Writes a file and returns its path.
  std::string File(std::string_view name, const std::vector<std::uint8_t>& bytes) const;

 private:
  std::string path_;
};

}  // namespace packetdb::host::test
