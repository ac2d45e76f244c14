// What the work for a client may cost, in the process that does it.
#pragma once

#include <chrono>

#include "host/bus/connection.h"
#include "host/bus/serve.h"
#include "host/config/configuration.h"

namespace packetdb::host {

Timeouts TimeoutsOf(const LimitSettings& limits);
RequestLimits RequestLimitsOf(const LimitSettings& limits);
// Bytes of a request.
std::size_t LongestRequest(const LimitSettings& limits);

// Of this process, from now on. What does not succeed is logged.
void LimitMemory(int mebibytes);

// Lets this process compute for so many seconds more; then SIGXCPU ends it.
void LimitWork(int seconds);

// How many rows an answer to this client may have; 0 for no limit.
unsigned int RowLimitFor(const LimitSettings& limits, const Connection& connection);

}  // namespace packetdb::host
