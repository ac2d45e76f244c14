// An option's value that makes no sense.
#pragma once

#include <stdexcept>

namespace packetdb::host {

// what() says in one line what was given, why it cannot be used, and what can.
class UsageError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// An expression that makes no sense: what() says so in several lines, with the place, as they are
// to be shown.
class UnreadableExpression : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

}  // namespace packetdb::host
