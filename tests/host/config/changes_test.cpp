// What a reload changes.
#include "host/config/changes.h"

#include <gmock/gmock.h>

#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

// "EFFECT TEXT" of each change.
std::vector<std::string> Between(const Configuration& before, const Configuration& after) {
  constexpr const char* kWords[] = {"log", "query", "intake", "sources", "restart"};
  std::vector<std::string> lines;
  for (const ConfigurationChange& change : Changes(before, after)) {
    lines.push_back(std::string(kWords[static_cast<int>(change.effect)]) + " " + change.text);
  }
  return lines;
}
std::vector<std::string> Between(const std::string& before, const std::string& after) {
  return Between(Read(before), Read(after));
}

TEST(Changes, AreNoneBetweenTheSame) { EXPECT_THAT(Between("", ""), ElementsAre()); }

TEST(Changes, OfSingleKeysAreToldWithBothValues) {
  EXPECT_THAT(
      Between("", "[limits]\nrows = 5\n[log]\nlevel = 4\n[sync]\nbytes = \"1MiB\"\n"),
      ElementsAre("query [limits] rows: 1000000, now 5",
                  "intake [sync] bytes: \"64MiB\", now \"1MiB\"", "log [log] level: 2, now 4"));
}

TEST(Changes, OfWhoAndWhereTakeARestart) {
  EXPECT_THAT(Between("",
                      "directory = \"/a\"\nuser = \"packetdb\"\n[socket]\npath = \"/b\"\n"
                      "mode = \"0600\"\ngroup = \"packetdb\"\n[metrics]\nsocket = \"\"\n"
                      "loopback_port = 9\n"),
              ElementsAre("restart directory: \"/var/lib/packetdb\", now \"/a\"",
                          "restart user: \"\", now \"packetdb\"",
                          "restart [socket] path: \"/run/packetdb/socket\", now \"/b\"",
                          "restart [socket] mode: \"0660\", now \"0600\"",
                          "restart [socket] group: \"\", now \"packetdb\"",
                          "restart [metrics] socket: \"/run/packetdb/metrics\", now \"\"",
                          "restart [metrics] loopback_port: 0, now 9"));
}

TEST(Changes, ThatTakeARestartAreLeftOutOfAReload) {
  const Configuration before = Read("");
  const Configuration after = Read(
      "directory = \"/a\"\nuser = \"packetdb\"\n[socket]\npath = \"/b\"\nmode = \"0600\"\n"
      "group = \"packetdb\"\nallowed_users = [\"root\"]\n[metrics]\nsocket = \"\"\n"
      "loopback_port = 9\n[limits]\nrows = 5\n");
  EXPECT_THAT(Between(before, WithoutRestart(before, after)),
              ElementsAre("query [socket] allowed_users: [], now [\"root\"]",
                          "query [limits] rows: 1000000, now 5"));
}

TEST(Changes, OfAListSayWhatIsNewGoneOrOther) {
  EXPECT_THAT(Between("[[log_group]]\ngroup = 1\n[[log_group]]\ngroup = 2\n",
                      "[[log_group]]\ngroup = 2\ncopy_range = \"96B\"\n[[log_group]]\ngroup = 3\n"),
              ElementsAre("sources [[log_group]] group = 1: gone",
                          "sources [[log_group]] group = 2: copy_range: \"128B\", now \"96B\"",
                          "sources [[log_group]] group = 3: new"));
}

TEST(Changes, OfKeysThatAreNotSetSayNone) {
  EXPECT_THAT(Between("[[journal]]\nname = \"a\"\ncapacity = 5\n",
                      "[[journal]]\nname = \"a\"\nwindow = \"5s\"\n"),
              ElementsAre("intake [[journal]] name = \"a\": capacity: 5, now none",
                          "intake [[journal]] name = \"a\": window: none, now \"5s\""));
}

TEST(Changes, OfTheOrderCountToo) {
  EXPECT_THAT(Between("[[rule]]\nprefix = \"a\"\n[[rule]]\nprefix = \"b\"\n",
                      "[[rule]]\nprefix = \"b\"\n[[rule]]\nprefix = \"a\"\n"),
              ElementsAre("intake [[rule]]: in another order"));
  EXPECT_THAT(
      Between("[[rule]]\nprefix = \"a\"\n[[rule]]\nprefix = \"b\"\n",
              "[[rule]]\nprefix = \"x\"\n[[rule]]\nprefix = \"b\"\n"),
      ElementsAre("intake [[rule]] prefix = \"a\": gone", "intake [[rule]] prefix = \"x\": new"));
}

TEST(Changes, OfNamesAreTold) {
  EXPECT_THAT(
      Between("[events]\none = 701\ntwo = 702\n[flags]\nwatched = 25\n",
              "[events]\none = 703\nthree = 702\n[flags]\nwatched = 26\n"),
      ElementsAre("intake [events] one: 701, now 703", "intake [events] two: 702, now none",
                  "intake [events] three: none, now 702", "intake [flags] watched: 25, now 26"));
}

TEST(Changes, OfIntakeReachTheSources) {
  EXPECT_THAT(
      Between("", "intake = false\n"),
      ElementsAre("sources intake: true, now false", "sources [[log_group]] group = 5: gone"));
}

TEST(Changes, OfNodesAreSummedUpWhenThereAreMany) {
  const auto nodes = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      text += "[[node]]\nnetwork = \"10." + std::to_string(i) + ".0.0/16\"\nid = 1\nname = \"a\"\n";
    }
    return ReadNodes(text);
  };
  EXPECT_EQ(Between(nodes(1), nodes(21)).size(), 20U);
  EXPECT_EQ(Between(nodes(1), nodes(2))[0], "intake [[node]] network = \"10.1.0.0/16\": new");
  EXPECT_THAT(Between(nodes(1), nodes(22)), ElementsAre("intake [[node]]: 21 changes"));
}

TEST(Changes, HaveTheirEffects) {
  const auto changes = Changes(Read(""), Read("[limits]\nrows = 5\n"));
  EXPECT_TRUE(HasEffect(changes, Effect::kQuery));
  EXPECT_FALSE(HasEffect(changes, Effect::kIntake));
}

}  // namespace
}  // namespace packetdb::host::test
