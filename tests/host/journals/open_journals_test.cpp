#include "host/journals/open_journals.h"

#include <filesystem>
#include <gmock/gmock.h>

#include "host/journals/error.h"
#include "host/journals/group_writer.h"
#include "host/journals/names.h"
#include "platform/record_file.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kJournalMagic[] = "Zolrak-Packet-Database-4";
constexpr int kCreateAnew = 2;

class JournalsOfADirectory : public testing::Test {
 protected:
  // A group with one event on each of its interfaces.
  void MakeGroup(const std::string& group, const std::vector<std::string>& interfaces) {
    GroupWriter writer(Options(group));
    for (const std::string& interface : interfaces) writer.Add(EventFrom(1, 100), interface);
  }
  GroupOptions Options(const std::string& group, int capacity = 10) const {
    return {
        .directory = directory_.Path(), .group = group, .capacity = capacity, .window_seconds = 7};
  }
  std::string Journal(std::string_view group) const {
    return JournalPath(directory_.Path(), group);
  }

  // A group whose journal holds one record of another kind, all 'x'.
  void MakeForeignGroup(const std::string& magic, unsigned long record_size) {
    WriteText(CataloguePath(directory_.Path(), "old"), "packetdb-group 1\nwindow 60\n");
    CDbFile file;
    ASSERT_EQ(file.Init(Journal("old"), magic.c_str(), record_size, 10, kCreateAnew), 0);
    ASSERT_GE(file.AppendRecord(std::string(record_size, 'x').data()), 0);
  }

  const TempDir directory_;
};

TEST_F(JournalsOfADirectory, AreServedByTheNamesOfTheirGroups) {
  MakeGroup("wan", {});
  MakeGroup("lan", {});
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.groups(), ElementsAre("lan", "wan"));
  EXPECT_THAT(journals.problems(), IsEmpty());
  ASSERT_TRUE(journals.registry()->GetActualStorage("lan"));
  EXPECT_EQ(journals.registry()->GetActualStorage("lan")->GetFileName(), Journal("lan"));
  EXPECT_EQ(journals.registry()->GetActualStorage("wan")->GetFileName(), Journal("wan"));
  EXPECT_FALSE(journals.registry()->IsDynamic("lan"));
}

TEST_F(JournalsOfADirectory, AreServedByTheirInterfacesAsDynamicNames) {
  MakeGroup("lan", {"eth0", "eth1"});
  const OpenJournals journals(directory_.Path());
  const auto storage = journals.registry()->GetActualStorage("lan");
  for (const char* interface : {"eth0", "eth1"}) {
    EXPECT_EQ(journals.registry()->GetActualStorage(interface), storage) << interface;
    EXPECT_TRUE(journals.registry()->IsDynamic(interface)) << interface;
  }
  EXPECT_FALSE(journals.registry()->GetActualStorage("eth2"));
}

TEST_F(JournalsOfADirectory, ListTheNamesThatAreServedAndThoseThatAreNot) {
  MakeGroup("lan", {"eth0", "wan"});
  MakeGroup("wan", {"eth0", "eth1"});
  const OpenJournals journals(directory_.Path());
  std::vector<std::string> names;
  for (const JournalName& name : journals.Names()) {
    names.push_back((name.is_group ? "group " : "interface ") + name.name + " of " + name.group +
                    (name.is_served ? "" : ", not served"));
  }
  EXPECT_THAT(names, ElementsAre("group lan of lan", "interface eth0 of lan",
                                 "interface wan of lan, not served", "group wan of wan",
                                 "interface eth0 of wan, not served", "interface eth1 of wan"));
}

