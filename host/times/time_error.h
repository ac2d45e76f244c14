// A text that is no time.
#pragma once

#include <stdexcept>

namespace packetdb::host {

// what() says in one line what was given, why it is not understood, and what can be given.
class TimeError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

}  // namespace packetdb::host
