#include <filesystem>
#include <gmock/gmock.h>

#include "host/journals/error.h"
#include "host/journals/group_writer.h"
#include "host/journals/names.h"
#include "host/record_file/probe.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class GroupOpening : public testing::Test {
 protected:
  GroupOptions Options(std::optional<int> capacity = {}, std::optional<long> window = {}) const {
    return {
        .directory = directory_, .group = "lan", .capacity = capacity, .window_seconds = window};
  }
  static std::string ErrorOf(const GroupOptions& options) {
    return WhatOf<JournalError>([&] { const GroupWriter writer(options); });
  }
  std::uint64_t Capacity() const {
    RecordFileInfo info;
    EXPECT_EQ(ProbeRecordFile(journal_, &info), 0);
    return info.capacity;
  }

  const TempDir root_;
  const std::string directory_ = root_.Path("journals");
  const std::string journal_ = JournalPath(directory_, "lan");
  const std::string catalogue_ = CataloguePath(directory_, "lan");
};

TEST_F(GroupOpening, CreatesDirectoriesCatalogueAndJournal) {
  GroupOptions options = Options(10, 5);
  options.directory = root_.Path("a/b");
  const GroupWriter writer(options);
  EXPECT_THAT(NamesIn(root_.Path("a/b")), ElementsAre("lan.group", "lan.journal"));
  EXPECT_EQ(writer.window_seconds(), 5);
  EXPECT_EQ(writer.RecordCount(), 0);
}

TEST_F(GroupOpening, MakesAMillionRecordsAndAMinuteTheDefaults) {
  const GroupWriter writer(Options());
  EXPECT_EQ(Capacity(), 1000000U);
  EXPECT_EQ(writer.window_seconds(), 60);
  EXPECT_EQ(ReadText(catalogue_), "packetdb-group 1\nwindow 60\n");
}

TEST_F(GroupOpening, TakesWhatTheJournalHas) {
  { const GroupWriter writer(Options(10, 5)); }
  const GroupWriter again(Options());
  EXPECT_EQ(Capacity(), 10U);
  EXPECT_EQ(again.window_seconds(), 5);
}

TEST_F(GroupOpening, TakesTheSameOptionsAgain) {
  { const GroupWriter writer(Options(10, 5)); }
  EXPECT_EQ(GroupWriter(Options(10, 5)).window_seconds(), 5);
}

TEST_F(GroupOpening, RefusesAnotherWindow) {
  { const GroupWriter writer(Options(10, 5)); }
  EXPECT_EQ(
      ErrorOf(Options(10, 6)),
      catalogue_ + ": this group merges repeats within 5 s, not 6 s; a group keeps its window");
}

TEST_F(GroupOpening, ResizesToAnotherCapacityAndKeepsTheNewest) {
  {
    GroupWriter writer(Options(10, 5));
    for (std::uint8_t host = 0; host < 8; ++host) writer.Add(EventFrom(host, 100), "lan0");
  }
  { EXPECT_EQ(GroupWriter(Options(4, 5)).RecordCount(), 4); }
  EXPECT_EQ(Capacity(), 4U);
  { EXPECT_EQ(GroupWriter(Options(20, 5)).RecordCount(), 4); }
  EXPECT_EQ(Capacity(), 20U);
}

TEST_F(GroupOpening, RefusesAJournalWithRoomForNothing) {
  EXPECT_EQ(ErrorOf(Options(0)), "cannot open journal " + journal_ +
                                     ": a record file cannot be created with room for no records");
}

TEST_F(GroupOpening, TakesAJournalWithoutABoundAsItIs) {
  GroupWriter(Options(-1, 86400)).Add(EventFrom(7, 100), "lan0");
  EXPECT_EQ(Capacity(), 0U);
  GroupWriter again(Options());
  again.Add(EventFrom(7, JournalNow()), "lan0");
  again.Add(EventFrom(7, JournalNow()), "lan0");
  EXPECT_EQ(again.RecordCount(), 2);
}

TEST_F(GroupOpening, RefusesASecondWriterAndLeavesTheFirstAlone) {
  GroupWriter first(Options(10, 5));
  EXPECT_EQ(ErrorOf(Options()),
            "cannot open journal " + journal_ +
                ": the record file is in use by another process; try again when that is done");
  first.Add(EventFrom(7, 100), "lan0");
  EXPECT_EQ(first.RecordCount(), 1);
  EXPECT_EQ(ReadText(catalogue_), "packetdb-group 1\nwindow 5\ninterface lan0\n");
}

TEST_F(GroupOpening, LetsTheNextWriterInOnceTheFirstIsGone) {
  auto first = std::make_unique<GroupWriter>(Options(10));
  first.reset();
  EXPECT_EQ(GroupWriter(Options(10)).RecordCount(), 0);
}

TEST_F(GroupOpening, RefusesANameThatCannotBeAFileName) {
  GroupOptions options = Options(10);
  options.group = "../lan";
  EXPECT_EQ(ErrorOf(options),
            "'../lan' cannot be the name of a group: 1 to 31 letters, digits, '_', '-' or '.', not "
            "in front");
  EXPECT_THAT(NamesIn(root_.Path()), IsEmpty());
}

TEST_F(GroupOpening, SaysWhyTheDirectoryCannotBeMade) {
  WriteText(directory_, "in the way");
  EXPECT_THAT(ErrorOf(Options(10)), HasSubstr("cannot create directory " + directory_ + ": "));
  GroupOptions below = Options(10);
  below.directory = directory_ + "/below";
  EXPECT_EQ(ErrorOf(below), "cannot create directory " + directory_ + "/below: Not a directory");
}

TEST_F(GroupOpening, FollowsADirectoryThatIsASymbolicLink) {
  std::filesystem::create_directory(root_.Path("real"));
  std::filesystem::create_directory_symlink("real", directory_);
  const GroupWriter writer(Options(10));
  EXPECT_THAT(NamesIn(root_.Path("real")), ElementsAre("lan.group", "lan.journal"));
}

TEST_F(GroupOpening, RefusesAJournalBehindASymbolicLink) {
  std::filesystem::create_directory(directory_);
  std::filesystem::create_symlink(root_.Path("elsewhere"), journal_);
  EXPECT_EQ(ErrorOf(Options(10)),
            "cannot open journal " + journal_ + ": it is a symbolic link, which is not followed");
}

TEST_F(GroupOpening, RefusesADamagedCatalogue) {
  std::filesystem::create_directory(directory_);
  WriteText(catalogue_, "something else\n");
  EXPECT_EQ(ErrorOf(Options(10)), catalogue_ + ":1: not the catalogue of a group");
  EXPECT_THAT(NamesIn(directory_), ElementsAre("lan.group"));
}

TEST_F(GroupOpening, LeavesAFileThatIsNoJournalAsItIs) {
  std::filesystem::create_directory(directory_);
  WriteText(journal_, "precious");
  EXPECT_EQ(ErrorOf(Options()), "cannot open journal " + journal_ + ": it is not a record file");
  EXPECT_EQ(ReadText(journal_), "precious");
}

TEST_F(GroupOpening, LeavesNoCatalogueOfAJournalThatCouldNotBeMade) {
  std::filesystem::create_directory(directory_);
  std::filesystem::create_symlink(root_.Path("elsewhere"), journal_);
  EXPECT_NE(ErrorOf(Options(10, 5)), "");
  EXPECT_FALSE(std::filesystem::exists(catalogue_));
}

}  // namespace
}  // namespace packetdb::host::test
