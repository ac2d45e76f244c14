#include "host/journals/growing_file.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/journals/error.h"
#include "tests/host/journals/support.h"
#include "tests/host/record_file/child.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

class AGrowingFile : public testing::Test {
 protected:
  std::string OpenError() {
    return WhatOf<JournalError>([&] { GrowingFile file(path_); });
  }

  const TempDir directory_;
  const std::string path_ = directory_.Path("file");
};

TEST_F(AGrowingFile, GrowsByATail) {
  WriteText(path_, "one\n");
  GrowingFile(path_).WriteTail(4, "two\n");
  EXPECT_EQ(ReadText(path_), "one\ntwo\n");
}

TEST_F(AGrowingFile, LosesWhatWasBehindTheTail) {
  WriteText(path_, "one\nhalf-written");
  GrowingFile(path_).WriteTail(4, "two\n");
  EXPECT_EQ(ReadText(path_), "one\ntwo\n");
}

TEST_F(AGrowingFile, IsReadThroughItsDescriptor) {
  WriteText(path_, "one\n");
  const GrowingFile file(path_);
  EXPECT_EQ(file.Read(4), "one\n");
  EXPECT_EQ(WhatOf<JournalError>([&] { file.Read(3); }),
            "cannot read " + path_ + ": 4 bytes are more than the 3 expected");
}

TEST_F(AGrowingFile, ThatIsMissingIsAnError) {
  EXPECT_EQ(OpenError(), "cannot open " + path_ + ": No such file or directory");
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(AGrowingFile, IsNotOpenedThroughASymbolicLink) {
  WriteText(directory_.Path("target"), "text");
  std::filesystem::create_symlink("target", path_);
  EXPECT_EQ(OpenError(), "cannot open " + path_ + ": Too many levels of symbolic links");
}

TEST_F(AGrowingFile, ThatIsAFifoIsRefusedAndDoesNotBlock) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  EXPECT_EQ(OpenError(), "cannot write " + path_ + ": not a regular file");
}

// Where anybody can make names, such a name may be anybody's way to have another file written.
TEST_F(AGrowingFile, ThatHasOtherNamesWhereAnybodyCanMakeThemIsRefused) {
  WriteText(path_, "one\n");
  std::filesystem::create_hard_link(path_, directory_.Path("other"));
  EXPECT_EQ(OpenError(), "nothing was thrown") << "in a folder of our own";
  ASSERT_EQ(chmod(directory_.Path("").c_str(), 0777), 0);
  EXPECT_EQ(OpenError(),
            "cannot write " + path_ + ": it has other names, and others may have made them");
}

TEST_F(AGrowingFile, ThatOthersCanWriteIsRefused) {
  WriteText(path_, "one\n");
  ASSERT_EQ(chmod(path_.c_str(), 0666), 0);
  EXPECT_EQ(OpenError(), "cannot write " + path_ +
                             ": its mode lets others write, so that it cannot be relied on");
}

TEST_F(AGrowingFile, ThatWasRemovedGetsNoTail) {
  WriteText(path_, "one\n");
  GrowingFile file(path_);
  std::filesystem::remove(path_);
  EXPECT_EQ(WhatOf<JournalError>([&] { file.WriteTail(4, "two\n"); }),
            "cannot write " + path_ + ": it was removed or replaced while it was in use");
}

TEST_F(AGrowingFile, ThatWasReplacedGetsNoTail) {
  WriteText(path_, "one\n");
  GrowingFile file(path_);
  WriteText(directory_.Path("other"), "other\n");
  std::filesystem::rename(directory_.Path("other"), path_);
  EXPECT_THROW(file.WriteTail(4, "two\n"), JournalError);
  EXPECT_EQ(ReadText(path_), "other\n");
}

TEST_F(AGrowingFile, IsLockedByOneProcessAtATime) {
  WriteText(path_, "");
  GrowingFile file(path_);
  EXPECT_TRUE(file.Lock());
  EXPECT_EQ(InChild([&] { return GrowingFile(path_).Lock() ? 1 : 0; }), 0);
  file = GrowingFile();
  EXPECT_EQ(InChild([&] { return GrowingFile(path_).Lock() ? 0 : 1; }), 0);
}

}  // namespace
}  // namespace packetdb::host::test
