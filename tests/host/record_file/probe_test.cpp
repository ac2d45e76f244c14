#include "host/record_file/probe.h"

#include <gmock/gmock.h>

#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

TEST(RecordFileProbe, TellsTheFormat) {
  Disk disk;
  RecordFileInfo info;
  ASSERT_EQ(ProbeRecordFile(MakeJournal(disk, 5, 3), &info), kRecordFileOk);
  EXPECT_EQ(info.layout_version, kLayoutVersion);
  EXPECT_EQ(info.record_size, kTestRecordSize);
  EXPECT_EQ(info.capacity, 3U);
  EXPECT_EQ(info.next, 5U);
  EXPECT_EQ(info.records, 3U);
  EXPECT_EQ(info.magic, kTestMagic);
}

TEST(RecordFileProbe, TellsThatThereIsNoBound) {
  Disk disk;
  RecordFileInfo info;
  ASSERT_EQ(ProbeRecordFile(MakeJournal(disk, 5, kNoBound), &info), kRecordFileOk);
  EXPECT_EQ(info.capacity, 0U);
  EXPECT_EQ(info.records, 5U);
}

TEST(RecordFileProbe, LooksAtAFileInUse) {
  Disk disk;
  const std::string path = MakeJournal(disk, 1);
  CDbFile writer;
  ASSERT_EQ(Open(writer, path, kModeWrite), kRecordFileOk);
  Append(writer, 2);
  RecordFileInfo info;
  ASSERT_EQ(ProbeRecordFile(path, &info), kRecordFileOk);
  EXPECT_EQ(info.records, 2U);
  EXPECT_EQ(Append(writer, 3), 2) << "the writer does not notice";
}

TEST(RecordFileProbe, RefusesWhatIsNoRecordFile) {
  Disk disk;
  const std::string path = disk.NewPath();
  RecordFileInfo info;
  info.magic = "as before";
  EXPECT_EQ(ProbeRecordFile(path, &info), kMissing);
  EXPECT_EQ(ProbeRecordFile(disk.folder(), &info), kIsDirectory);
  WriteBytes(path, Bytes(5000, 'x'));
  EXPECT_EQ(ProbeRecordFile(path, &info), kNotARecordFile);
  EXPECT_EQ(info.magic, "as before");
}

}  // namespace
}  // namespace packetdb::host
