// What closing does to the disk. This program's fdatasync and slput stand in for the real ones:
// the dynamic linker prefers a program's own definition.
#include <cerrno>
#include <gmock/gmock.h>
#include <syslog.h>

#include "platform/log.h"
#include "tests/host/record_file/journal.h"

namespace {

int flushes = 0;
int flush_error = 0;
std::vector<std::string> messages;

}  // namespace

extern "C" int fdatasync(int) {
  ++flushes;
  errno = flush_error;
  return flush_error == 0 ? 0 : -1;
}

int slput(int priority, const char* text) {
  messages.push_back(std::to_string(priority) + " " + text);
  return 0;
}

namespace packetdb::host {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class RecordFileFlush : public testing::Test {
 protected:
  RecordFileFlush() {
    flush_error = 0;
    flushes = 0;
    messages.clear();
  }

  Disk disk_;
  CDbFile file_;
  std::string path_ = disk_.NewPath();
};

TEST_F(RecordFileFlush, DoneFlushesAWriterOnce) {
  ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
  Append(file_, 1);
  EXPECT_EQ(flushes, 0) << "no system call per record";
  file_.Done();
  EXPECT_EQ(flushes, 1);
  file_.Done();
  EXPECT_EQ(flushes, 1);
  EXPECT_THAT(messages, IsEmpty());
}

TEST_F(RecordFileFlush, AReaderFlushesNothing) {
  const std::string path = MakeJournal(disk_, 1);
  flushes = 0;
  ASSERT_EQ(Open(file_, path, kModeRead), kRecordFileOk);
  file_.Done();
  EXPECT_EQ(flushes, 0);
}

TEST_F(RecordFileFlush, AFailedFlushIsReported) {
  ASSERT_EQ(Open(file_, path_, kModeMissing), kRecordFileOk);
  flush_error = EIO;
  file_.Done();
  EXPECT_THAT(messages, ElementsAre(AllOf(StartsWith("3 "), HasSubstr(path_),
                                          EndsWith("Input/output error"))));
  EXPECT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk) << "and the file is closed all the same";
}

}  // namespace
}  // namespace packetdb::host
