// The lines that the system under test writes to the system log, which this program keeps instead:
// the dynamic linker prefers a program's own slput.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace packetdb::faults {

struct LogLine {
  int priority = 0;
  std::string text;
};

// Those written since the start or the last ForgetLogLines, by any thread.
std::vector<LogLine> LogLines();
void ForgetLogLines();

// "3 text; 4 text": for a message about them.
std::string Describe(const std::vector<LogLine>& lines);

}  // namespace packetdb::faults
