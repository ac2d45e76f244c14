#include "tests/host/cli/captured.h"

#include <fcntl.h>
#include <unistd.h>

namespace packetdb::host::test {
namespace {

std::string Contents(std::FILE* file) {
  std::fflush(file);
  std::string text;
  char buffer[4096];
  ssize_t got = 0;
  while ((got = pread(fileno(file), buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0) {
    text.append(buffer, static_cast<std::size_t>(got));
  }
  return text;
}

}  // namespace

Captured::Captured(std::FILE* stream) : stream_(stream), file_(std::tmpfile()) {
  std::fflush(stream_);
  saved_ = fcntl(fileno(stream_), F_DUPFD_CLOEXEC, 0);
  dup2(fileno(file_), fileno(stream_));
}

Captured::~Captured() {
  std::fflush(stream_);
  dup2(saved_, fileno(stream_));
  close(saved_);
  std::fclose(file_);
}

std::string Captured::Text() const {
  std::fflush(stream_);
  return Contents(file_);
}

std::string Printed(const std::function<void(std::FILE*)>& print) {
  std::FILE* const file = std::tmpfile();
  print(file);
  std::string text = Contents(file);
  std::fclose(file);
  return text;
}

}  // namespace packetdb::host::test
