#include "host/intake/limited_log.h"

#include <fmt/format.h>

#include "host/log/log.h"

namespace packetdb::host {

namespace {

constexpr std::int64_t kSeconds = 60;

}  // namespace

void LimitedLog::Tell(std::int64_t now, std::string_view subject, std::string_view what,
                      std::string_view reason, std::uint64_t events) {
  untold_ += events;
  if (untold_ == 0) {
    return;
  }
  if (has_told_ && now >= told_at_ && now - told_at_ < kSeconds) {
    return;
  }
  WriteLog(kFailureLevel, fmt::format("{}: {} event{} {}: {}", subject, untold_,
                                      untold_ == 1 ? "" : "s", what, reason));
  untold_ = 0;
  has_told_ = true;
  told_at_ = now;
}

}  // namespace packetdb::host
