// Where a benchmark makes its files.
#pragma once

#include <string>

namespace packetdb::bench {

// A fresh folder in another one, removed with everything in it.
class Scratch {
 public:
  // Throws std::runtime_error when no folder can be made in `parent`.
  explicit Scratch(const std::string& parent);
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch();

  const std::string& path() const { return path_; }
  std::string NewPath();  // in the folder; nothing exists there

  // Waits until the file system has written everything, so that what is measured next does not pay
  // for what was measured before.
  void Settle() const;

 private:
  std::string path_;
  int paths_ = 0;
};

// The type of the file system that `path` is on, as statfs names it: "ext4", "tmpfs", or its
// number.
std::string FileSystemOf(const std::string& path);

}  // namespace packetdb::bench
