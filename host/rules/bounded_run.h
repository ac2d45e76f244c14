// Another program's output, within bounds of time and size.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

namespace packetdb::host {

// Why there is no output; what() is one line with the program's name.
class RunError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct RunLimits {
  std::chrono::milliseconds patience{10000};
  std::size_t output_bytes = 0;
};

// Runs the program that comes first in `arguments`, found as execvp does or else in the folders of
// the system's own programs, and waits for its end. Returns what it printed when it ended well.
// Throws RunError when it cannot be run, ended otherwise (with what it printed on stderr first),
// printed more or took longer; then it is killed.
std::string RunBounded(const std::vector<std::string>& arguments, const RunLimits& limits);

}  // namespace packetdb::host
