// What a record file can be asked for, as a table: the programs in this folder ask for all of it
// while something is short or fails.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/record_file/settings.h"
#include "tests/faults/limits/driven_journal.h"

namespace packetdb::faults {

inline constexpr unsigned long kSmallCapacity = 500;

struct Operation {
  std::string name;
  unsigned long capacity;                               // of the journal
  std::function<void(DrivenJournal& journal)> prepare;  // before anything is short
  // Returns what the record file does, of several things the first failure. What could be read
  // must be right all the same.
  std::function<int(DrivenJournal& journal, Verdict* verdict)> act;
  bool makes_file = false;  // there is none before
};

std::vector<Operation> Operations();

// The ways in which a record file can be told to work; each has calls of the system of its own.
struct Way {
  std::string name;
  host::RecordFileSettings settings;
};
std::vector<Way> Ways();

// The names in a folder, each followed by a blank.
std::string NamesIn(const std::string& folder);

}  // namespace packetdb::faults
