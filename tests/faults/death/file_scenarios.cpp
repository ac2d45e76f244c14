#include "tests/faults/death/file_scenarios.h"

#include <algorithm>
#include <memory>

#include "host/record_file/modes.h"
#include "host/record_file/result.h"
#include "platform/record_file.h"
#include "tests/faults/death/parts.h"
#include "tests/faults/death/tracee.h"

namespace packetdb::faults {
namespace {

namespace mode = host::mode;

// Opens in the child, and leaves it open: what is looked at is not what closing does to the file.
std::function<void()> Opening(const FileOptions& options, int mode) {
  const auto file = std::make_shared<CDbFile>();
  return [file, options, mode] { Expect(Open(*file, options, mode) >= 0, "opening"); };
}

Scenario OpeningOf(const Workplace& place, std::uint64_t count) {
  const FileOptions options = MakeJournal(place, kKept, count);
  const std::vector<Opened> stages = {Newest(count, kKept)};
  return {.act = Opening(options, mode::kWrite),
          .reopen = options,
          .writer_mode = mode::kWrite,
          .read_stages = stages,
          .written_stages = stages};
}

// The next opening with the new capacity resizes at the latest.
Scenario ResizeOf(const Workplace& place, unsigned long from, unsigned long to,
                  std::uint64_t count) {
  FileOptions options = MakeJournal(place, from, count);
  options.capacity = to;
  const Opened before = Newest(count, from);
  const Opened after = Newest(count, std::min(from, to));
  return {.act = Opening(options, mode::kWrite),
          .reopen = options,
          .writer_mode = mode::kWrite,
          .read_stages = {before, after},
          .written_stages = {after}};
}

Scenario Creation(const Workplace& place) {
  const FileOptions options = place.Journal(kKept);
  return {.act = Opening(options, mode::kCreateMissing),
          .reopen = options,
          .writer_mode = mode::kCreateMissing,
          .read_stages = {{.result = host::kMissing, .view = {}}, {}},
          .written_stages = {{}}};
}

Scenario Replacement(const Workplace& place) {
  const FileOptions options = MakeJournal(place, kKept, 2 * kKept);
  const std::vector<Opened> stages = {Newest(2 * kKept, kKept), {}};
  return {.act = Opening(options, mode::kCreateAnew),
          .reopen = options,
          .writer_mode = mode::kWrite,
          .read_stages = stages,
          .written_stages = stages};
}

}  // namespace

Scenario OpeningAgain(const Scenario& scenario, const Workplace& place, const Opened& read,
                      const Opened& written) {
  FileOptions options = place.Journal(scenario.reopen.capacity);
  std::vector<Opened> read_stages = {read};
  if (!(read == written)) read_stages.push_back(written);
  return {.act = Opening(options, scenario.writer_mode),
          .reopen = options,
          .writer_mode = scenario.writer_mode,
          .read_stages = read_stages,
          .written_stages = {written}};
}

std::vector<NamedMaker> FileMakers() {
  return {
      {"open", "open an empty journal", [](const Workplace& at) { return OpeningOf(at, 0); }},
      {"open", "open after a lap", [](const Workplace& at) { return OpeningOf(at, OneLap(at)); }},
      {"create", "create", Creation},
      {"create", "create anew in the place of another", Replacement},
      {"resize", "shrink",
       [](const Workplace& at) { return ResizeOf(at, 3 * kKept, kKept, 4 * kKept); }},
      {"resize", "shrink after a lap",
       [](const Workplace& at) { return ResizeOf(at, kKept, kKept / 2, OneLap(at) + 3); }},
      {"resize", "grow before the ring is full",
       [](const Workplace& at) { return ResizeOf(at, kKept, 5000, kKept - 1); }},
      {"resize", "grow a full ring",
       [](const Workplace& at) { return ResizeOf(at, kKept, 3 * kKept, 2 * kKept); }},
      {"resize", "grow after a lap",
       [](const Workplace& at) { return ResizeOf(at, kKept, 3 * kKept, OneLap(at) + 3); }},
  };
}

}  // namespace packetdb::faults
