// What somebody else may have put at the path, or can change meanwhile, is not written to.
#include "host/record_file/trust.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/folder.h"
#include "tests/host/record_file/child.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

constexpr uid_t kSomebody = 12345;
constexpr uid_t kNobody = 65534;

class RecordFileTrust : public testing::Test {
 protected:
  void SetFolderMode(mode_t mode) { ASSERT_EQ(chmod(disk_.folder().c_str(), mode), 0); }
  void SetMode(mode_t mode) { ASSERT_EQ(chmod(path_.c_str(), mode), 0); }
  static void GiveTo(const std::string& path, uid_t owner) {
    ASSERT_EQ(chown(path.c_str(), owner, static_cast<gid_t>(-1)), 0);
  }

  int OpenToWrite() { return Open(file_, path_, kModeWrite); }
  int OpenAsOrdinaryUser(int mode) {
    return InChild([&] { return BecomeOrdinaryUser() ? Open(file_, path_, mode) : kSystemError; });
  }

  Disk disk_;
  CDbFile file_;
  std::string path_ = MakeJournal(disk_, 2);
};

#define REQUIRE_SUPERUSER() \
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away"

TEST_F(RecordFileTrust, OurOwnFileIsOurs) { EXPECT_EQ(OpenToWrite(), kRecordFileOk); }

TEST_F(RecordFileTrust, AFileThatOthersMayWriteToIsNot) {
  for (const mode_t mode : {0660U, 0606U, 0666U, 0642U}) {
    SetMode(mode);
    EXPECT_EQ(OpenToWrite(), kWritableByOthers) << std::oct << mode;
    EXPECT_EQ(Open(file_, path_, kModeAnew), kWritableByOthers);
    EXPECT_EQ(Open(file_, path_, kModeRead), kRecordFileOk) << "reading trusts nothing anyway";
  }
  SetMode(0600);
  EXPECT_EQ(OpenToWrite(), kRecordFileOk);
}

TEST_F(RecordFileTrust, OtherNamesAreOursWhereOnlyWeCanMakeThem) {
  std::filesystem::create_hard_link(path_, disk_.folder() + "/other name");
  SetFolderMode(0755);
  EXPECT_EQ(OpenToWrite(), kRecordFileOk);
  for (const mode_t mode : {0775U, 0757U, 0777U}) {
    SetFolderMode(mode);
    EXPECT_EQ(OpenToWrite(), kLinkedElsewhere) << std::oct << mode;
  }
  std::filesystem::remove(disk_.folder() + "/other name");
  EXPECT_EQ(OpenToWrite(), kRecordFileOk) << "with one name the folder does not matter";
}

// As when somebody has put a foreign file's name there, and taken it away once it was open.
TEST_F(RecordFileTrust, AFileThatThePathLeadsToNoLongerIsNot) {
  const Descriptor opened = OpenDescriptor(path_, O_RDWR);
  std::filesystem::rename(path_, disk_.folder() + "/elsewhere");
  SetFolderMode(0777);
  EXPECT_EQ(RequireOurs(path_, opened), kUnsettled);
  MakeJournal(disk_, 2);
  EXPECT_EQ(RequireOurs(path_, opened), kUnsettled);
  SetFolderMode(0755);
  EXPECT_EQ(RequireOurs(path_, opened), kRecordFileOk) << "where only we can have done that";
}

TEST_F(RecordFileTrust, AnotherUsersFileIsNot) {
  REQUIRE_SUPERUSER();
  SetFolderMode(0777);
  GiveTo(path_, kSomebody);
  SetMode(0644);
  EXPECT_EQ(OpenAsOrdinaryUser(kModeRead), kRecordFileOk);
  EXPECT_EQ(OpenAsOrdinaryUser(kModeWrite), kNoPermission) << "the system does not let us";
}

TEST_F(RecordFileTrust, TheSuperuserWorksForTheOwnerOfTheFolder) {
  REQUIRE_SUPERUSER();
  GiveTo(path_, kSomebody);
  GiveTo(disk_.folder(), kSomebody);
  EXPECT_EQ(OpenToWrite(), kRecordFileOk);
}

TEST_F(RecordFileTrust, TheSuperuserWorksInItsOwnFolder) {
  REQUIRE_SUPERUSER();
  GiveTo(path_, kSomebody);
  EXPECT_EQ(OpenToWrite(), kRecordFileOk);
  SetFolderMode(0777);
  EXPECT_EQ(OpenToWrite(), kForeignOwner) << "unless others put files there";
}

TEST_F(RecordFileTrust, TheSuperuserWritesToNoFileThatSomebodyPutIntoAnothersFolder) {
  REQUIRE_SUPERUSER();
  GiveTo(path_, kSomebody);
  GiveTo(disk_.folder(), kNobody);
  EXPECT_EQ(OpenToWrite(), kForeignOwner);
}

TEST_F(RecordFileTrust, AFolderIsOursWhenNobodyElseCanPutNamesThere) {
  EXPECT_TRUE(IsOurFolder(path_));
  SetFolderMode(0770);
  EXPECT_FALSE(IsOurFolder(path_));
  EXPECT_FALSE(IsOurFolder(disk_.folder() + "/missing/journal"));
}

TEST_F(RecordFileTrust, AFolderOfAnotherUserIsNotOurs) {
  REQUIRE_SUPERUSER();
  GiveTo(disk_.folder(), kSomebody);
  EXPECT_FALSE(IsOurFolder(path_));
  EXPECT_EQ(InChild([&] { return BecomeOrdinaryUser() && IsOurFolder("/etc/passwd") ? 1 : 0; }), 1)
      << "the superuser's is as good as ours";
}

TEST_F(RecordFileTrust, AClosedFileIsNobodys) { EXPECT_LT(RequireOurs(path_, Descriptor()), 0); }

TEST(FolderOfTest, IsWhatStandsBeforeTheLastSlash) {
  EXPECT_EQ(FolderOf("journal"), ".");
  EXPECT_EQ(FolderOf("/journal"), "/");
  EXPECT_EQ(FolderOf("a/journal"), "a");
  EXPECT_EQ(FolderOf("/a/b/journal"), "/a/b");
}

}  // namespace
}  // namespace packetdb::host
