#include "host/log/sinks.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>
#include <spdlog/spdlog.h>
#include <string>
#include <syslog.h>

namespace packetdb::host {

namespace {

// The <N> in front of a line by which the system's journal takes its priority, see sd-daemon(3).
class PriorityFlag : public spdlog::custom_flag_formatter {
 public:
  void format(const spdlog::details::log_msg& message, const std::tm& /*time*/,
              spdlog::memory_buf_t& out) override {
    out.push_back('<');
    out.push_back(static_cast<char>('0' + Priority(message.level)));
    out.push_back('>');
  }
  std::unique_ptr<spdlog::custom_flag_formatter> clone() const override {
    return std::make_unique<PriorityFlag>();
  }

 private:
  static int Priority(spdlog::level::level_enum level) {
    switch (level) {
      case spdlog::level::err:
        return LOG_ERR;
      case spdlog::level::info:
        return LOG_INFO;
      default:
        return LOG_DEBUG;
    }
  }
};

std::unique_ptr<spdlog::formatter> JournalFormat() {
  auto format = std::make_unique<spdlog::pattern_formatter>();
  format->add_flag<PriorityFlag>('*').set_pattern("%*%v");
  return format;
}

std::shared_ptr<spdlog::sinks::sink> MakeSink(const LogOptions& options) {
  switch (options.target) {
    case LogTarget::kSyslog: {
      constexpr bool kPlainText = false;
      return std::make_shared<spdlog::sinks::syslog_sink_mt>(options.program, LOG_PID, LOG_DAEMON,
                                                             kPlainText);
    }
    case LogTarget::kJournal: {
      auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
      sink->set_formatter(JournalFormat());
      return sink;
    }
    case LogTarget::kStderr:
      break;
  }
  auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
  sink->set_pattern("%Y-%m-%d %H:%M:%S.%e %n[%P] %l: %v");
  return sink;
}

}  // namespace

std::shared_ptr<spdlog::logger> MakeLogger(const LogOptions& options) {
  auto logger = std::make_shared<spdlog::logger>(options.program, MakeSink(options));
  logger->set_level(spdlog::level::trace);
  logger->flush_on(spdlog::level::trace);
  return logger;
}

}  // namespace packetdb::host
