// The operations that are killed at every instruction, and what a kill may leave of each.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/faults/death/view.h"

namespace packetdb::faults {

struct Scenario {
  std::function<void()> act;  // in a child; throws when the operation is refused
  // How those who come after the kill open the file; the writer then.
  FileOptions reopen;
  int writer_mode = 0;
  // What they find, in this order as the operation goes on; the last when it has returned.
  std::vector<Opened> read_stages;
  std::vector<Opened> written_stages;
};

// Where a scenario is set up.
struct Workplace {
  std::string folder;  // the journal's, and nothing else's; empty
  std::size_t record_size = 72;
  bool without_redo = false;  // overwrites are done by InPlaceWriter

  FileOptions Journal(unsigned long capacity) const {
    return {.path = folder + "/journal", .record_size = record_size, .capacity = capacity};
  }
};

struct NamedMaker {
  const char* operation;  // what --op calls it
  const char* name;
  std::function<Scenario(const Workplace&)> make;
};

// The scenario of the next writer: what is in the folder was found to be `read` and `written`, and
// must remain so.
Scenario OpeningAgain(const Scenario& scenario, const Workplace& place, const Opened& read,
                      const Opened& written);

}  // namespace packetdb::faults
