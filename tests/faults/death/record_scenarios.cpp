#include "tests/faults/death/record_scenarios.h"

#include <memory>
#include <utility>

#include "host/record_file/modes.h"
#include "platform/record_file.h"
#include "tests/faults/death/layout.h"
#include "tests/faults/death/parts.h"

namespace packetdb::faults {
namespace {

namespace mode = host::mode;

// A file that is open for writing before the child is forked, so that the child has nothing to do
// but the operation.
struct Writer {
  explicit Writer(FileOptions file_options) : options(std::move(file_options)) {
    Expect(Open(file, options, mode::kWrite) >= 0, "opening");
  }

  // Version 0 is appended, any other overwrites.
  void Do(const Identity& identity, const void* record) {
    const int ticket = static_cast<int>(identity.number);
    if (identity.version == 0) {
      Expect(file.AppendRecord(record) == ticket, "an append");
    } else if (in_place) {
      in_place->Overwrite(identity.number, record);
    } else {
      Expect(file.WriteRecord(ticket, record) >= 0, "an overwrite");
    }
  }

  FileOptions options;
  CDbFile file;
  std::unique_ptr<InPlaceWriter> in_place;
};

Scenario OfWriter(const std::shared_ptr<Writer>& writer, std::function<void()> act,
                  std::vector<Opened> stages) {
  return {.act = std::move(act),
          .reopen = writer->options,
          .writer_mode = mode::kWrite,
          .read_stages = stages,
          .written_stages = stages};
}

// The records are made before the fork: making them takes longer than storing them.
std::function<void()> Doing(const std::shared_ptr<Writer>& writer,
                            const std::vector<Identity>& identities) {
  std::vector<RecordBytes> records;
  for (const Identity& identity : identities) {
    records.push_back(MakeRecord(identity, writer->options.record_size));
  }
  return [writer, identities, records] {
    for (std::size_t i = 0; i < records.size(); ++i) writer->Do(identities[i], records[i].data());
  };
}

std::shared_ptr<Writer> OpenJournal(const Workplace& place, std::uint64_t count) {
  auto writer = std::make_shared<Writer>(MakeJournal(place, kKept, count));
  if (place.without_redo) writer->in_place = std::make_unique<InPlaceWriter>(writer->options.path);
  return writer;
}

Scenario AppendTo(const Workplace& place, std::uint64_t count) {
  const auto writer = OpenJournal(place, count);
  return OfWriter(writer, Doing(writer, {{.number = count}}),
                  {Newest(count, kKept), Newest(count + 1, kKept)});
}

Scenario OverwriteOf(const Workplace& place, std::uint64_t count, std::uint64_t age) {
  const auto writer = OpenJournal(place, count);
  const Opened before = Newest(count, kKept);
  return OfWriter(writer, Doing(writer, {{.number = count - 1 - age, .version = 1}}),
                  {before, WithVersion(before, age, 1)});
}

Scenario RefusedOverwrite(const Workplace& place) {
  const auto writer = OpenJournal(place, 2 * kKept);
  const auto act = [writer, record = MakeRecord({.number = 1, .version = 1}, place.record_size)] {
    Expect(writer->file.WriteRecord(1, record.data()) < 0, "refusing a dead ticket");
  };
  return OfWriter(writer, act, {Newest(2 * kKept, kKept)});
}

// None must begin before the one in front of it is complete in the file.
Scenario SeveralInARow(const Workplace& place) {
  const std::uint64_t count = OneLap(place) - 1;
  const auto writer = OpenJournal(place, count);
  const auto act = Doing(writer, {{.number = count},
                                  {.number = count, .version = 1},
                                  {.number = count - 3, .version = 1},
                                  {.number = count - 3, .version = 2},
                                  {.number = count + 1},
                                  {.number = count, .version = 2}});
  std::vector<Opened> stages = {Newest(count, kKept), Newest(count + 1, kKept)};
  stages.push_back(WithVersion(stages.back(), 0, 1));
  stages.push_back(WithVersion(stages.back(), 3, 1));
  stages.push_back(WithVersion(stages.back(), 3, 2));
  Opened last = WithVersion(Newest(count + 2, kKept), 1, 1);
  stages.push_back(WithVersion(last, 4, 2));
  stages.push_back(WithVersion(stages.back(), 1, 2));
  return OfWriter(writer, act, stages);
}

Scenario ClosingOf(const Workplace& place, std::uint64_t count) {
  const auto writer = OpenJournal(place, count);
  Expect(Append(writer->file, writer->options, {.number = count}) >= 0, "an append");
  return OfWriter(writer, [writer] { writer->file.Done(); }, {Newest(count + 1, kKept)});
}

}  // namespace

std::vector<NamedMaker> RecordMakers() {
  return {
      {"append", "append to an empty journal", [](const Workplace& at) { return AppendTo(at, 0); }},
      {"append", "append to a full one", [](const Workplace& at) { return AppendTo(at, kKept); }},
      {"append", "append to the last slot",
       [](const Workplace& at) { return AppendTo(at, OneLap(at) - 1); }},
      {"append", "append to the first slot again",
       [](const Workplace& at) { return AppendTo(at, OneLap(at)); }},
      {"merge", "overwrite the newest", [](const Workplace& at) { return OverwriteOf(at, 5, 0); }},
      {"merge", "overwrite the oldest of a full journal",
       [](const Workplace& at) { return OverwriteOf(at, 2 * kKept, kKept - 1); }},
      {"merge", "overwrite in the last slot",
       [](const Workplace& at) { return OverwriteOf(at, OneLap(at) + 3, 3); }},
      {"merge", "overwrite what is gone", RefusedOverwrite},
      {"merge", "appends and overwrites in a row", SeveralInARow},
      {"done", "close after the first record",
       [](const Workplace& at) { return ClosingOf(at, 0); }},
      {"done", "close after a lap", [](const Workplace& at) { return ClosingOf(at, OneLap(at)); }},
  };
}

}  // namespace packetdb::faults
