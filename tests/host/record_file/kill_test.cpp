// Processes killed at random moments while they append and overwrite. What they had been told was
// stored must be there, and nothing that was never written.
//
// PACKETDB_KILL_CYCLES sets how many are killed per case.
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kCapacity = 5;
constexpr std::uint64_t kFirst = (std::uint64_t{1} << 31U) - 100;  // tickets wrap on the way

enum class Action { kNone, kAppend, kOverwrite };

// The child's notes, in memory that survives it. `values` and `next` are what the file must hold;
// while an action is noted, the file may hold it as well, and must when it has returned.
struct Notes {
  std::uint64_t next;
  std::array<std::uint64_t, kCapacity> values;  // by sequence number modulo the capacity
  volatile std::uint64_t done;                  // actions that were completed
  Action action;
  std::uint64_t sequence;
  std::uint64_t value;
  std::uint64_t old_value;
  bool returned;
};

// Keeps the notes in the order in which they are written, as seen after a kill.
void Order() { std::atomic_signal_fence(std::memory_order_seq_cst); }

class NotesPage {
 public:
  NotesPage()
      : notes_(static_cast<Notes*>(mmap(nullptr, sizeof(Notes), PROT_READ | PROT_WRITE,
                                        MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    *notes_ = {};
    notes_->next = kFirst;
  }
  ~NotesPage() { munmap(notes_, sizeof(Notes)); }
  NotesPage(const NotesPage&) = delete;
  NotesPage& operator=(const NotesPage&) = delete;

  Notes* operator->() { return notes_; }

 private:
  Notes* notes_;
};

// A record of any multiple of 8 bytes that carries a value and shows when it is torn.
class Words {
 public:
  explicit Words(std::size_t size, std::uint64_t value = 0) : words_(size / sizeof(std::uint64_t)) {
    for (std::size_t i = 0; i < words_.size(); ++i) words_[i] = value * (2 * i + 1) + i;
  }
  std::size_t size() const { return words_.size() * sizeof(std::uint64_t); }
  std::uint64_t* data() { return words_.data(); }

  std::uint64_t Value() const {
    EXPECT_TRUE(words_ == Words(size(), words_.front()).words_) << "a torn record";
    return words_.front();
  }

 private:
  std::vector<std::uint64_t> words_;
};

// Made before the fork, so that the child does little else but use the file.
std::vector<Words> MakeRecords(std::size_t size) {
  std::vector<Words> records;
  for (std::uint64_t value = 1; value <= 16; ++value) records.emplace_back(size, value);
  return records;
}

int OpenSized(CDbFile& file, const std::string& path, const Words& words, int mode) {
  return file.Init(path, kTestMagic, words.size(), kCapacity, mode);
}

std::uint64_t Live(std::uint64_t next) { return std::min(next - kFirst, kCapacity); }

// The child: notes what it is about to do, does it, notes that it is done, until it is killed.
[[noreturn]] void Work(const std::string& path, std::vector<Words> records, unsigned int seed,
                       NotesPage& notes) {
  CDbFile file;
  if (OpenSized(file, path, records.front(), kModeWrite) != kRecordFileOk) _exit(1);
  std::mt19937 random(seed);
  for (;;) {
    const bool append = notes->next == kFirst || random() % 2 == 0;
    const std::uint64_t age = append ? 0 : 1 + random() % Live(notes->next);
    notes->sequence = notes->next - age;
    std::uint64_t& slot = notes->values[notes->sequence % kCapacity];
    Words& record = records[random() % records.size()];
    notes->value = *record.data();
    notes->old_value = slot;
    notes->returned = false;
    Order();
    notes->action = append ? Action::kAppend : Action::kOverwrite;
    Order();
    const int ticket = static_cast<int>(notes->sequence & 0x7FFFFFFF);
    const int result =
        append ? file.AppendRecord(record.data()) : file.WriteRecord(ticket, record.data());
    if (result != (append ? ticket : 0)) _exit(2);
    Order();
    notes->returned = true;
    Order();
    slot = notes->value;
    notes->next += append ? 1 : 0;
    notes->done = notes->done + 1;
    Order();
    notes->action = Action::kNone;
    Order();
  }
}

// What a file holds: the sequence number of the next append and the live records, oldest first.
struct State {
  std::uint64_t next = 0;
  std::vector<std::uint64_t> values;
  bool operator==(const State&) const = default;
};

State StateWith(NotesPage& notes, std::uint64_t next, std::uint64_t value) {
  std::array<std::uint64_t, kCapacity> values = notes->values;
  if (notes->action != Action::kNone) values[notes->sequence % kCapacity] = value;
  State state = {.next = next, .values = {}};
  for (std::uint64_t i = next - Live(next); i < next; ++i) {
    state.values.push_back(values[i % kCapacity]);
  }
  return state;
}

State Before(NotesPage& notes) {
  const bool append = notes->action == Action::kAppend;
  return StateWith(notes, append ? notes->sequence : notes->next, notes->old_value);
}

State After(NotesPage& notes) {
  const bool append = notes->action == Action::kAppend;
  return StateWith(notes, append ? notes->sequence + 1 : notes->next, notes->value);
}

State StateOfFile(const std::string& path, Words words, int mode) {
  CDbFile file;
  EXPECT_EQ(OpenSized(file, path, words, mode), kRecordFileOk);
  State state = {.next = StateOf(ReadBytes(path)).next, .values = {}};
  for (int position = 0; position < file.RecordCount(); ++position) {
    EXPECT_EQ(file.ReadRecord(position, words.data()), kRecordFileOk);
    state.values.push_back(words.Value());
  }
  return state;
}

// The file is how the next child finds it, whether or not the noted action made it.
void TakeOver(const State& state, NotesPage& notes) {
  notes->next = state.next;
  for (std::uint64_t i = 0; i < state.values.size(); ++i) {
    notes->values[(state.next - state.values.size() + i) % kCapacity] = state.values[i];
  }
  notes->action = Action::kNone;
}

int Cycles() {
  const char* const cycles = std::getenv("PACKETDB_KILL_CYCLES");
  return cycles == nullptr ? 300 : std::max(1, std::stoi(cycles));
}

class RecordFileKill : public testing::TestWithParam<std::size_t> {
 protected:
  void RunAndKill(unsigned int seed) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) Work(path_, records_, seed, notes_);
    const std::uint64_t done = notes_->done;
    int status = 0;
    pid_t ended = 0;
    while (notes_->done == done && ended == 0) {
      usleep(10);
      ended = waitpid(child, &status, WNOHANG);
    }
    ASSERT_EQ(ended, 0) << "the child gave up, status " << status;
    usleep(seed % 500);
    ASSERT_EQ(kill(child, SIGKILL), 0);
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the child gave up, exit " << WEXITSTATUS(status);
  }

