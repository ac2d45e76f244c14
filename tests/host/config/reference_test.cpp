// What is written about the keys is what the keys are: the page, the examples, and a configuration
// that is shown.
#include "host/config/reference.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <map>
#include <sstream>

#include "host/config/event_names.h"
#include "host/config/load.h"
#include "host/config/sections.h"
#include "host/config/written.h"
#include "packetdb/query.h"
#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string kPage = PACKETDB_SOURCE_DIR "/docs/configuration.md";
const std::string kExample = PACKETDB_SOURCE_DIR "/packaging/packetdb.toml";
const std::string kNodesExample = PACKETDB_SOURCE_DIR "/packaging/nodes.toml";

std::vector<std::string> LinesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// With the mark taken off each line that is a key or the head of a table.
std::string Uncommented(const std::string& text) {
  std::string uncommented;
  for (const std::string& line : LinesOf(text)) {
    const bool is_setting = line.size() > 1 && line[0] == '#' && line[1] != ' ';
    uncommented += (is_setting ? line.substr(1) : line) + "\n";
  }
  return uncommented;
}

std::vector<std::string> RowsOf(const std::string& text) {
  std::vector<std::string> rows;
  for (const std::string& line : LinesOf(text)) {
    if (line.starts_with("| `") || (line.starts_with("| ") && line[2] >= '0' && line[2] <= '9')) {
      rows.push_back(line);
    }
  }
  return rows;
}

TEST(Page, HasEveryTableAndNoOtherRows) {
  const std::string page = ReadFile(kPage);
  std::string all;
  for (const SectionList* sections : {&Sections(), &NodeSections()}) {
    for (const auto& section : *sections) {
      const std::string table = ReferenceTable(*section);
      EXPECT_THAT(page, HasSubstr("\n\n" + table)) << section->Title();
      if (!section->name().empty()) {
        EXPECT_THAT(page, HasSubstr("\n## `" + section->Title() + "`\n"));
      }
      all += table;
    }
  }
  EXPECT_THAT(page, HasSubstr("\n\n" + EventNameTable()));
  EXPECT_THAT(RowsOf(page), testing::UnorderedElementsAreArray(RowsOf(all + EventNameTable())));
}

TEST(Page, SaysWhatTheLimitsAre) {
  const std::string page = ReadFile(kPage);
  for (const std::string& limit :
       {fmt::format("{} log groups and captures", kMostSources),
        fmt::format("{} journals", kMostJournals), fmt::format("{} exclusions", kMostExclusions),
        fmt::format("{} rules", kMostRules), fmt::format("{} networks", kMostNodes),
        fmt::format("{} files", kMostConfigurationFiles), fmt::format("{} bytes", kLongestLine),
        fmt::format("{} MiB", kLargestConfigurationFile >> 20U),
        fmt::format("{} MiB", kLargestNodesFile >> 20U)}) {
    EXPECT_THAT(page, HasSubstr(limit));
  }
}

TEST(Example, IsWhatTheKeysMakeIt) {
  EXPECT_EQ(ReadFile(kExample), ExampleConfiguration())
      << "write it anew with: config_reference example";
  EXPECT_EQ(ReadFile(kNodesExample), ExampleNodes())
      << "write it anew with: config_reference nodes";
}

TEST(Example, ChangesNothingAsItIs) {
  EXPECT_EQ(Read(ReadFile(kExample)), Read(""));
  EXPECT_TRUE(ReadNodes(ReadFile(kNodesExample)).nodes.empty());
}

TEST(Example, GivesEveryKeyItsDefaultOrAnExampleOnceTheMarksAreOff) {
  const Configuration configuration = Read(Uncommented(ReadFile(kExample)));
  const Configuration defaults = Read("");
  EXPECT_EQ(configuration.directory, defaults.directory);
  EXPECT_EQ(configuration.user, defaults.user);
  EXPECT_EQ(configuration.intake, defaults.intake);
  EXPECT_EQ(configuration.nodes_file, defaults.nodes_file);
  EXPECT_EQ(configuration.log_groups, defaults.log_groups);
  EXPECT_EQ(configuration.socket, defaults.socket);
  EXPECT_EQ(configuration.metrics, defaults.metrics);
  EXPECT_EQ(configuration.limits, defaults.limits);
  EXPECT_EQ(configuration.sync, defaults.sync);
  EXPECT_EQ(configuration.log, defaults.log);
  EXPECT_EQ(configuration.captures.size(), 1U);
  EXPECT_EQ(configuration.journals.size(), 1U);
  EXPECT_EQ(configuration.rules.size(), 1U);
  EXPECT_EQ(configuration.exclusions.size(), 1U);
  EXPECT_EQ(ReadNodes(Uncommented(ReadFile(kNodesExample))).nodes.size(), 1U);
}

