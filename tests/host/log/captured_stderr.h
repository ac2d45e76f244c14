// Collects what is written to standard error while it lives.
#pragma once

#include <cstdio>
#include <string>

namespace packetdb::test {

class CapturedStderr {
 public:
  CapturedStderr();
  ~CapturedStderr();
  CapturedStderr(const CapturedStderr&) = delete;
  CapturedStderr& operator=(const CapturedStderr&) = delete;

  std::string Text() const;

 private:
  std::FILE* file_;
  int saved_;
};

}  // namespace packetdb::test
