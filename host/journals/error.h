// A journal, a group or their directory cannot be used.
#pragma once

#include <stdexcept>

namespace packetdb::host {

// what() says in one line what failed, on what, and what to do about it where that is known.
class JournalError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace packetdb::host