TEST_F(JournalsOfADirectory, KeepTheirRecordsAndTheirWindow) {
  GroupWriter(Options("lan")).Add(EventFrom(9, 100), "eth0");
  const OpenJournals journals(directory_.Path());
  const auto storage = journals.registry()->GetActualStorage("lan");
  EXPECT_EQ(storage->getTimeDiff(), 7);
  ASSERT_EQ(storage->RecordCount(), 1);
  PacketDbItem record;
  ASSERT_GE(storage->FetchRecord(0, &record), 0);
  EXPECT_EQ(+record.m_Item.m_SrcIp, 0x0A000009U);
}

TEST_F(JournalsOfADirectory, AreServedWhileOneIsBeingWritten) {
  MakeGroup("a", {});
  GroupWriter writer(Options("b"));
  writer.Add(EventFrom(9, 100), "eth0");
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.groups(), ElementsAre("a", "b"));
  EXPECT_THAT(journals.problems(), IsEmpty());
  EXPECT_EQ(journals.registry()->GetActualStorage("b")->RecordCount(), 1);
}

TEST_F(JournalsOfADirectory, CanBeServedTwice) {
  MakeGroup("a", {});
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(OpenJournals(directory_.Path()).problems(), IsEmpty());
}

TEST_F(JournalsOfADirectory, MayBeNone) {
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.groups(), IsEmpty());
  EXPECT_THAT(journals.problems(), IsEmpty());
}

TEST_F(JournalsOfADirectory, NeedTheDirectory) {
  const std::string missing = directory_.Path("missing");
  EXPECT_EQ(WhatOf<JournalError>([&] { const OpenJournals journals(missing); }),
            "cannot read directory " + missing + ": No such file or directory");
}

TEST_F(JournalsOfADirectory, AreTheFilesWithTheNameOfAGroup) {
  MakeGroup("lan", {});
  for (const char* other : {"notes.txt", ".journal", ".hidden.journal", "journal", "x.journal~"}) {
    WriteText(directory_.Path(other), "x");
  }
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.groups(), ElementsAre("lan"));
  EXPECT_THAT(journals.problems(), IsEmpty());
}

TEST_F(JournalsOfADirectory, AreServedBesideADamagedOne) {
  for (const char* group : {"a", "b", "c"}) MakeGroup(group, {std::string(group) + "0"});
  std::string bytes = ReadText(Journal("b"));
  for (const std::size_t at : {40U, 4096U + 40U}) bytes[at] = static_cast<char>(bytes[at] ^ 1);
  WriteText(Journal("b"), bytes);
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.groups(), ElementsAre("a", "c"));
  EXPECT_THAT(journals.problems(),
              ElementsAre("cannot open journal " + Journal("b") +
                          ": both superblocks of the record file are damaged"));
  EXPECT_FALSE(journals.registry()->GetActualStorage("b"));
  EXPECT_FALSE(journals.registry()->GetActualStorage("b0"));
  EXPECT_TRUE(journals.registry()->GetActualStorage("c0"));
}

TEST_F(JournalsOfADirectory, AreServedBesideOneWithoutItsCatalogue) {
  MakeGroup("a", {});
  MakeGroup("b", {});
  const std::string catalogue = CataloguePath(directory_.Path(), "a");
  std::filesystem::remove(catalogue);
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.groups(), ElementsAre("b"));
  EXPECT_THAT(journals.problems(), ElementsAre(testing::StartsWith(catalogue + " is missing: ")));
}

TEST_F(JournalsOfADirectory, AreServedBesideOneWithADamagedCatalogue) {
  MakeGroup("a", {});
  MakeGroup("b", {});
  const std::string catalogue = CataloguePath(directory_.Path(), "a");
  WriteText(catalogue, "packetdb-group 1\nwindow soon\n");
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.groups(), ElementsAre("b"));
  EXPECT_THAT(journals.problems(), ElementsAre(catalogue + ":2: not the catalogue of a group"));
}

TEST_F(JournalsOfADirectory, OfAnotherRecordSizeAreRefusedAndNotConverted) {
  MakeForeignGroup(kJournalMagic, 60);
  const auto before = FilesIn(directory_.Path());
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.problems(),
              ElementsAre("cannot open journal " + Journal("old") +
                          ": it is a sound record file, but of another magic or record size"));
  EXPECT_EQ(FilesIn(directory_.Path()), before);
}

