// One line a minute about something that may happen with every event.
#pragma once

#include <cstdint>
#include <string_view>

namespace packetdb::host {

// Times are those of the events, in seconds: a clock that was set, either way, lets the next line
// out.
class LimitedLog {
 public:
  // Counts so many events and writes a line at level 1, unless one was written less than a minute
  // ago: "SUBJECT: 1 event WHAT: REASON", with the number of those counted since the line before.
  // With 0 it catches up on a line that was due and had to wait.
  void Tell(std::int64_t now, std::string_view subject, std::string_view what,
            std::string_view reason, std::uint64_t events = 1);

 private:
  std::uint64_t untold_ = 0;
  bool has_told_ = false;
  std::int64_t told_at_ = 0;
};

}  // namespace packetdb::host
