#include "bench/sync_latency/load.h"

#include <chrono>
#include <fcntl.h>
#include <unistd.h>

#include "bench/stores/journal.h"
#include "bench/stores/variant.h"
#include "bench/support/scratch.h"

namespace packetdb::bench {
namespace {

using Clock = std::chrono::steady_clock;

// Records that repeats are still merged into: the newest ones, and not one alone.
constexpr std::uint64_t kRecent = 4096;

std::uint64_t Nanoseconds(Clock::duration duration) {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count());
}

class Flusher {
 public:
  explicit Flusher(const std::string& path) : fd_(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    Require(fd_ >= 0, "cannot open the journal to flush it");
  }
  Flusher(const Flusher&) = delete;
  Flusher& operator=(const Flusher&) = delete;
  ~Flusher() { close(fd_); }
  void Flush() const { Require(fdatasync(fd_) == 0, "cannot flush"); }

 private:
  int fd_;
};

JournalStore::Options OptionsOf(const Load& load, Flushing flushing) {
  JournalStore::Options options;
  options.capacity = load.records;
  auto& sync = options.settings.sync;
  const bool has_thread = flushing == Flushing::kThread;
  sync.mode = has_thread ? host::SyncMode::kPeriodic : host::SyncMode::kNever;
  sync.interval = std::chrono::milliseconds(load.interval_ms);
  return options;
}

class Writer {
 public:
  Writer(const Load& load, Flushing flushing, const std::string& path)
      : load_(load), flushing_(flushing), store_(path, OptionsOf(load, flushing)), flusher_(path) {
    store_.Fill(load.records);
    flusher_.Flush();
  }

  Latencies Run() {
    const auto step = std::chrono::nanoseconds(1'000'000'000 / load_.rate);
    const std::uint64_t count = load_.rate * static_cast<std::uint64_t>(load_.seconds);
    Clock::time_point due = Clock::now();
    next_flush_ = due + Interval();
    for (std::uint64_t i = 0; i < count; ++i, due += step) {
      // Not asleep: being woken takes longer than what is measured.
      while (Clock::now() < due) {
      }
      FlushWhenDue();
      Operate(i);
      latencies_.lateness.Add(Nanoseconds(Clock::now() - due));
    }
    return latencies_;
  }

 private:
  std::chrono::milliseconds Interval() const {
    return std::chrono::milliseconds(load_.interval_ms);
  }

  void FlushWhenDue() {
    if (flushing_ != Flushing::kInline || Clock::now() < next_flush_) return;
    const Clock::time_point begin = Clock::now();
    flusher_.Flush();
    latencies_.flush.Add(Nanoseconds(Clock::now() - begin));
    next_flush_ += Interval();
  }

  void Operate(std::uint64_t i) {
    random_ = random_ * 6364136223846793005U + 1442695040888963407U;
    const bool is_merge = (random_ >> 33U) % 100 < static_cast<std::uint64_t>(load_.merges_percent);
    const std::uint64_t position = load_.records - 1 - (random_ >> 40U) % kRecent;
    record_.number = i;
    const Clock::time_point begin = Clock::now();
    if (is_merge) {
      store_.Overwrite(position, record_);
    } else {
      store_.Append(record_);
    }
    (is_merge ? latencies_.overwrite : latencies_.append).Add(Nanoseconds(Clock::now() - begin));
  }

  Load load_;
  Flushing flushing_;
  JournalStore store_;
  Flusher flusher_;
  Record record_ = MakeRecord(1);
  std::uint64_t random_ = 1;
  Clock::time_point next_flush_;
  Latencies latencies_;
};

}  // namespace

Latencies RunLoad(const Load& load, Flushing flushing) {
  Scratch scratch(load.folder);
  const std::string path = scratch.NewPath();
  Writer writer(load, flushing, path);
  scratch.Settle();
  return writer.Run();
}

}  // namespace packetdb::bench
