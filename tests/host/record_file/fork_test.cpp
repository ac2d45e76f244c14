// A process that forks while it has a file open for writing.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;

class ForkedWriter : public testing::Test {
 protected:
  // What a forked process's exit status was after it did this.
  template <class Body>
  static int InFork(Body body) {
    const pid_t child = fork();
    if (child == 0) {
      body();
      _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
  }

  Disk disk_;
  std::string path_ = disk_.NewPath();
  CDbFile file_;
};

TEST_F(ForkedWriter, KeepsItsLockAndItsFileWhenTheForkClosesItsCopy) {
  ASSERT_EQ(Open(file_, path_, kModeMissing), 0);
  ASSERT_EQ(Append(file_, 1), 0);
  ASSERT_EQ(InFork([this] { file_.Done(); }), 0);
  CDbFile second;
  EXPECT_EQ(Open(second, path_, kModeWrite), kInUse);
  EXPECT_NE(StateOf(ReadBytes(path_)).state, kClosed) << "only the parent may say so";
  EXPECT_EQ(Append(file_, 2), 1);
  EXPECT_THAT(Values(file_), ElementsAre(1, 2));
}

TEST_F(ForkedWriter, ThatChangedNothingYetKeepsItsLockAsWell) {
  ASSERT_EQ(Open(file_, path_, kModeMissing), 0);
  ASSERT_EQ(InFork([this] { file_.Done(); }), 0);
  CDbFile second;
  EXPECT_EQ(Open(second, path_, kModeWrite), kInUse);
}

}  // namespace
}  // namespace packetdb::host
