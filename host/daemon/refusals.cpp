#include "host/daemon/refusals.h"

#include <fmt/format.h>

#include "host/log/log.h"

namespace packetdb::host {

void RefusalLog::Tell(Clock::time_point now, std::string_view reason) {
  constexpr std::chrono::minutes kPause(1);
  ++untold_;
  if (now < next_line_) {
    return;
  }
  WriteLog(kNoticeLevel, fmt::format("refused {} connection{}, the last one: {}", untold_,
                                     untold_ == 1 ? "" : "s", reason));
  untold_ = 0;
  next_line_ = now + kPause;
}

}  // namespace packetdb::host
