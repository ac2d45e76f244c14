// Snapshots beside a writer at full speed.
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/host/record_file/onlooker.h"

namespace packetdb::host {
namespace {

// A record's value: its number in the low half, how often it was overwritten in the high half.
constexpr std::uint64_t ValueFor(std::uint64_t sequence, std::uint64_t version) {
  return version << 32U | sequence;
}

// Appends and overwrites for as long as the process lives.
[[noreturn]] void WriteForEver(const std::string& path, unsigned long capacity) {
  CDbFile file;
  if (Open(file, path, kModeWrite, capacity) < 0) _exit(1);
  constexpr std::uint64_t kOverwrites = 3;  // of the new record and of an old one
  for (std::uint64_t sequence = 0;; ++sequence) {
    if (Append(file, ValueFor(sequence, 0)) < 0) _exit(2);
    for (std::uint64_t version = 1; version <= kOverwrites; ++version) {
      Overwrite(file, static_cast<int>(sequence), ValueFor(sequence, version));
      const std::uint64_t old = sequence - capacity / 2;
      if (sequence < capacity / 2) continue;
      Overwrite(file, static_cast<int>(old), ValueFor(old, kOverwrites + version));
    }
  }
}

constexpr unsigned long kLargest = 5000;  // records; far more than are appended during a look

class FullSpeed : public testing::TestWithParam<unsigned long> {
 protected:
  FullSpeed() : path_(MakeJournal(disk_, 0, GetParam())), writer_(fork()) {
    if (writer_ == 0) WriteForEver(path_, GetParam());
  }
  ~FullSpeed() override {
    if (!writer_works_) return;
    kill(writer_, SIGKILL);
    waitpid(writer_, nullptr, 0);
  }

  bool WriterWorks() {
    writer_works_ = writer_works_ && waitpid(writer_, nullptr, WNOHANG) == 0;
    return writer_works_;
  }

  // Looks at every record once; the number of the newest.
  std::uint64_t Look() {
    Onlooker onlooker(path_);
    EXPECT_EQ(onlooker.Begin(), kRecordFileOk);
    std::uint64_t sequence = onlooker.snapshot().oldest();
    for (const auto& value : onlooker.Values()) {
      if (value) {
        EXPECT_EQ(*value & 0xFFFFFFFF, sequence) << "another record's content";
        ++whole_;
      }
      ++sequence;
    }
    return sequence;
  }

  Disk disk_;
  std::string path_;
  pid_t writer_;
  bool writer_works_ = true;
  std::uint64_t whole_ = 0;
};

TEST_P(FullSpeed, NeverShowsARecordThatWasNotWritten) {
  constexpr int kLooks = 300;
  while (Look() < 2 * GetParam()) ASSERT_TRUE(WriterWorks() && !HasFailure());
  std::uint64_t newest = 0;
  for (int i = 0; i < kLooks && !HasFailure(); ++i) newest = Look();
  // An idle machine may lap the small ones every time.
  EXPECT_TRUE(whole_ > 0 || GetParam() < kLargest);
  EXPECT_GT(newest, 2 * GetParam());
  EXPECT_TRUE(WriterWorks()) << "all the time";
}

INSTANTIATE_TEST_SUITE_P(Capacities, FullSpeed, testing::Values(3UL, 64UL, kLargest),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace packetdb::host
