// A journal, a group or their directory cannot be used.
#pragma once

#include <stdexcept>
#include <string>

namespace packetdb::host {

// what() says in one line what failed, on what, and what to do about it where that is known.
class JournalError : public std::runtime_error {
 public:
  explicit JournalError(const std::string& text, int result = 0)
      : std::runtime_error(text), result_(result) {}

  // The code of host/record_file/result.h that is behind it; 0 when none is.
  int result() const { return result_; }

 private:
  int result_;
};

// "cannot open journal PATH: REASON", for a code of host/record_file/result.h.
[[noreturn]] void ThrowCannotOpen(const std::string& path, int result);

}  // namespace packetdb::host
