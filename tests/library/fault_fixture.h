// Failures tried one after the other: of every call on the platform, of every allocation.
#pragma once

#include <functional>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "tests/support/allocation.h"
#include "tests/support/fixture.h"

namespace packetdb::test {

struct Fault {
  int number;     // of the failing call, counted from Begin on
  bool for_good;  // every later one fails as well

  void Begin() const { for_good ? Calls().FailCallsFrom(number) : Calls().FailCall(number); }
  static bool Fired() { return Calls().FaultFired(); }
};

struct MemoryFault {
  int number;     // of the failing allocation of the library's, counted from the start of `act`
  bool for_good;  // every later one fails as well

  // Runs `act` with the failure. What it threw, "" for nothing. `act` must not make assertions.
  template <class Act>
  std::string Meets(Act act) const {
    const FailAllocation failing(number, for_good);
    try {
      act();
    } catch (const std::bad_alloc&) {
      return "bad_alloc";
    } catch (const XPacketDb&) {
      return "XPacketDb";
    } catch (const std::exception&) {
      return "exception";
    }
    return "";
  }
  static bool Fired() { return FailAllocation::Fired(); }
};

class Faults : public LibraryTest {
 protected:
  // Lets `run` meet every fault until none is left to happen. Returns what the runs returned, the
  // last one undisturbed.
  template <class AnyFault = Fault, class Run>
  static Strings OutcomesOf(int level, bool for_good, Run run) {
    Strings outcomes;
    bool fired = true;
    for (int number = 0; fired; ++number) {
      ResetPlatform();
      Log().SetLevel(level);
      std::string outcome;
      outcome.reserve(200);  // before the count of what is alive
      const auto before = AllocationsAlive();
      outcome += run(AnyFault{number, for_good});
      fired = AnyFault::Fired();
      EXPECT_EQ(Log().Misuses(), Strings{});
      ResetPlatform();
      EXPECT_EQ(AllocationsAlive(), before) << "fault " << number;
      outcomes.push_back(outcome);
    }
    return outcomes;
  }
  template <class Run>
  static void ExpectOutcomes(bool for_good, const Strings& expected, Run run) {
    for (const int level : {0, 5}) {
      EXPECT_EQ(OutcomesOf(level, for_good, run), expected) << "level " << level;
    }
  }
  // The same for allocations, which are not counted: how many there are is the library's own
  // business. Every run ends in one of the expected ways, and each of these is seen.
  template <class Run>
  static void ExpectMemoryOutcomes(const std::set<std::string>& expected, Run run) {
    run(MemoryFault{-1, false});  // what is made once in a process is made now
    std::set<std::string> seen;
    for (const int level : {0, 5}) {
      for (const bool for_good : {false, true}) {
        const Strings outcomes = OutcomesOf<MemoryFault>(level, for_good, run);
        seen.insert(outcomes.begin(), outcomes.end());
      }
    }
    EXPECT_EQ(seen, expected);
  }
};

}  // namespace packetdb::test