  void CheckAndTakeOver() {
    caught_in_the_act_ += notes_->action != Action::kNone && !notes_->returned ? 1 : 0;
    found_armed_ += host::StateOf(ReadBytes(path_)).redo != kNoRedo ? 1 : 0;
    const State read = StateOfFile(path_, words_, kModeRead);
    const State recovered = StateOfFile(path_, words_, kModeWrite);
    EXPECT_EQ(read.values, recovered.values) << "a reader must see what a writer recovers";
    const bool may_be_missing = notes_->action != Action::kNone && !notes_->returned;
    EXPECT_TRUE(recovered == After(notes_) || (may_be_missing && recovered == Before(notes_)))
        << "next " << recovered.next << ", noted " << notes_->next;
    TakeOver(recovered, notes_);
  }

  Disk disk_;
  std::string path_ = disk_.NewPath();
  Words words_{GetParam()};
  std::vector<Words> records_ = MakeRecords(GetParam());
  NotesPage notes_;
  int caught_in_the_act_ = 0;
  int found_armed_ = 0;
};

TEST_P(RecordFileKill, LosesAndTearsNothing) {
  {
    CDbFile file;
    ASSERT_EQ(OpenSized(file, path_, words_, kModeMissing), kRecordFileOk);
  }
  StartAt(path_, kFirst);
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  const int cycles = Cycles();
  for (int cycle = 0; cycle < cycles && !HasFailure(); ++cycle) {
    RunAndKill(static_cast<unsigned int>(random()));
    CheckAndTakeOver();
  }
  RecordProperty("actions", std::to_string(notes_->done));
  RecordProperty("caught_in_the_act", caught_in_the_act_);
  RecordProperty("found_armed", found_armed_);
  EXPECT_GT(notes_->done, 0U) << "nothing was ever written";
  EXPECT_GT(caught_in_the_act_, 0) << "no kill ever hit an operation";
}

// Large records give a kill more time to hit the middle of one.
INSTANTIATE_TEST_SUITE_P(RecordSizes, RecordFileKill, testing::Values(72, 4096, 16384),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace packetdb::host
