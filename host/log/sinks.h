// The spdlog logger behind a log target.
#pragma once

#include <memory>

#include "host/log/log.h"

namespace spdlog {
class logger;
}

namespace packetdb::host {

// A logger that passes every line on; levels are our own business.
std::shared_ptr<spdlog::logger> MakeLogger(const LogOptions& options);

}  // namespace packetdb::host
