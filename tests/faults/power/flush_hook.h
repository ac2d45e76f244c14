// fsync and fdatasync of a program that links this do nothing of their own: its disk is simulated.
#pragma once

#include <functional>

namespace packetdb::faults {

// Called at each flush with the descriptor of the file. The bytes count as flushed when it returns.
using FlushHook = std::function<void(int file)>;

// Returns the one that was there before.
FlushHook ExchangeFlushHook(FlushHook hook);

}  // namespace packetdb::faults
