// A forked process that executes one machine instruction at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <sched.h>
#include <unordered_map>

#include "tests/faults/death/child.h"
#include "tests/faults/death/shared_memory.h"

namespace packetdb::faults {

// Keeps this process and the children that it forks on one processor: to hand over to another one
// takes longer than most of what happens there.
class OneProcessor {
 public:
  OneProcessor();
  ~OneProcessor();
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;

 private:
  cpu_set_t before_;
};

class Tracee {
 public:
  // Forks a child that has done nothing of `act` yet. Throws CannotRun where tracing is not
  // permitted.
  explicit Tracee(const std::function<void()>& act);

  // Executes the next instruction, with the whole system call if it is one. False when `act` has
  // returned. Throws std::runtime_error when the child died or `act` threw.
  bool Step();
  // Executes the next `steps` instructions, but stops before and after one that is a system call.
  // One that repeats itself, which Step executes once, is executed to its end.
  bool StepMany(std::uint64_t steps);

  bool AtSystemCall() const { return at_system_call_; }  // it is the next instruction
  bool Returned() const { return *returned_; }
  std::uint64_t instructions() const { return instructions_; }

 private:
  void WaitForStop();
  void LookAhead();
  bool FindSystemCall();
  void FinishRepetition();

  SharedMemory<bool> returned_;
  Child child_;
  // What is known of the code, by address: asking costs as much as a step.
  std::unordered_map<long, bool> system_calls_;
  long at_ = 0;  // address of the next instruction
  bool at_system_call_ = false;
  std::uint64_t instructions_ = 0;
};

}  // namespace packetdb::faults
