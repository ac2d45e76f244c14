// The calls of the system that a record file makes, any of which can be made to fail: the dynamic
// linker prefers a program's own definitions. A program that links this has them all.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace packetdb::faults {

struct CallFault {
  std::uint64_t nth = 0;  // of all calls from Arm on; 0: none fails
  bool for_good = false;  // all after it as well
  // What errno says. 0: nothing fails, but reads and writes are short. EINTR befalls only calls
  // that the system may interrupt.
  int error = 0;
  std::string only = {};  // the name of the only call that is counted; empty: all are
};

// The ways to fail that are tried on each call.
struct FaultKind {
  std::string name;
  int error;
  bool for_good;
};
std::vector<FaultKind> FaultKinds();

// Which calls are tried: the first is number `first`.
struct Stride {
  std::uint64_t first = 1;
  std::uint64_t every = 1;
};
void AddStride(CLI::App& app, std::uint64_t* every);

struct CallReport {
  std::uint64_t calls = 0;   // counted since Arm
  std::uint64_t failed = 0;  // or were made short
  std::string first_failed;  // name
  std::string last_call;     // name, of those counted
  bool unlink_failed = false;
};

// From now on calls are counted, by whatever thread, until Disarm.
void Arm(const CallFault& fault);
CallReport Disarm();

}  // namespace packetdb::faults
