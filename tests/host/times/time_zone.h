// The time zone of this process, for tests of local time.
#pragma once

#include <optional>
#include <string>

namespace packetdb::host::test {

// In force while it lives.
class TimeZone {
 public:
  explicit TimeZone(const char* name);
  ~TimeZone();
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  std::optional<std::string> before_;
};

}  // namespace packetdb::host::test
