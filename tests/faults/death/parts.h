// What the scenarios are made of: journals with known records, and what they show.
#pragma once

#include <cstdint>

#include "tests/faults/death/scenario.h"

namespace packetdb::faults {

inline constexpr unsigned long kKept = 12;  // records of most journals: a few cells

// Throws std::runtime_error with `what` unless it succeeded.
void Expect(bool succeeded, const char* what);

// A closed file to which the records 0 ... count - 1 were appended.
FileOptions MakeJournal(const Workplace& place, unsigned long capacity, std::uint64_t count);

// What is kept of the records 0 ... count - 1, all of version 0.
Opened Newest(std::uint64_t count, std::uint64_t kept);
// The same, but one record, the newest of age 0, has this version.
Opened WithVersion(Opened opened, std::uint64_t age, std::uint64_t version);

// How many appends it takes to come to the end of the slots of a journal of kKept records.
std::uint64_t OneLap(const Workplace& place);

}  // namespace packetdb::faults
