// A file that is damaged and made whole again, thousands of times.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/record_file/descriptor.h"

namespace packetdb::faults {

using Bytes = std::vector<std::byte>;

// Throws std::runtime_error when the file cannot be read.
Bytes ReadFile(const std::string& path);

// All operations throw std::runtime_error when the system refuses them.
class PatchedFile {
 public:
  // Makes a file at `path` of these bytes, which is what it is when it is whole.
  PatchedFile(std::string path, Bytes sound);

  const std::string& path() const { return path_; }
  const Bytes& sound() const { return sound_; }
  const host::Descriptor& file() const { return file_; }

  void FlipBit(std::uint64_t offset, unsigned bit);
  void Write(std::uint64_t offset, const std::byte* bytes, std::uint64_t size);
  void SetLength(std::uint64_t length);

  // Undoes what was done by these operations.
  void Restore();
  // Undoes what anybody has done to the file.
  void Rewrite();

 private:
  struct Range {
    std::uint64_t begin;
    std::uint64_t end;
  };
  void Put(std::uint64_t offset, const std::byte* bytes, std::uint64_t size);

  std::string path_;
  Bytes sound_;
  host::Descriptor file_;
  std::vector<Range> patches_;
  std::uint64_t length_;
};

}  // namespace packetdb::faults
