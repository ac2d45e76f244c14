// A forked process that is stopped after every machine instruction, or at every system call.
#pragma once

#include <functional>

namespace packetdb::host {

enum class Step { kInstruction, kSystemCall };

// Runs `act` in a child and calls `look` in this process at every stop, with true once `act` has
// returned: what the files are then is what a kill would leave at this moment. The child is killed
// after that. Returns the number of stops, or -1 with a failure of the test when the child could
// not be traced or did not get through.
int StepThrough(Step step, const std::function<void()>& act,
                const std::function<void(bool returned)>& look);

}  // namespace packetdb::host
