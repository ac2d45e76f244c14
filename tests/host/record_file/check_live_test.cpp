// What a check finds beside a writer: nothing that the writer did.
#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/record_file/inspect.h"
#include "host/record_file/open.h"
#include "tests/host/record_file/checked.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned long kLargestChecked =
    5000;  // records; far more than are appended during a look

// Appends and overwrites for as long as the process lives; from time to time it opens the file
// anew.
[[noreturn]] void WriteAndReopenForEver(const std::string& path, unsigned long capacity) {
  for (std::uint64_t number = 0;;) {
    CDbFile file;
    if (Open(file, path, kModeWrite, capacity) < 0) _exit(1);
    for (int i = 0; i < 20000; ++i) {
      const int ticket = Append(file, ++number);
      if (ticket < 0) _exit(2);
      for (const int age : {0, 1, 2}) {
        if (ticket >= age) Overwrite(file, ticket - age, number);
      }
    }
  }
}

class FullSpeedCheck : public testing::TestWithParam<unsigned long> {
 protected:
  FullSpeedCheck() : path_(MakeJournal(disk_, 0, GetParam())), writer_(fork()) {
    if (writer_ == 0) WriteAndReopenForEver(path_, GetParam());
  }
  ~FullSpeedCheck() override {
    if (!writer_works_) return;
    kill(writer_, SIGKILL);
    waitpid(writer_, nullptr, 0);
  }
  bool WriterWorks() {
    writer_works_ = writer_works_ && waitpid(writer_, nullptr, WNOHANG) == 0;
    return writer_works_;
  }

  Disk disk_;
  std::string path_;
  pid_t writer_;
  bool writer_works_ = true;
};

TEST_P(FullSpeedCheck, FindsNothing) {
  constexpr int kLooks = 200;
  for (int i = 0; i < kLooks && WriterWorks(); ++i) {
    const Checked checked = Check(path_);
    ASSERT_EQ(checked.result, kRecordFileOk);
    ASSERT_THAT(checked.found, IsEmpty()) << checked.texts.front() << ", look " << i;
  }
  EXPECT_TRUE(WriterWorks()) << "all the time";
}

INSTANTIATE_TEST_SUITE_P(Capacities, FullSpeedCheck,
                         testing::Values(3UL, 64UL, kLargestChecked, 200000UL),
                         testing::PrintToStringParamName());

class LiveCheck : public testing::Test {
 protected:
  void Put(std::uint64_t offset, const Bytes& bytes) {
    const Descriptor file(open(path_.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(pwrite(file.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset)),
              std::ssize(bytes));
  }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 5, 1000);
  CDbFile writer_;
};

TEST_F(LiveCheck, AFileThatAWriterHasOpenAndHasNotChangedIsSound) {
  ASSERT_EQ(Open(writer_, path_, kModeWrite, 1000), kRecordFileOk);
  EXPECT_THAT(FindingsIn(path_), IsEmpty());
  Append(writer_, 6);
  EXPECT_THAT(FindingsIn(path_), IsEmpty());
}

TEST_F(LiveCheck, WhatTheWriterIsInTheMiddleOfIsNoDamage) {
  ASSERT_EQ(Open(writer_, path_, kModeWrite, 1000), kRecordFileOk);
  Append(writer_, 6);
  Put(OffsetIn(path_, 6), Bytes(40, 'x'));  // an append
  Put(kRedoOffset, Bytes(40, 'x'));         // an overwrite
  EXPECT_THAT(FindingsIn(path_), IsEmpty());
}

TEST_F(LiveCheck, DamageIsFoundBesideAWriter) {
  ASSERT_EQ(Open(writer_, path_, kModeWrite, 1000), kRecordFileOk);
  Append(writer_, 6);
  const std::uint64_t record = OffsetIn(path_, 2);
  const std::uint64_t unused = OffsetIn(path_, 9);
  Put(record, Bytes(4, 'x'));
  Put(unused, Bytes(4, 'x'));
  Put(kStateOffset + 20, Bytes(1, 'x'));
  EXPECT_THAT(FindingsIn(path_),
              ElementsAre(Damage(kStateOffset + 20, kFindPadding), Damage(record, kFindFrame),
                          Damage(unused, kFindUnusedSlot)));
}

TEST_F(LiveCheck, ARecordThatThePowerCutTookStaysMissingBesideTheNextWriter) {
  ASSERT_EQ(Open(writer_, path_, kModeWrite, 1000), kRecordFileOk);
  Append(writer_, 6);
  const std::uint64_t record = OffsetIn(path_, 2);
  Put(record, Bytes(80, '\0'));
  EXPECT_THAT(FindingsIn(path_), ElementsAre(Warning(record, kFindLost)));
}

