// Where log lines go: the host's side of the logging facility, and the host's own lines.
//
// The facility (platform/log.h) works from the first line on, with the defaults below; ConfigureLog
// changes them at start. Lines are written whole, one write each, and control bytes in them are
// shown escaped, so that no text can forge a line.
#pragma once

#include <string>
#include <string_view>

namespace packetdb::host {

enum class LogTarget {
  kStderr,   // with time and level, for people
  kJournal,  // standard error with a <priority> in front, as the system's journal reads it
  kSyslog,   // the system log of syslog(3), facility daemon
};

// Levels as in platform/log.h: 0 silent, 1 failures, 2 notices, 3 empty results, 4 queries, 5
// traces.
inline constexpr int kFailureLevel = 1;
inline constexpr int kNoticeLevel = 2;
inline constexpr int kLowestLogLevel = 0;
inline constexpr int kHighestLogLevel = 5;
inline constexpr int kDefaultLogLevel = 2;

struct LogOptions {
  LogTarget target = LogTarget::kStderr;
  int level = kDefaultLogLevel;
  std::string program = "packetdb";  // names the process in the system log

  bool operator==(const LogOptions&) const = default;
};

void ConfigureLog(const LogOptions& options);

// Takes effect with the next line; a level out of range becomes the nearest one in it.
void SetLogLevel(int level);
int LogLevel();

// Writes one line of the host's own, when `level` is wanted.
void WriteLog(int level, std::string_view text);

}  // namespace packetdb::host
