// What a process does that gives up its rights is done in a process of its own.
#pragma once

#include <functional>
#include <string>

namespace packetdb::host::test {

// Runs the work in a forked process and returns the text that it gives; "died" with the signal
// when it gave none.
std::string Forked(const std::function<std::string()>& work);

// "done", or the name of the errno that a system call has set: "EPERM".
std::string Outcome(long result);

}  // namespace packetdb::host::test
