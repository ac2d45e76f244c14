// A mapping whose file is cut does not end the process; every other SIGBUS does what it did.
#include "host/record_file/guard.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kLength = 4 * kPageSize;

// A mapping whose file has lost all but its first page.
class CutMapping {
 public:
  CutMapping() {
    WriteBytes(path_, Bytes(kLength, 'o'));
    const Descriptor file(open(path_.c_str(), O_RDWR | O_CLOEXEC));
    at_ = mmap(nullptr, kLength, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    std::filesystem::resize_file(path_, kPageSize);
  }
  ~CutMapping() { munmap(at_, kLength); }
  CutMapping(const CutMapping&) = delete;
  CutMapping& operator=(const CutMapping&) = delete;

  void* at() const { return at_; }
  volatile char& operator[](std::size_t i) const { return static_cast<volatile char*>(at_)[i]; }

 private:
  Disk disk_;
  std::string path_ = disk_.NewPath();
  void* at_ = nullptr;
};

TEST(GuardTest, PutsAnEmptyPageWhereTheFileHasNone) {
  CutMapping mapping;
  const MappingGuard guard(mapping.at(), kLength);
  EXPECT_EQ(mapping[0], 'o');
  EXPECT_FALSE(guard.IsLost());
  EXPECT_EQ(mapping[2 * kPageSize + 5], '\0');
  EXPECT_TRUE(guard.IsLost());
}

TEST(GuardTest, LetsAStoreGoOn) {
  CutMapping mapping;
  const MappingGuard guard(mapping.at(), kLength);
  mapping[2 * kPageSize] = 'x';
  EXPECT_EQ(mapping[2 * kPageSize], 'x') << "in memory of this process's own";
  EXPECT_TRUE(guard.IsLost());
}

TEST(GuardTest, OneMappingsLossIsNotAnothers) {
  CutMapping mapping;
  CutMapping other;
  const MappingGuard guard(mapping.at(), kLength);
  const MappingGuard other_guard(other.at(), kLength);
  mapping[kPageSize] = 'x';
  EXPECT_TRUE(guard.IsLost());
  EXPECT_FALSE(other_guard.IsLost());
}

TEST(GuardTest, ReusesTheNoteOfAGuardThatIsGoneWithoutItsLoss) {
  CutMapping mapping;
  {
    const MappingGuard guard(mapping.at(), kLength);
    mapping[kPageSize] = 'x';
    EXPECT_TRUE(guard.IsLost());
  }
  const MappingGuard again(mapping.at(), kLength);
  EXPECT_FALSE(again.IsLost());
}

TEST(GuardTest, WhatWasLostStaysLostWhenItMoves) {
  CutMapping mapping;
  MappingGuard guard(mapping.at(), kLength);
  mapping[kPageSize] = 'x';
  guard.Move(mapping.at(), 2 * kLength);
  EXPECT_TRUE(guard.IsLost());
  MappingGuard taken(std::move(guard));
  EXPECT_TRUE(taken.IsLost());
  MappingGuard assigned;
  EXPECT_FALSE(assigned.IsLost()) << "it guards nothing";
  assigned = std::move(taken);
  EXPECT_TRUE(assigned.IsLost());
}

// The following end the process, or change what it does with a signal: each in a process of its
// own.
class GuardDeathTest : public testing::Test {
 protected:
  GuardDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// A sanitizer has a handler of its own.
void BeginFromTheDefault() { std::signal(SIGBUS, SIG_DFL); }

TEST_F(GuardDeathTest, AFaultElsewhereStillKills) {
  EXPECT_EXIT(
      {
        BeginFromTheDefault();
        CutMapping guarded;
        CutMapping mapping;
        const MappingGuard guard(guarded.at(), kLength);
        mapping[kPageSize] = 'x';
      },
      testing::KilledBySignal(SIGBUS), "");
}

TEST_F(GuardDeathTest, AFaultBehindAGuardThatIsGoneStillKills) {
  EXPECT_EXIT(
      {
        BeginFromTheDefault();
        CutMapping mapping;
        { const MappingGuard guard(mapping.at(), kLength); }
        mapping[kPageSize] = 'x';
      },
      testing::KilledBySignal(SIGBUS), "");
}

TEST_F(GuardDeathTest, ASignalThatSomebodySentStillKills) {
  EXPECT_EXIT(
      {
        BeginFromTheDefault();
        CutMapping mapping;
        const MappingGuard guard(mapping.at(), kLength);
        raise(SIGBUS);
      },
      testing::KilledBySignal(SIGBUS), "");
}

TEST_F(GuardDeathTest, ASignalThatWasIgnoredKillsWhenAnInstructionFaults) {
  EXPECT_EXIT(
      {
        std::signal(SIGBUS, SIG_IGN);
        CutMapping guarded;
        CutMapping mapping;
        const MappingGuard guard(guarded.at(), kLength);
        mapping[kPageSize] = 'x';
      },
      testing::KilledBySignal(SIGBUS), "");
}

TEST_F(GuardDeathTest, HandsOnToAPlainHandler) {
  EXPECT_EXIT(
      {
        std::signal(SIGBUS, [](int) { std::exit(17); });
        CutMapping guarded;
        CutMapping mapping;
        const MappingGuard guard(guarded.at(), kLength);
        guarded[kPageSize] = 'x';  // not handed on
        mapping[kPageSize] = 'x';
        std::exit(1);
      },
      testing::ExitedWithCode(17), "");
}

TEST_F(GuardDeathTest, HandsOnASignalThatSomebodySent) {
  EXPECT_EXIT(
      {
        std::signal(SIGBUS, [](int) { std::exit(19); });
        CutMapping guarded;
        const MappingGuard guard(guarded.at(), kLength);
        raise(SIGBUS);
        std::exit(1);
      },
      testing::ExitedWithCode(19), "");
}

TEST_F(GuardDeathTest, HandsOnToAHandlerThatAsksForMore) {
  EXPECT_EXIT(
      {
        struct sigaction action = {};
        action.sa_flags = SA_SIGINFO;
        action.sa_sigaction = [](int, siginfo_t* info, void*) {
          std::exit(info->si_addr != nullptr ? 18 : 1);
        };
        sigaction(SIGBUS, &action, nullptr);
        CutMapping guarded;
        CutMapping mapping;
        const MappingGuard guard(guarded.at(), kLength);
        mapping[kPageSize] = 'x';
        std::exit(2);
      },
      testing::ExitedWithCode(18), "");
}

}  // namespace
}  // namespace packetdb::host