TEST(Example, HasEveryKey) {
  const std::string text = ReadFile(kExample) + ReadFile(kNodesExample);
  for (const SectionList* sections : {&Sections(), &NodeSections()}) {
    for (const auto& section : *sections) {
      for (const KeyReference& key : section->Keys()) {
        EXPECT_THAT(text, HasSubstr("\n#" + key.name + " = "));
      }
    }
  }
}

// The text of a table with this key alone, but for what else has to be there.
std::string TextWith(const Section& section, const KeyReference& chosen, const std::string& value) {
  std::string text = section.name().empty() ? "" : section.Title() + "\n";
  for (const KeyReference& key : section.Keys()) {
    if (key.required && key.name != chosen.name) text += key.name + " = " + key.example + "\n";
  }
  return text + chosen.name + " = " + value + "\n";
}

TEST(EveryKey, RefusesWhatIsOfNoKindThatThereIs) {
  int keys = 0;
  for (const auto& section : Sections()) {
    for (const KeyReference& key : section->Keys()) {
      const std::string text = TextWith(*section, key, "1979-05-27");
      EXPECT_EQ(
          ProblemOf(text),
          fmt::format("c.toml:{}:{}: {} = a date or a time: give {}, such as {}",
                      LinesOf(text).size(), key.name.size() + 4, key.name, key.takes, key.example));
      ++keys;
    }
  }
  EXPECT_GT(keys, 50);
}

TEST(EveryKey, TakesItsExample) {
  const std::map<std::string, std::string> needs = {{"flags", "[flags]\nwatched = 25\n"},
                                                    {"protocols", ""}};
  for (const auto& section : Sections()) {
    for (const KeyReference& key : section->Keys()) {
      const bool is_list = section->Title() == "[[rule]]";
      std::string text = TextWith(*section, key, key.example);
      if (is_list && key.name == "flags") text += "[flags]\nwatched = 25\n";
      if (section->name() == "exclusion") text += key.name == "ports" ? "" : "ports = [53]\n";
      EXPECT_EQ(ProblemOf(text), "") << text;
    }
  }
}

TEST(EveryKey, IsShownAsItIsRead) {
  const Configuration configuration = Read(R"(
directory = "/srv/j \"x\" \\"
user = "packetdb"
nodes_file = "/n.toml"
[[log_group]]
group = 7
flush_after = "20ms"
[[capture]]
interface = "eth0"
filter = "tcp"
[[journal]]
name = "lan"
capacity = 500
window = "0s"
interfaces = ["lan*", "br?"]
log_groups = [7]
[[rule]]
prefix = "a \"b\""
code = 700
verdict = "reject"
flags = ["watched", "other"]
text = "ä"
[events]
mine = 700
scanned = 20
port-scan = 701
[flags]
watched = 31
other = 25
[[exclusion]]
name = "noise"
action = "count"
prefix = "n*"
addresses = ["10.0.0.7", "10.2.0.1-10.2.0.9"]
ports = [53, "8000-8100"]
protocols = ["udp", 200]
[socket]
allowed_users = ["root"]
group = "packetdb"
[metrics]
socket = ""
loopback_port = 9469
[limits]
memory = "0B"
[sync]
interval = "1h"
[log]
target = "journal"
)");
  EXPECT_EQ(Read(ShowConfiguration(configuration)), configuration)
      << ShowConfiguration(configuration);
  const Configuration defaults = Read("");
  EXPECT_EQ(Read(ShowConfiguration(defaults)), defaults);
}

TEST(Nodes, AreShownAsTheyAreRead) {
  const std::string text =
      "[[node]]\nnetwork = \"10.0.0.0/8\"\nid = 7\nname = \"a\"\n[[node]]\n"
      "network = \"192.0.2.1/32\"\nid = 4294967295\nname = \"b \\\"c\\\"\"\n";
  EXPECT_EQ(ShowNodes(ReadNodes(text)), text);
}

TEST(EventNames, LieInTheGroupsOfQueries) {
  for (const EventName& each : DefaultEventNames()) {
    bool found = false;
    for (const int group : {-3, -4, -6, -7, -8, -14, -15}) {
      packetdb::Errcodes codes;
      codes.push_back(group);
      found = found || codes.match(each.code);
    }
    EXPECT_TRUE(found) << each.name;
  }
}

TEST(EventNames, AreThereOnce) {
  EXPECT_EQ(EventNamesWith({}).size(), DefaultEventNames().size());
  std::map<std::uint32_t, std::string_view> by_code;
  for (const EventName& each : DefaultEventNames()) {
    EXPECT_TRUE(by_code.emplace(each.code, each.name).second) << each.name;
  }
}

}  // namespace
}  // namespace packetdb::host::test
