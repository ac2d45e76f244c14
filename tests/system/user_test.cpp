// The user that the configuration names, whom a daemon that is started by root becomes.
#include <array>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <grp.h>
#include <optional>
#include <pwd.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/live_daemon.h"

namespace packetdb::host::test {
namespace {

using testing::Each;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

constexpr char kUser[] = "nobody";

// The numbers of a line of /proc/PID/status.
std::vector<unsigned int> NumbersOf(pid_t process, const std::string& words) {
  std::ifstream lines("/proc/" + std::to_string(process) + "/status");
  std::vector<unsigned int> numbers;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(words)) continue;
    std::istringstream rest(line.substr(words.size()));
    for (unsigned int number = 0; rest >> number;) numbers.push_back(number);
  }
  return numbers;
}

// As the system has them, without the daemon's own way of finding them.
std::vector<unsigned int> GroupsOf(const char* user, gid_t first) {
  std::array<gid_t, 64> groups{};
  int count = groups.size();
  EXPECT_GE(getgrouplist(user, first, groups.data(), &count), 0);
  return {groups.begin(), groups.begin() + count};
}

class UserTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    const passwd* entry = getpwnam(kUser);
    ASSERT_NE(entry, nullptr);
    user_ = *entry;
  }

  // The journals are that user's, and the ways to them are open.
  void StartAsUser() {
    const std::filesystem::path place = std::filesystem::path(place_.config()).parent_path();
    std::filesystem::permissions(place, std::filesystem::perms(0755));
    ASSERT_EQ(chown(place_.journals().c_str(), user_.pw_uid, user_.pw_gid), 0);
    std::filesystem::create_directory(place / "packetdb.d");
    std::ofstream(place / "packetdb.d/user.toml") << "user = '" << kUser << "'\n";
    network_.emplace();
    network_->LogUdp(kLogGroup, kLoggedPort, "pdb:input:user:drop");
    daemon_.emplace(*network_, place_);
  }

  void ExpectIsUser(pid_t process) const {
    ASSERT_NE(process, 0);
    SCOPED_TRACE(process);
    // Real, effective, saved, and that of the file system.
    EXPECT_THAT(NumbersOf(process, "Uid:"), testing::AllOf(SizeIs(4), Each(user_.pw_uid)));
    EXPECT_THAT(NumbersOf(process, "Gid:"), testing::AllOf(SizeIs(4), Each(user_.pw_gid)));
    EXPECT_THAT(NumbersOf(process, "Groups:"),
                UnorderedElementsAreArray(GroupsOf(kUser, user_.pw_gid)));
  }

  passwd user_{};
  DaemonPlace place_;
  std::optional<LiveNetwork> network_;
  std::optional<LiveDaemon> daemon_;
};

TEST_F(UserTest, EveryProcessIsTheUserAndNothingOfRoot) {
  StartAsUser();
  const auto connection = Connect(place_.socket());
  Ask(*connection, QueryOf("all"));
  const std::vector<pid_t> connections = ChildrenOf(daemon_->Queries());
  ASSERT_THAT(connections, SizeIs(1));
  for (const pid_t process :
       {daemon_->program().pid(), daemon_->Intake(), daemon_->Queries(), connections.front()}) {
    ExpectIsUser(process);
  }
}

TEST_F(UserTest, EventsAreJournaledByTheUser) {
  StartAsUser();
  network_->Send(kLoggedPort, 20);
  ASSERT_TRUE(EverythingIsJournaled(*network_, place_));
  for (const auto& file : std::filesystem::directory_iterator(place_.journals())) {
    struct stat status {};
    ASSERT_EQ(lstat(file.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, user_.pw_uid) << file.path();
    EXPECT_EQ(status.st_gid, user_.pw_gid) << file.path();
  }
}

}  // namespace
}  // namespace packetdb::host::test
