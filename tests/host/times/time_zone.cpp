#include "tests/host/times/time_zone.h"

#include <cstdlib>
#include <ctime>

namespace packetdb::host::test {

TimeZone::TimeZone(const char* name) {
  if (const char* before = std::getenv("TZ")) before_ = before;
  setenv("TZ", name, 1);
  tzset();
}

TimeZone::~TimeZone() {
  if (before_) {
    setenv("TZ", before_->c_str(), 1);
  } else {
    unsetenv("TZ");
  }
  tzset();
}

}  // namespace packetdb::host::test
