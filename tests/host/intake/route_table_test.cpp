#include "host/intake/route_table.h"

#include <gmock/gmock.h>

#include "host/journals/names.h"
#include "tests/host/intake/support.h"

namespace packetdb::host::test {
namespace {

JournalSettings Taking(std::vector<std::string> interfaces,
                       std::vector<std::uint16_t> log_groups = {}) {
  JournalSettings journal = JournalNamed("j");
  journal.interfaces = std::move(interfaces);
  journal.log_groups = std::move(log_groups);
  return journal;
}

int JournalFor(const std::vector<JournalSettings>& journals, std::string_view interface,
               std::uint16_t log_group = 5) {
  return RouteTable(journals).Find(interface, log_group).journal;
}

TEST(ARoute, LeadsToTheFirstJournalThatTheInterfaceFits) {
  const std::vector<JournalSettings> journals = {Taking({"eth0", "eth1"}), Taking({"eth?"}),
                                                 Taking({"wlan*"})};
  EXPECT_EQ(JournalFor(journals, "eth1"), 0);
  EXPECT_EQ(JournalFor(journals, "eth2"), 1);
  EXPECT_EQ(JournalFor(journals, "wlan"), 2);
  EXPECT_EQ(JournalFor(journals, "ppp0"), Route::kNoJournal);
}

TEST(ARoute, LeadsToAJournalOfTheLogGroup) {
  const std::vector<JournalSettings> journals = {Taking({"*"}, {7, 8}), Taking({"eth0"}, {5})};
  EXPECT_EQ(JournalFor(journals, "eth0", 8), 0);
  EXPECT_EQ(JournalFor(journals, "eth0", 5), 1);
  EXPECT_EQ(JournalFor(journals, "eth1", 5), Route::kNoJournal);
  EXPECT_EQ(JournalFor(journals, "eth0", 0), Route::kNoJournal) << "a capture has no group";
}

TEST(ARoute, IsRememberedWithWhatItsUserAddedToIt) {
  RouteTable table({Taking({"*"})});
  table.Find("eth0", 5).is_known = true;
  table.Find("eth1", 5);
  EXPECT_TRUE(table.Find("eth0", 5).is_known);
  EXPECT_FALSE(table.Find("eth0", 6).is_known);
  EXPECT_FALSE(table.Find("eth1", 5).is_known);
}

TEST(ARoute, HasANameThatACatalogueHolds) {
  EXPECT_EQ(JournaledName("eth0"), "eth0");
  EXPECT_EQ(JournaledName(""), "unknown");
  EXPECT_EQ(JournaledName("a b/c\n\x7f"), "a?b?c??");
  EXPECT_EQ(JournaledName(std::string(40, 'x')), std::string(31, 'x'));
  EXPECT_TRUE(IsInterfaceName(JournaledName(std::string("\0\xff", 2))));
}

TEST(ARoute, IsChosenByTheNameThatIsJournaled) {
  EXPECT_EQ(JournalFor({Taking({"unknown"}), Taking({"*"})}, ""), 0);
}

TEST(ATableOfRoutes, BeginsAnewWhenItHasSeenTooManyInterfaces) {
  RouteTable table({Taking({"*"})});
  table.Find("first", 5).is_known = true;
  for (std::size_t i = 1; i < RouteTable::kMostRoutes; ++i) table.Find(std::to_string(i), 5);
  EXPECT_EQ(table.times_emptied(), 0U);
  EXPECT_TRUE(table.Find("first", 5).is_known);
  EXPECT_EQ(table.Find("one more", 5).journal, 0);
  EXPECT_EQ(table.times_emptied(), 1U);
  EXPECT_FALSE(table.Find("first", 5).is_known);
}

}  // namespace
}  // namespace packetdb::host::test
