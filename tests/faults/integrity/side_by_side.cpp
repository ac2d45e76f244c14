#include "tests/faults/integrity/side_by_side.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <new>
#include <random>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "host/record_file/modes.h"
#include "host/record_file/settings.h"
#include "platform/record_file.h"

namespace packetdb::faults {
namespace {

// Between two looks at whether to stop.
constexpr int kBatch = 1000;
constexpr std::uint64_t kWritesUntilReopening = 200'000;

void Require(int result) {
  if (result < 0) throw std::runtime_error(fmt::format("the writer failed: {}", result));
}

class Writer {
 public:
  explicit Writer(const Load& load)
      : load_(load),
        record_(load.recipe.record_size),
        versions_(std::max<std::uint64_t>(load.recipe.capacity, 1)) {}

  void Open(int mode) {
    const Recipe& recipe = load_.recipe;
    Require(file_.Init(load_.path, recipe.magic.c_str(), recipe.record_size, recipe.MaxRecords(),
                       mode));
  }

  // As many overwrites as appends, of new and old records.
  void Write() {
    if (random_() % 2 == 0 || next_ == 0) {
      Append();
    } else {
      const std::uint64_t reach = std::min(next_, load_.recipe.capacity);
      const std::uint64_t near = random_() % 2 == 0 ? 16 : reach;
      Overwrite(next_ - 1 - random_() % std::min(near, reach));
    }
  }

 private:
  std::uint32_t& Version(std::uint64_t sequence) { return versions_[sequence % versions_.size()]; }

  void Append() {
    Version(next_) = 0;
    MakeRecord({next_, 0}, load_.recipe.record_size, record_.data());
    Require(file_.AppendRecord(record_.data()));
    ++next_;
  }
  void Overwrite(std::uint64_t sequence) {
    MakeRecord({sequence, ++Version(sequence)}, load_.recipe.record_size, record_.data());
    Require(file_.WriteRecord(static_cast<int>(sequence & 0x7FFFFFFFU), record_.data()));
  }

  const Load& load_;
  CDbFile file_;
  std::vector<std::byte> record_;
  std::vector<std::uint32_t> versions_;
  std::uint64_t next_ = 0;
  std::mt19937 random_{1};
};

}  // namespace

SharedCounters::SharedCounters(std::size_t count) : count_(count) {
  void* const memory = mmap(nullptr, count * sizeof(std::atomic<std::uint64_t>),
                            PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
  counters_ = new (memory) std::atomic<std::uint64_t>[count]();
}

SharedCounters::~SharedCounters() { munmap(counters_, count_ * sizeof counters_[0]); }

Children::~Children() {
  for (const pid_t pid : pids_) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
}

void Children::Start(const std::function<void()>& body) {
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("no process can be started");
  if (pid > 0) {
    pids_.push_back(pid);
    return;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  int status = 0;
  try {
    body();
  } catch (const std::exception& error) {
    fmt::print(stderr, "a child failed: {}\n", error.what());
    status = 1;
  }
  std::fflush(nullptr);
  _exit(status);
}

int Children::Wait() {
  int failed = 0;
  while (!pids_.empty()) {
    int status = 0;
    waitpid(pids_.back(), &status, 0);
    pids_.pop_back();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) ++failed;
  }
  return failed;
}

void RunWriter(const Load& load, const std::atomic<std::uint64_t>& stop,
               std::atomic<std::uint64_t>& writes) {
  SetWay(load.by_calls);
  Writer writer(load);
  writer.Open(host::mode::kWrite | host::mode::kCreateAnew);
  std::uint64_t until_reopening = kWritesUntilReopening;
  while (stop == 0) {
    for (int i = 0; i < kBatch; ++i) writer.Write();
    writes += kBatch;
    until_reopening -= kBatch;
    if (until_reopening != 0) continue;
    until_reopening = kWritesUntilReopening;
    if (load.reopens) writer.Open(host::mode::kWrite);
  }
}

void WaitUntilPositive(const std::atomic<std::uint64_t>& counter) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (counter == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      throw std::runtime_error("nothing has happened in half a minute");
    }
    std::this_thread::yield();
  }
}

void SetWay(bool by_calls) {
  host::RecordFileSettings settings;
  settings.by_calls = by_calls;
  host::SetRecordFileSettings(settings);
}

}  // namespace packetdb::faults
