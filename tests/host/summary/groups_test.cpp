#include "host/summary/groups.h"

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <map>
#include <tuple>

#include "host/summary/group_by.h"
#include "tests/host/summary/summary_rows.h"

namespace packetdb::host::test {
namespace {

constexpr const char* kBy = "src,dport,iface,verdict";

// The environment's TMPDIR while it lives.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const char* folder) { setenv("TMPDIR", folder, 1); }
  ~TemporaryFolder() { unsetenv("TMPDIR"); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
};

std::string GroupedBy(const char* by, const std::vector<Row>& rows, const std::string& format,
                      std::size_t most_keys = kMostKeys) {
  GroupByOptions options;
  options.by = ParseKeyFields(by);
  options.most_keys = most_keys;
  return PrintedSummary<GroupBy>(options, rows, SampleOptions(format));
}

// What the groups of kBy have to be, by a map that knows nothing of them.
std::string GroupedNaively(const std::vector<Row>& rows) {
  using Key = std::tuple<std::uint32_t, std::uint16_t, std::string, std::uint32_t>;
  std::map<Key, Sums> groups;
  for (const Row& row : rows) {
    const auto& e = row.event;
    Sums& sums = groups[{std::uint32_t{e.m_SrcIp}, std::uint16_t{e.m_DstPort},
                         std::string(row.interface), e.m_Flags & 0x70U}];
    sums.first = sums.events == 0 ? e.m_FirstTime : std::min(sums.first, +e.m_FirstTime);
    sums.last = std::max(sums.last, +e.m_LastTime);
    sums.count += e.m_Count;
    sums.bytes += e.m_PacketSize;
    ++sums.events;
  }
  std::string text;
  for (const auto& [key, sums] : groups) {
    const auto& [src, port, interface, verdict] = key;
    text +=
        fmt::format("{} {} {} {} {} {} {} {} {}\n", src, port, interface.empty() ? "-" : interface,
                    verdict == 0 ? "-" : "dropped", sums.count, sums.bytes, sums.events,
                    sums.first + TIME_1980_OFFSET, sums.last + TIME_1980_OFFSET);
  }
  return text;
}

// The same from what is printed: without shares, and blanks for tabs.
std::string WithoutShares(const std::string& raw) {
  std::string text;
  std::size_t column = 0;
  for (const char letter : raw) {
    const bool is_share = column == 7;
    if (letter == '\t') ++column;
    if (letter == '\n') column = 0;
    if (!is_share) text.push_back(letter == '\t' ? ' ' : letter);
  }
  return text;
}

TEST(GroupsTest, SumsAreThoseOfAMapHoweverFewGroupsFitIntoMemory) {
  for (const unsigned seed : {1U, 2U, 3U}) {
    const std::vector<Row> rows = RandomRows(5000, seed);
    const std::string right = GroupedNaively(rows);
    for (const std::size_t most_keys :
         {std::size_t{0}, std::size_t{7}, std::size_t{100}, kMostKeys}) {
      EXPECT_EQ(WithoutShares(GroupedBy(kBy, rows, "raw", most_keys)), right)
          << "seed " << seed << ", " << most_keys << " in memory";
    }
  }
}

TEST(GroupsTest, LargestAreTheSameHoweverFewGroupsFitIntoMemory) {
  const std::vector<Row> rows = RandomRows(3000, 4);
  const auto largest = [&](std::size_t most_keys) {
    Groups groups(ParseKeyFields(kBy), false, most_keys);
    for (const Row& row : rows) groups.Add(row);
    std::vector<std::uint64_t> counts;
    for (const Group& group : LargestGroups(&groups, SumKind::kCount, 50)) {
      counts.push_back(group.sums.count);
    }
    return counts;
  };
  EXPECT_EQ(largest(9), largest(kMostKeys));
  EXPECT_EQ(largest(9).size(), 50U);
}

TEST(GroupsTest, ComeInTheOrderOfTheirKeysAndInterfacesByName) {
  std::vector<Row> rows(3, DroppedRow());
  rows[0].interface = "wan";
  rows[1].interface = "eth0";
  rows[2].interface = "lan";
  rows[2].event.m_DstPort = 22;
  const std::string sorted = "eth0 443\nlan 22\nwan 443\n";
  EXPECT_EQ(GroupedBy("iface,dport", rows, "template={iface} {dst_port}"), sorted);
  EXPECT_EQ(GroupedBy("iface,dport", rows, "template={iface} {dst_port}", 1), sorted);
}

TEST(GroupsTest, WithoutRoomForTheFileSayWhatToDo) {
  const TemporaryFolder folder("/nowhere/at/all");
  try {
    GroupedBy("src", RandomRows(100, 5), "raw", 3);
    ADD_FAILURE() << "the groups went somewhere";
  } catch (const SummaryError& error) {
    EXPECT_STREQ(error.what(),
                 "cannot make a temporary file in /nowhere/at/all: No such file or directory; set "
                 "TMPDIR to a folder with room, or ask for fewer rows or fields");
  }
}

TEST(GroupsTest, ThatFitIntoMemoryNeedNoFile) {
  const TemporaryFolder folder("/nowhere/at/all");
  EXPECT_FALSE(GroupedBy("src", RandomRows(100, 5), "raw", 1000).empty());
}

}  // namespace
}  // namespace packetdb::host::test
