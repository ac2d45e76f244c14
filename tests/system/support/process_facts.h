// What the system tells of a process.
#pragma once

#include <string>
#include <sys/types.h>

namespace packetdb::host::test {

// The value behind these words in a line of /proc/PID/FILE: "Seccomp:" in "status", "Max core file
// size" in "limits". Empty when there is no such line.
std::string Told(pid_t process, const std::string& file, const std::string& words);

}  // namespace packetdb::host::test