TEST_F(JournalsOfADirectory, OfAnotherMagicAreRefusedAndNotConverted) {
  MakeForeignGroup("something-else", sizeof(PacketDbItemPacked));
  const auto before = FilesIn(directory_.Path());
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.problems(),
              ElementsAre("cannot open journal " + Journal("old") +
                          ": it is a sound record file, but of another magic or record size"));
  EXPECT_EQ(FilesIn(directory_.Path()), before);
}

TEST_F(JournalsOfADirectory, WithoutABoundAreServedToo) {
  GroupWriter(Options("lan", -1)).Add(EventFrom(1, 100), "eth0");
  const OpenJournals journals(directory_.Path());
  EXPECT_THAT(journals.problems(), IsEmpty());
  EXPECT_EQ(journals.registry()->GetActualStorage("eth0")->RecordCount(), 1);
}

TEST_F(JournalsOfADirectory, AnswerForAGroupBeforeAnInterfaceOfThatName) {
  MakeGroup("a", {"b"});
  MakeGroup("b", {"eth0"});
  const OpenJournals journals(directory_.Path());
  EXPECT_EQ(journals.registry()->GetActualStorage("b")->GetFileName(), Journal("b"));
  EXPECT_FALSE(journals.registry()->IsDynamic("b"));
  EXPECT_THAT(journals.problems(),
              ElementsAre("interface b of group a cannot be asked for by its name: a group has "
                          "that name, or a group before has that interface too"));
}

TEST_F(JournalsOfADirectory, AnswerForAnInterfaceOfTwoGroupsFromTheFirst) {
  MakeGroup("a", {"eth0"});
  MakeGroup("b", {"eth0", "eth1"});
  const OpenJournals journals(directory_.Path());
  EXPECT_EQ(journals.registry()->GetActualStorage("eth0")->GetFileName(), Journal("a"));
  EXPECT_TRUE(journals.registry()->IsDynamic("eth0"));
  EXPECT_EQ(journals.registry()->GetActualStorage("eth1")->GetFileName(), Journal("b"));
  EXPECT_THAT(journals.problems(),
              ElementsAre("interface eth0 of group b cannot be asked for by its name: a group has "
                          "that name, or a group before has that interface too"));
}

TEST_F(JournalsOfADirectory, AnswerForTheGroupWhereItsInterfaceHasItsName) {
  MakeGroup("eth0", {"eth0"});
  const OpenJournals journals(directory_.Path());
  EXPECT_FALSE(journals.registry()->IsDynamic("eth0"));
  EXPECT_THAT(journals.problems(),
              ElementsAre("interface eth0 of group eth0 cannot be asked for by its name: a group "
                          "has that name, or a group before has that interface too"));
}

TEST_F(JournalsOfADirectory, AreNotChangedByAByte) {
  MakeGroup("lan", {"eth0", "eth1"});
  MakeGroup("wan", {"eth2"});
  WriteText(Journal("damaged"), "x");
  const auto before = FilesIn(directory_.Path());
  {
    const OpenJournals journals(directory_.Path());
    PacketDbItem record;
    ASSERT_GE(journals.registry()->GetActualStorage("lan")->FetchRecord(0, &record), 0);
  }
  EXPECT_EQ(FilesIn(directory_.Path()), before);
}

TEST_F(JournalsOfADirectory, AreClosedWithTheirOwner) {
  MakeGroup("lan", {});
  boost::shared_ptr<IJournalStorage> storage;
  {
    const OpenJournals journals(directory_.Path());
    storage = journals.registry()->GetActualStorage("lan");
  }
  PacketDbItem record;
  EXPECT_LT(storage->FetchRecord(0, &record), 0);
}

}  // namespace
}  // namespace packetdb::host::test