TEST_F(LiveCheck, AFlushThatFailedIsToldBesideTheWriter) {
  ASSERT_EQ(Open(writer_, path_, kModeWrite, 1000), kRecordFileOk);
  Append(writer_, 6);
  constexpr std::uint64_t kState = kStateOffset + offsetof(StatePage, state);
  Put(kState, Bytes(1, '\x03'));
  EXPECT_THAT(FindingsIn(path_), ElementsAre(Warning(kState, kFindFlushFailed)));
}

TEST_F(LiveCheck, AClosedPageThatIsDamagedIsFoundBesideAWriter) {
  ASSERT_EQ(Open(writer_, path_, kModeWrite, 1000), kRecordFileOk);
  Put(kStateOffset + offsetof(StatePage, opened_ns), Bytes(1, 'x'));
  EXPECT_THAT(FindingsIn(path_), ElementsAre(Damage(kStateOffset, kFindState)));
}

TEST_F(LiveCheck, AWriterThatStillLooksForWhatThePowerCutLeftIsInTheMiddleOfIt) {
  Put(kStateOffset + offsetof(StatePage, state), Bytes(1, '\x02'));
  MoveToOtherBoot(path_);
  Put(OffsetIn(path_, 9), Bytes(9, 'x'));
  const Descriptor file(open(path_.c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(Lock(file), kRecordFileOk);
  EXPECT_THAT(FindingsIn(path_), ElementsAre(Note(OffsetIn(path_, 9), kFindAppendPending)));
}

TEST_F(LiveCheck, SlotsThatAWriterReachesMeanwhileAreNoDamage) {
  // As if a writer came and went on between the look at the commit word and that at the slots.
  Put(kStateOffset + 20, Bytes(1, 'x'));
  std::uint64_t value = 5;
  const Checked checked = Check(path_, [&] {
    if (value == 5) {
      ASSERT_EQ(Open(writer_, path_, kModeWrite, 1000), kRecordFileOk);
    }
    while (value < 7000) Append(writer_, ++value);
  });
  EXPECT_THAT(checked.found, ElementsAre(Damage(kStateOffset, kFindState),
                                         Damage(kStateOffset + 20, kFindPadding)));
}

TEST_F(LiveCheck, AnAppendThatBeginsMeanwhileIsNoDamage) {
  Put(kStateOffset + 20, Bytes(1, 'x'));
  bool is_first = true;
  const Checked checked = Check(path_, [&] {
    if (!std::exchange(is_first, false)) return;
    ASSERT_EQ(Open(writer_, path_, kModeWrite, 1000), kRecordFileOk);
    Put(OffsetIn(path_, 5), Bytes(9, 'x'));
    Put(kRedoOffset, Bytes(9, 'x'));
  });
  EXPECT_THAT(checked.found, ElementsAre(Damage(kStateOffset, kFindState),
                                         Damage(kStateOffset + 20, kFindPadding)));
}

TEST_F(LiveCheck, AFileThatIsCutMeanwhileCannotBeRead) {
  Put(kStateOffset + 20, Bytes(1, 'x'));
  const Checked checked =
      Check(path_, [this] { std::filesystem::resize_file(path_, kCellsOffset + 100); });
  EXPECT_EQ(checked.result, kFileLost);
}

TEST_F(LiveCheck, AShortFileThatIsCutFurtherMeanwhileCannotBeRead) {
  std::filesystem::resize_file(path_, 50000);
  const Checked checked =
      Check(path_, [this] { std::filesystem::resize_file(path_, kCellsOffset + 100); });
  EXPECT_EQ(checked.result, kTruncatedFile);
  std::filesystem::resize_file(path_, 50000);
  EXPECT_EQ(Check(path_, [this] { std::filesystem::resize_file(path_, 100); }).result,
            kTruncatedFile);
}

TEST_F(LiveCheck, TellsWhetherAWriterHasTheFileOpen) {
  Descriptor file;
  ASSERT_EQ(OpenUnlocked(path_, Access::kRead, &file), kRecordFileOk);
  bool writer = true;
  ASSERT_EQ(FindWriter(file, &writer), kRecordFileOk);
  EXPECT_FALSE(writer);
  CDbFile open_file;
  ASSERT_EQ(Open(open_file, path_, kModeRead, 1000), kRecordFileOk);
  ASSERT_EQ(FindWriter(file, &writer), kRecordFileOk);
  EXPECT_FALSE(writer) << "a reader is none";
  ASSERT_EQ(Open(open_file, path_, kModeWrite, 1000), kRecordFileOk);
  ASSERT_EQ(FindWriter(file, &writer), kRecordFileOk);
  EXPECT_TRUE(writer);
  CDbFile another;
  open_file.Done();
  EXPECT_EQ(Open(another, path_, kModeWrite, 1000), kRecordFileOk) << "asking takes no lock";
}

}  // namespace
}  // namespace packetdb::host
