// A check of a journal between the steps of a writer: before one of its reads the
// writer comes, goes, or comes and goes.
#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "host/cli/check_command.h"
#include "host/record_file/settings.h"
#include "tests/host/cli/examining.h"

namespace {

std::function<void()> g_before_read;

}  // namespace

// The check's reads come here instead of to libc.
extern "C" ssize_t pread(int fd, void* bytes, size_t size, off_t offset) {
  if (g_before_read) g_before_read();
  return syscall(SYS_pread64, fd, bytes, size, offset);
}

namespace packetdb::host::test {
namespace {

class CheckStep : public Examining {
 protected:
  void SetUp() override {
    Store(path_, {RecordAt(0), RecordAt(1), RecordAt(2)}, 3);
    RecordFileSettings settings = before_;
    settings.by_calls = true;  // each read is a call
    SetRecordFileSettings(settings);
  }
  void TearDown() override { SetRecordFileSettings(before_); }

  // Checks the journal; `act` is done before the read number `step`, the first being 0.
  nlohmann::json CheckWith(int step, const std::function<void()>& act) {
    reads_ = 0;
    const Ran ran = Observe([&] {
      g_before_read = [&] {
        if (reads_++ != step) return;
        const auto hook = std::exchange(g_before_read, nullptr);  // the writer reads as well
        act();
        g_before_read = hook;
      };
      const ExitCode status = RunCheck({path_, "json"});
      g_before_read = nullptr;
      return status;
    });
    EXPECT_NE(ran.out, "") << ran.err;
    nlohmann::json check = nlohmann::json::parse(ran.out);
    EXPECT_EQ(ran.status, check["writer"] == true ? kExitInUse : kExitOk);
    return check;
  }
  void OpenWriter(CDbFile& writer) const { OpenToWrite(writer, path_, JournalFormat::k4, 3); }

  const RecordFileSettings before_ = GetRecordFileSettings();
  int reads_ = 0;  // of the last check
};

TEST_F(CheckStep, NoWriterIsSeenWhereNoneIs) {
  EXPECT_EQ(CheckWith(-1, [] {})["result"], "clean");
  EXPECT_GT(reads_, 10);
}

TEST_F(CheckStep, AWriterThatComesAtAnyReadIsSeen) {
  CheckWith(-1, [] {});
  for (int step = 0, reads = reads_; step < reads; ++step) {
    CDbFile writer;
    EXPECT_EQ(CheckWith(step, [&] { OpenWriter(writer); })["result"], "in_use") << step;
  }
}

TEST_F(CheckStep, AWriterThatGoesIsSeen) {
  CheckWith(-1, [] {});
  CDbFile writer;
  OpenWriter(writer);
  EXPECT_EQ(CheckWith(reads_ - 1, [&] { writer.Done(); })["result"], "in_use");
}

}  // namespace
}  // namespace packetdb::host::test
