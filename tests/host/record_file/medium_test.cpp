// Both ways to a file's bytes do the same.
#include "host/record_file/medium.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kFileLength = 4 * kPageSize;

class MediumTest : public testing::TestWithParam<Way> {
 protected:
  MediumTest() { WriteBytes(path_, Bytes(kFileLength, 'o')); }

  bool IsMapped() const { return GetParam() == Way::kMapped; }

  Disk disk_;
  std::string path_ = disk_.NewPath();
};

INSTANTIATE_TEST_SUITE_P(BothWays, MediumTest, testing::Values(Way::kMapped, Way::kByCalls),
                         [](const auto& way) {
                           return way.param == Way::kMapped ? "Mapped" : "ByCalls";
                         });

TEST_P(MediumTest, WritesWhereItIsToldAndNowhereElse) {
  OpenBytes bytes(path_, GetParam());
  ASSERT_EQ(bytes.medium.Write(4000, "written", 7), kRecordFileOk);
  Bytes expected(kFileLength, 'o');
  std::copy_n("written", 7, expected.begin() + 4000);
  EXPECT_EQ(ReadBytes(path_), expected);
}

TEST_P(MediumTest, ReadsWhatTheFileHolds) {
  Bytes content = ReadBytes(path_);
  std::copy_n("written", 7, content.begin() + 5000);
  WriteBytes(path_, content);
  OpenBytes bytes(path_, GetParam(), Access::kRead);
  Bytes read(9);
  ASSERT_EQ(bytes.medium.Read(4999, read.data(), 9), kRecordFileOk);
  EXPECT_EQ(std::string(read.begin(), read.end()), "owritteno");
}

TEST_P(MediumTest, StoresAndLoadsWords) {
  OpenBytes bytes(path_, GetParam());
  ASSERT_EQ(bytes.medium.StoreWord(8192, 0x0123456789ABCDEF), kRecordFileOk);
  EXPECT_EQ(bytes.medium.LoadWord(8192), 0x0123456789ABCDEFU);
  EXPECT_EQ(ReadBytes(path_)[8192], '\xEF') << "little-endian";
}

TEST_P(MediumTest, ShowsWhatAnotherOneWrites) {
  OpenBytes writer(path_, GetParam());
  OpenBytes mapped(path_, Way::kMapped, Access::kRead);
  OpenBytes called(path_, Way::kByCalls, Access::kRead);
  ASSERT_EQ(writer.medium.StoreWord(kPageSize, 17), kRecordFileOk);
  EXPECT_EQ(mapped.medium.LoadWord(kPageSize), 17U);
  EXPECT_EQ(called.medium.LoadWord(kPageSize), 17U);
}

TEST_P(MediumTest, KeepsTheFilesOffsetsWhenItCoversOnlyAPart) {
  const Descriptor file(open(path_.c_str(), O_RDWR | O_CLOEXEC));
  Medium medium;
  ASSERT_EQ(medium.Open(file, 2 * kPageSize, kPageSize, Access::kWrite, GetParam()), kRecordFileOk);
  ASSERT_EQ(medium.Write(2 * kPageSize + 3, "x", 1), kRecordFileOk);
  EXPECT_EQ(ReadBytes(path_)[2 * kPageSize + 3], 'x');
}

TEST_P(MediumTest, ReachesWhatAFileGrewBy) {
  OpenBytes bytes(path_, GetParam());
  std::filesystem::resize_file(path_, 100 * kFileLength);
  ASSERT_EQ(bytes.medium.Grow(100 * kFileLength), kRecordFileOk);
  ASSERT_EQ(bytes.medium.Write(100 * kFileLength - 1, "x", 1), kRecordFileOk);
  EXPECT_EQ(ReadBytes(path_).back(), 'x');
  EXPECT_FALSE(bytes.medium.IsLost());
}

TEST_P(MediumTest, MovesWithItsMapping) {
  OpenBytes bytes(path_, GetParam());
  Medium moved = std::move(bytes.medium);
  ASSERT_EQ(moved.Write(1, "x", 1), kRecordFileOk);
  EXPECT_EQ(ReadBytes(path_)[1], 'x');
  EXPECT_EQ(moved.mapped() != nullptr, IsMapped());
}

// A mapping tells afterwards, a call at once.
TEST_P(MediumTest, NoticesThatTheFileWasCut) {
  OpenBytes bytes(path_, GetParam());
  std::filesystem::resize_file(path_, kPageSize);
  char byte = 'x';
  const RecordFileResult result = bytes.medium.Read(3 * kPageSize, &byte, 1);
  EXPECT_EQ(result, IsMapped() ? kRecordFileOk : kTruncatedFile);
  EXPECT_EQ(bytes.medium.IsLost(), IsMapped());
  EXPECT_EQ(bytes.medium.LoadWord(3 * kPageSize), 0U);
}

TEST(MediumOpenTest, RefusesToMapWhatIsNotOpenForIt) {
  Disk disk;
  const std::string path = disk.NewPath();
  WriteBytes(path, Bytes(kPageSize, 'o'));
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  Medium medium;
  EXPECT_EQ(medium.Open(file, 0, kPageSize, Access::kWrite, Way::kMapped), kNoPermission);
  EXPECT_EQ(medium.mapped(), nullptr);
}

TEST(MediumOpenTest, FilesOnTheKernelsOwnFileSystemsAreMapped) {
  const Descriptor memory(memfd_create("memory", MFD_CLOEXEC));
  EXPECT_EQ(BestWay(memory), Way::kMapped);
}

TEST(MediumOpenTest, WhatCannotBeAskedIsNotMapped) {
  EXPECT_EQ(BestWay(Descriptor()), Way::kByCalls);
}

}  // namespace
}  // namespace packetdb::host
