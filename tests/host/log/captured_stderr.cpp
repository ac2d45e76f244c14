#include "tests/host/log/captured_stderr.h"

#include <unistd.h>

namespace packetdb::test {

CapturedStderr::CapturedStderr() : file_(std::tmpfile()), saved_(dup(STDERR_FILENO)) {
  dup2(fileno(file_), STDERR_FILENO);
}

CapturedStderr::~CapturedStderr() {
  dup2(saved_, STDERR_FILENO);
  close(saved_);
  std::fclose(file_);
}

std::string CapturedStderr::Text() const {
  std::fflush(stderr);
  std::string text;
  char buffer[4096];
  ssize_t got = 0;
  off_t offset = 0;
  while ((got = pread(fileno(file_), buffer, sizeof buffer, offset)) > 0) {
    text.append(buffer, static_cast<std::size_t>(got));
    offset += got;
  }
  return text;
}

}  // namespace packetdb::test
