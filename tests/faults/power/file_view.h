// The bytes of a file as they are now, to be changed without changing the file.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace packetdb::faults {

class FileView {
 public:
  // Throws std::runtime_error.
  explicit FileView(const std::string& path);
  FileView(const FileView&) = delete;
  FileView& operator=(const FileView&) = delete;
  ~FileView();

  // Pages that nobody changes take no memory of this process.
  std::span<char> bytes() { return bytes_; }

 private:
  std::span<char> bytes_;
};

}  // namespace packetdb::faults
