// What every log line has in common.
#include <map>
#include <set>
#include <vector>

#include "tests/library/server_fixture.h"

namespace packetdb::test {
namespace {

class LogLines : public ServerTest {
 protected:
  // A day's work: every kind of event and query.
  void Everything() {
    Clock().SetSince1980(200);
    Journal journal(2, 60, "/other");
    for (std::uint32_t second : {100u, 100u, 99u, 200u}) journal.Add(EventAt(second));
    for (std::uint32_t key : {1u, 2u, 3u}) journal.Add(EventAt(200).Src(key));
    db_->Register("other", true, journal.shared());
    for (const std::string name : {"eth0", "other", "unknown"}) {
      Ask(name);
      server_.call(&message_);
    }
    UdbJournalServer::RegisterCallbacks(CPacketDbPtr(), callbacks_);
    db_->UnRegister("other");
  }

  UdbDispatcher::CommandCallbacksT<int> callbacks_;
};

TEST_F(LogLines, NameTheirFunction) {
  Log().SetLevel(5);
  Everything();
  ASSERT_GT(Log().Lines().size(), 30u);
  for (const auto& line : Log().Lines()) {
    EXPECT_FALSE(line.function.empty()) << line.Text();
    EXPECT_NE(line.signature.find(line.function), std::string::npos) << line.signature;
    EXPECT_NE(line.signature.find('('), std::string::npos) << line.signature;
    EXPECT_GT(line.line, 0) << line.Text();
  }
}

TEST_F(LogLines, OfStoragesNameTheirFolder) {
  Log().SetLevel(5);
  Journal journal(10, 60, "/other");
  for (std::uint32_t second : {100u, 100u, 99u}) journal.Add(EventAt(second));
  ASSERT_GT(Log().Lines().size(), 10u);
  for (const auto& line : Log().Lines()) EXPECT_EQ(line.file, "src/storage") << line.Text();
}

TEST_F(LogLines, OfIteratorsNameTheirFolder) {
  Log().SetLevel(5);
  journal_.Add(EventAt(1));
  Log().Forget();
  Call();
  std::set<std::string> from_iterators;
  for (const auto& line : Log().Lines()) {
    if (line.file == "src/storage_iter") from_iterators.insert(line.Text().substr(0, 10));
  }
  EXPECT_EQ(from_iterators, (std::set<std::string>{"Processing", "have recor", "did not ma",
                                                   "break at 0", "returning ", "exit. posi"}));
}

TEST_F(LogLines, OfQueriesAndOfTheServerNameTheirFolders) {
  Log().SetLevel(5);
  journal_.Add(EventAt(1));
  Call();
  std::map<std::string, std::string> folders;
  for (const auto& line : Log().Lines()) folders[line.Text().substr(0, 10)] = line.file;
  EXPECT_EQ(folders["Interface:"], "src/query");
  EXPECT_EQ(folders["protocols "], "src/query");
  EXPECT_EQ(folders["Flags pass"], "src/query");
  EXPECT_EQ(folders["Current pr"], "src/journal_server");
  EXPECT_EQ(folders["wrote 1 re"], "src/journal_server");
}

TEST_F(LogLines, OfTheClientNameItsFolder) {
  Log().SetLevel(5);
  Calls().Script("WriteHeader", {-1});
  for (int i = 0; i < 2; ++i) Query().write(&message_);
  endpoint{1, 0, 0, 0, 0}.match(2, 0, 0);
  ASSERT_EQ(Log().Lines().size(), 4u);
  for (const auto& line : Log().Lines()) EXPECT_EQ(line.file, "src/query") << line.Text();
}

TEST_F(LogLines, AreLeftAloneWhenTheFacilityRefusesThem) {
  Log().SetLevel(5);
  Log().Refuse();
  Everything();
  EXPECT_GT(Log().Attempts().size(), 30u);
  EXPECT_TRUE(Log().Lines().empty());
  EXPECT_EQ(Log().Misuses(), Strings{});
}

TEST_F(LogLines, AreNeverAskedForAboveTheLevel) {
  for (int level = 0; level <= 5; ++level) {
    Log().Forget();
    Log().SetLevel(level);
    Everything();
    for (const auto& attempt : Log().Attempts()) {
      const bool exempt = attempt.signature.find("Protocols::match") != std::string::npos;
      EXPECT_TRUE(attempt.level <= level || exempt) << attempt.signature;
    }
  }
}

TEST_F(LogLines, NeverChangeWhatIsDone) {
  Log().SetLevel(5);
  Everything();
  Clock().SetSince1980(1);
  Ask("eth0");
  journal_.AddSeparately({1, 2});
  Log().SetLevel(0);
  Call();
  const Strings silent = Calls().All();
  Ask("eth0");
  Log().SetLevel(5);
  Call();
  EXPECT_EQ(Calls().All(), silent);
}

TEST_F(LogLines, FollowTheLevelAsItChanges) {
  Log().SetLevel(2);
  Call();
  EXPECT_EQ(Log().Lines().size(), 1u);
  Log().SetLevel(0);
  Call();
  EXPECT_EQ(Log().Lines().size(), 1u);
}

TEST_F(LogLines, NeverGoToTheSystemLog) {
  Log().SetLevel(5);
  Everything();
  EXPECT_EQ(Calls().CountOf("slput"), 0);
}

}  // namespace
}  // namespace packetdb::test
