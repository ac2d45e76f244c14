// Making, opening, recovering and resizing a journal.
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <unistd.h>
#include <vector>

#include "bench/record_file/accidents.h"
#include "bench/record_file/rows.h"
#include "bench/record_file/timing.h"
#include "bench/stores/journal.h"
#include "host/record_file/modes.h"

namespace packetdb::bench {
namespace {

using benchmark::State;

constexpr int kAnew = host::mode::kWrite | host::mode::kCreateAnew;

void Open(const std::string& path, std::uint64_t capacity, int mode, CDbFile* file) {
  OpenJournal(path, capacity, mode, host::RecordFileSettings(), file);
}

// "1,000,000 records", as people write it.
std::string Records(std::uint64_t count) {
  std::string digits = std::to_string(count);
  for (auto at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) {
    digits.insert(static_cast<std::size_t>(at), ",");
  }
  return digits + " records";
}

// A journal that is full and closed, made when the first row needs it.
class FullJournal {
 public:
  FullJournal(Scratch& scratch, std::uint64_t capacity)
      : scratch_(scratch), path_(scratch.NewPath()), capacity_(capacity) {}

  const std::string& Path() {
    if (!is_made_) Make();
    return path_;
  }
  std::uint64_t capacity() const { return capacity_; }

  // Throws unless it has all its records.
  void Check(const CDbFile& file) const {
    Require(file.RecordCount() == static_cast<int>(capacity_), "the journal has lost records");
  }

 private:
  void Make() {
    JournalStore::Options options;
    options.capacity = capacity_;
    JournalStore(path_, options).Fill(capacity_ + capacity_ / 2);  // it has gone round
    scratch_.Settle();
    is_made_ = true;
  }

  Scratch& scratch_;
  std::string path_;
  std::uint64_t capacity_;
  bool is_made_ = false;
};

using Full = std::shared_ptr<FullJournal>;

// What has happened to a journal before it is opened.
using Accident = void (*)(const std::string& path, std::uint64_t capacity);

void NoAccident(const std::string&, std::uint64_t) {}

void KilledWriterAndPower(const std::string& path, std::uint64_t capacity) {
  KillWriter(path, capacity);
  CutPower(path);
}

void ColdStart(const std::string& path, std::uint64_t capacity) {
  KilledWriterAndPower(path, capacity);
  DropFromMemory(path);
}

struct Opening {
  std::string operation;
  Accident accident;
  int mode;
  bool searches;  // the journal is read from end to end
};

void TimeOpening(State& state, FullJournal& journal, const Opening& opening) {
  const std::string& path = journal.Path();
  for (auto _ : state) {
    opening.accident(path, journal.capacity());
    const std::uint32_t searches = Searches(path);
    CDbFile file;
    Time(state, [&] { Open(path, journal.capacity(), opening.mode, &file); });
    journal.Check(file);
    file.Done();
    Require((Searches(path) != searches) == opening.searches, "not the recovery that was meant");
  }
}

// A pass over everything is slow, and needs no more than one try in a repetition.
void AddOpening(Rows& rows, const Full& journal, const Opening& opening) {
  const int iterations = opening.searches ? 1 : rows.sizes().openings;
  const double records = opening.searches ? static_cast<double>(journal->capacity()) : 1;
  rows.Add({opening.operation, Records(journal->capacity()), {}, records, iterations},
           [journal, opening](State& state) { TimeOpening(state, *journal, opening); });
}

void AddOpenings(Rows& rows, const Full& journal) {
  using host::mode::kRead;
  using host::mode::kWrite;
  const std::vector<Opening> openings = {
      {"open to write, after a clean close", NoAccident, kWrite, false},
      {"open to read, after a clean close", NoAccident, kRead, false},
      {"open to write, after the writer was killed", KillWriter, kWrite, false},
      {"open to read, after the writer was killed", KillWriter, kRead, false},
      {"recover after a power cut, file in memory", KilledWriterAndPower, kWrite, true},
      {"recover after a power cut, file on the disk", ColdStart, kWrite, true},
  };
  for (const Opening& opening : openings) AddOpening(rows, journal, opening);
}

// What a pass over the same bytes costs who does not look at them.
void ReadBytes(const std::string& path) {
  constexpr std::size_t kPiece = std::size_t{1} << 20U;
  std::vector<char> piece(kPiece);
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  Require(fd >= 0, "cannot open the journal's bytes");
  ssize_t size = 0;
  do {
    size = read(fd, piece.data(), piece.size());
  } while (size > 0);
  close(fd);
  Require(size == 0, "cannot read the journal's bytes");
}

void AddBytes(Rows& rows, const Full& journal, const std::string& operation, bool is_cold) {
  const auto records = static_cast<double>(journal->capacity());
  const std::string name = "its bytes read once, " + Records(journal->capacity());
  rows.Add({operation, name, {}, records, 1}, [journal, is_cold](State& state) {
    const std::string& path = journal->Path();
    for (auto _ : state) {
      if (is_cold) DropFromMemory(path);
      Time(state, [&path] { ReadBytes(path); });
    }
  });
}

void AddCreation(Rows& rows, std::uint64_t capacity) {
  Row row = {"create", Records(capacity), {}, static_cast<double>(capacity), 1};
  rows.Add(std::move(row), [capacity, &scratch = rows.scratch()](State& state) {
    for (auto _ : state) {
      Scratch own(scratch.path());
      CDbFile file;
      Time(state, [&] { Open(own.NewPath(), capacity, kAnew, &file); });
      file.Done();
    }
    scratch.Settle();
  });
}

// One record more and one record less in turns: all records are copied each time.
void AddResize(Rows& rows, const Full& journal) {
  const auto records = static_cast<double>(journal->capacity());
  Row row = {"resize", Records(journal->capacity()), {}, records, 1};
  rows.Add(std::move(row), [journal, &scratch = rows.scratch()](State& state) {
    const std::string& path = journal->Path();
    for (auto _ : state) {
      CDbFile file;
      Open(path, journal->capacity(), host::mode::kWrite, &file);
      file.Done();
      scratch.Settle();
      Time(state, [&] { Open(path, journal->capacity() + 1, host::mode::kWrite, &file); });
      journal->Check(file);
    }
    scratch.Settle();
  });
}

}  // namespace

void AddFileRows(Rows& rows) {
  const std::uint64_t usual = rows.sizes().records;
  const std::uint64_t large = rows.sizes().journal;
  const auto journal = std::make_shared<FullJournal>(rows.scratch(), usual);
  const auto large_journal = std::make_shared<FullJournal>(rows.scratch(), large);
  AddOpenings(rows, journal);
  AddOpenings(rows, large_journal);
  AddBytes(rows, large_journal, "recover after a power cut, file in memory", false);
  AddBytes(rows, large_journal, "recover after a power cut, file on the disk", true);
  AddCreation(rows, usual);
  AddCreation(rows, large);
  AddResize(rows, std::make_shared<FullJournal>(rows.scratch(), usual));
}

}  // namespace packetdb::bench
