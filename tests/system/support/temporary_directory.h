// A fresh directory that goes away with its owner.
#pragma once

#include <string>

namespace packetdb::host::test {

class TemporaryDirectory {
 public:
  // Its name starts with `name`, which may hold blanks. It lies under TMPDIR, or under /tmp where
  // that is missing or too long for the paths of sockets.
  explicit TemporaryDirectory(const std::string& name = "pdb");
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string Path(const std::string& name) const { return path_ + "/" + name; }
  // Writes a file and returns its path.
  std::string File(const std::string& name, const std::string& bytes) const;

 private:
  std::string path_;
};

// All of a file; throws when it cannot be read.
std::string ReadFile(const std::string& path);

}  // namespace packetdb::host::test
