#include "host/journals/files.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "host/journals/error.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SmallFile : public testing::Test {
 protected:
  std::string ReadError(std::size_t limit = 100) {
    return WhatOf<JournalError>([&] { ReadSmallFile(path_, limit, &text_); });
  }

  const TempDir directory_;
  const std::string path_ = directory_.Path("file");
  std::string text_ = "before";
};

TEST_F(SmallFile, IsReadWhole) {
  const std::string text("a\0b\n", 4);
  WriteText(path_, text);
  EXPECT_TRUE(ReadSmallFile(path_, 100, &text_));
  EXPECT_EQ(text_, text);
}

TEST_F(SmallFile, MayBeEmpty) {
  WriteText(path_, "");
  EXPECT_TRUE(ReadSmallFile(path_, 100, &text_));
  EXPECT_EQ(text_, "");
}

TEST_F(SmallFile, ThatIsMissingIsNoError) {
  EXPECT_FALSE(ReadSmallFile(path_, 100, &text_));
  EXPECT_EQ(text_, "before");
}

TEST_F(SmallFile, ThatCannotBeOpenedIsAnErrorWithTheReason) {
  WriteText(path_, "");
  const std::string below = path_ + "/below";
  EXPECT_EQ(WhatOf<JournalError>([&] { ReadSmallFile(below, 100, &text_); }),
            "cannot open " + below + ": Not a directory");
}

TEST_F(SmallFile, ThatCannotBeSyncedIsAnErrorWithTheReason) {
  const std::string reason = ": No such file or directory";
  EXPECT_EQ(WhatOf<JournalError>([&] { SyncFile(path_); }), "cannot sync " + path_ + reason);
  EXPECT_EQ(WhatOf<JournalError>([&] { SyncDirectoryOf(path_ + "/below"); }),
            "cannot sync the directory " + path_ + "/." + reason);
}

TEST_F(SmallFile, IsNotReadThroughASymbolicLink) {
  WriteText(directory_.Path("target"), "secret");
  std::filesystem::create_symlink("target", path_);
  EXPECT_EQ(ReadError(), "cannot open " + path_ + ": Too many levels of symbolic links");
  EXPECT_EQ(text_, "before");
}

TEST_F(SmallFile, ThatIsAFifoIsRefusedWithoutWaitingForAWriter) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  EXPECT_EQ(ReadError(), "cannot read " + path_ + ": not a regular file");
}

TEST_F(SmallFile, ThatIsADirectoryIsRefused) {
  std::filesystem::create_directory(path_);
  EXPECT_EQ(ReadError(), "cannot read " + path_ + ": not a regular file");
}

TEST_F(SmallFile, MayBeAsLargeAsTheLimitAndNoLarger) {
  WriteText(path_, "12345");
  EXPECT_TRUE(ReadSmallFile(path_, 5, &text_));
  EXPECT_EQ(ReadError(4), "cannot read " + path_ + ": 5 bytes are more than the 4 expected");
}

TEST_F(SmallFile, IsCreatedWholeAndLeavesNothingElse) {
  CreateSmallFile(path_, "one\ntwo\n");
  EXPECT_EQ(ReadText(path_), "one\ntwo\n");
  EXPECT_THAT(NamesIn(directory_.Path()), ElementsAre("file"));
}

TEST_F(SmallFile, IsNotOpenToEverybody) {
  CreateSmallFile(path_, "");
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0137, 0U);
}

TEST_F(SmallFile, ThatIsThereAlreadyIsNotReplaced) {
  CreateSmallFile(path_, "first");
  CreateSmallFile(path_, "second");
  EXPECT_EQ(ReadText(path_), "first");
  EXPECT_THAT(NamesIn(directory_.Path()), ElementsAre("file"));
}

TEST_F(SmallFile, CannotBeCreatedInAMissingDirectory) {
  const std::string path = directory_.Path("missing/file");
  const std::string error = WhatOf<JournalError>([&] { CreateSmallFile(path, ""); });
  EXPECT_THAT(error, testing::StartsWith("cannot create " + path));
  EXPECT_THAT(error, testing::EndsWith(": No such file or directory"));
}

TEST_F(SmallFile, IsCreatedInADirectoryThatIsReachedThroughASymbolicLink) {
  std::filesystem::create_directory(directory_.Path("real"));
  std::filesystem::create_directory_symlink("real", directory_.Path("link"));
  CreateSmallFile(directory_.Path("link/file"), "text");
  EXPECT_EQ(ReadText(directory_.Path("real/file")), "text");
}

// The process may write files of no more than some bytes while it lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(SmallFile, ThatCannotBeWrittenIsNotThereAtAll) {
  std::string error;
  {
    const FileSizeLimit limit(3);
    error = WhatOf<JournalError>([&] { CreateSmallFile(path_, "12345"); });
  }
  EXPECT_THAT(error, testing::StartsWith("cannot write " + path_));
  EXPECT_THAT(error, testing::EndsWith(": File too large"));
  EXPECT_THAT(NamesIn(directory_.Path()), IsEmpty());
}

}  // namespace
}  // namespace packetdb::host::test
