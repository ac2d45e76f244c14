// Processes beside each other at one file: a writer at full speed, and whoever looks on.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "tests/faults/integrity/history.h"

namespace packetdb::faults {

// Counters that a process and its children share; all are 0 in the beginning.
class SharedCounters {
 public:
  explicit SharedCounters(std::size_t count);
  SharedCounters(const SharedCounters&) = delete;
  SharedCounters& operator=(const SharedCounters&) = delete;
  ~SharedCounters();

  std::atomic<std::uint64_t>& operator[](std::size_t i) const { return counters_[i]; }

 private:
  std::size_t count_;
  std::atomic<std::uint64_t>* counters_;
};

// Processes that are gone, killed if need be, when this is.
class Children {
 public:
  Children() = default;
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;
  ~Children();

  // Runs `body` in a process of its own; an exception in it is told and ends it with a failure.
  void Start(const std::function<void()>& body);

  // Waits for all; how many did not end with success.
  int Wait();

 private:
  std::vector<pid_t> pids_;
};

// Appends and overwrites until told to stop. The file is created anew, and open when `writes` turns
// positive.
struct Load {
  Recipe recipe;  // of the file; how much is written is another matter
  std::string path;
  bool by_calls = false;
  bool reopens = false;  // closes and opens the file again now and then
};
void RunWriter(const Load& load, const std::atomic<std::uint64_t>& stop,
               std::atomic<std::uint64_t>& writes);

// Waits until the counter is positive, for half a minute at most; std::runtime_error beyond.
void WaitUntilPositive(const std::atomic<std::uint64_t>& counter);

void SetWay(bool by_calls);

}  // namespace packetdb::faults
