// What a piece of code writes to a stream.
#pragma once

#include <cstdio>
#include <functional>
#include <string>

namespace packetdb::host::test {

// Collects what is written to standard output or standard error while it lives.
class Captured {
 public:
  explicit Captured(std::FILE* stream);
  ~Captured();
  Captured(const Captured&) = delete;
  Captured& operator=(const Captured&) = delete;

  std::string Text() const;

 private:
  std::FILE* stream_;
  std::FILE* file_;
  int saved_;
};

// What `print` writes to the file that it is given.
std::string Printed(const std::function<void(std::FILE*)>& print);

}  // namespace packetdb::host::test
