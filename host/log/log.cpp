#include "host/log/log.h"

#include <algorithm>
#include <spdlog/logger.h>

#include "host/log/escape.h"
#include "host/log/sinks.h"
#include "platform/log.h"

namespace packetdb::host {

namespace {

std::shared_ptr<spdlog::logger>& Logger() {
  static std::shared_ptr<spdlog::logger> logger = MakeLogger(LogOptions{});
  return logger;
}

spdlog::level::level_enum SpdlogLevel(int level) {
  constexpr spdlog::level::level_enum kLevels[] = {spdlog::level::err,   spdlog::level::err,
                                                   spdlog::level::info,  spdlog::level::info,
                                                   spdlog::level::debug, spdlog::level::trace};
  return kLevels[std::clamp(level, kLowestLogLevel, kHighestLogLevel)];
}

}  // namespace

void ConfigureLog(const LogOptions& options) {
  Logger() = MakeLogger(options);
  SetLogLevel(options.level);
}

void SetLogLevel(int level) {
  XeltLog_GetProps_cl_module()->m_Level = std::clamp(level, kLowestLogLevel, kHighestLogLevel);
}

int LogLevel() { return XeltLog_GetProps_cl_module()->m_Level; }

void WriteLog(int level, std::string_view text) {
  if (level <= LogLevel()) {
    Logger()->log(SpdlogLevel(level), EscapeForLog(text));
  }
}

}  // namespace packetdb::host
