// The lines that are written to the log while it lives, without time and level.
#pragma once

#include <string>
#include <vector>

#include "host/log/log.h"
#include "tests/host/log/captured_stderr.h"

namespace packetdb::host::test {

class LogLines {
 public:
  LogLines() { ConfigureLog({LogTarget::kJournal, kDefaultLogLevel, "test"}); }
  ~LogLines() { ConfigureLog({}); }
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

  std::vector<std::string> All() const {
    std::vector<std::string> lines;
    const std::string text = stderr_.Text();
    for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos;
         begin = end + 1) {
      const std::size_t behind_level = text.find('>', begin) + 1;
      lines.push_back(text.substr(behind_level, end - behind_level));
    }
    return lines;
  }

 private:
  packetdb::test::CapturedStderr stderr_;
};

}  // namespace packetdb::host::test
