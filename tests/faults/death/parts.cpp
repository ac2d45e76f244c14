#include "tests/faults/death/parts.h"

#include <algorithm>
#include <stdexcept>

#include "host/record_file/modes.h"
#include "platform/record_file.h"
#include "tests/faults/death/layout.h"

namespace packetdb::faults {

namespace mode = host::mode;

void Expect(bool succeeded, const char* what) {
  if (!succeeded) throw std::runtime_error(std::string(what) + " was refused");
}

FileOptions MakeJournal(const Workplace& place, unsigned long capacity, std::uint64_t count) {
  FileOptions options = place.Journal(capacity);
  CDbFile file;
  Expect(Open(file, options, mode::kWrite | mode::kCreateAnew) >= 0, "creation");
  for (std::uint64_t number = 0; number < count; ++number) {
    Expect(Append(file, options, {.number = number, .version = 0}) >= 0, "an append");
  }
  return options;
}

Opened Newest(std::uint64_t count, std::uint64_t kept) {
  Opened opened;
  for (std::uint64_t number = count - std::min(count, kept); number < count; ++number) {
    opened.view.push_back(Identity{.number = number, .version = 0});
  }
  return opened;
}

Opened WithVersion(Opened opened, std::uint64_t age, std::uint64_t version) {
  opened.view[opened.view.size() - 1 - age]->version = version;
  return opened;
}

std::uint64_t OneLap(const Workplace& place) { return SlotsOf(MakeJournal(place, kKept, 0).path); }

}  // namespace packetdb::faults
