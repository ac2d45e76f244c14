#include "host/status/shared_page.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace packetdb::host::test {
namespace {

TEST(SharedStatusPage, BeginsWithZeros) {
  const StatusPagePtr page = MakeStatusPage();
  EXPECT_EQ(page->daemon.started_unix.Get(), 0U);
  EXPECT_EQ(page->sources.back().skipped.back().Get(), 0U);
  EXPECT_EQ(NameOf(page->journals.front()), "");
}

TEST(SharedStatusPage, ShowsWhatAForkedProcessCounts) {
  const StatusPagePtr page = MakeStatusPage();
  const pid_t child = fork();
  if (child == 0) {
    FindOrAddRow(page->sources, "nflog:5")->received.Add(7);
    _exit(0);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_EQ(status, 0);
  const SourceStatus* row = FindRow(page->sources, "nflog:5");
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->received.Get(), 7U);
}

TEST(SharedStatusPage, ShowsAForkedProcessWhatItsParentCounts) {
  const StatusPagePtr page = MakeStatusPage();
  page->daemon.reloads.Add(1);
  const pid_t child = fork();
  if (child == 0) _exit(page->daemon.reloads.Get() == 1 ? 0 : 1);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST(StatusRowsOfThePage, BelongToTheirNames) {
  const StatusPagePtr page = MakeStatusPage();
  EXPECT_EQ(FindRow(page->journals, "all"), nullptr);
  JournalStatus* all = FindOrAddRow(page->journals, "all");
  JournalStatus* other = FindOrAddRow(page->journals, "all2");
  ASSERT_NE(all, nullptr);
  EXPECT_NE(all, other);
  EXPECT_EQ(NameOf(*all), "all");
  EXPECT_EQ(FindOrAddRow(page->journals, "all"), all);
  EXPECT_EQ(FindRow(page->journals, "all2"), other);
  const StatusPage& to_read = *page;
  EXPECT_EQ(FindRow(to_read.journals, "all"), all);
}

TEST(StatusRowsOfThePage, AreNotGivenToNobody) {
  const StatusPagePtr page = MakeStatusPage();
  EXPECT_EQ(FindRow(page->journals, ""), nullptr);
  EXPECT_EQ(FindOrAddRow(page->journals, ""), nullptr);
}

TEST(StatusRowsOfThePage, RunOut) {
  const StatusPagePtr page = MakeStatusPage();
  for (std::size_t i = 0; i < kMostExclusions; ++i) {
    ASSERT_NE(FindOrAddRow(page->exclusions, "row " + std::to_string(i)), nullptr);
  }
  EXPECT_EQ(FindOrAddRow(page->exclusions, "one too many"), nullptr);
  EXPECT_NE(FindOrAddRow(page->exclusions, "row 0"), nullptr);
}

TEST(StatusRowsOfThePage, KeepAsMuchOfANameAsTheyHaveRoomFor) {
  const StatusPagePtr page = MakeStatusPage();
  const std::string longest(kStatusNameSize - 1, 'x');
  ExclusionStatus* row = FindOrAddRow(page->exclusions, longest + "yz");
  EXPECT_EQ(NameOf(*row), longest);
  EXPECT_EQ(FindOrAddRow(page->exclusions, longest + "yz"), row);
}

TEST(StatusRowsOfThePage, AreReadToTheirEndsWhoeverFilledThem) {
  const StatusPagePtr page = MakeStatusPage();
  page->sources.front().name.fill('x');
  EXPECT_EQ(NameOf(page->sources.front()), std::string(kStatusNameSize, 'x'));
}

}  // namespace
}  // namespace packetdb::host::test
