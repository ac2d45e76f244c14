#include "host/reading/file_source.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>

#include "host/journals/error.h"
#include "host/journals/group_writer.h"
#include "host/reading/windows.h"
#include "tests/host/journals/old_journals.h"
#include "tests/host/journals/support.h"
#include "tests/host/reading/fake_source.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using packetdb::test::Random;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

class FileSourceTest : public testing::Test {
 protected:
  // Journals the records on one interface, or leaves the journal open for more.
  void Write(const std::vector<CDrvErrorItemV4>& records, const std::string& interface = "lan0",
             int capacity = 1000) {
    writer_ = std::make_unique<GroupWriter>(GroupOptions{.directory = directory_.Path(),
                                                         .group = "all",
                                                         .capacity = capacity,
                                                         .window_seconds = kDefaultWindowSeconds});
    for (const CDrvErrorItemV4& record : records) writer_->Add(record, interface);
  }
  void CloseWriter() { writer_.reset(); }
  std::string path() const { return directory_.Path("all.journal"); }

  // The numbers of the rows, in the order given.
  static std::vector<int> Numbers(FileSource& source, const Query& query) {
    std::vector<int> numbers;
    source.Read(query, [&numbers](const Row& row) {
      numbers.push_back(row.event.m_SrcPort);
      return true;
    });
    return numbers;
  }
  static std::vector<int> All(FileSource& source) { return Numbers(source, Between(0, kForEver)); }

  const TempDir directory_;
  std::unique_ptr<GroupWriter> writer_;
};

std::vector<CDrvErrorItemV4> Some(std::uint16_t count) {
  std::vector<CDrvErrorItemV4> records;
  for (std::uint16_t i = 1; i <= count; ++i) records.push_back(RecordSeen(kTime + i, kTime + i, i));
  return records;
}

TEST_F(FileSourceTest, GivesTheRowsNewestFirst) {
  Write(Some(3));
  CloseWriter();
  FileSource source(path());
  EXPECT_THAT(All(source), ElementsAre(3, 2, 1));
}

TEST_F(FileSourceTest, ReadsBesideAWriterAndChangesNothing) {
  Write(Some(3));
  const auto before = FilesIn(directory_.Path());
  FileSource source(path());
  EXPECT_THAT(All(source), ElementsAre(3, 2, 1));
  EXPECT_EQ(FilesIn(directory_.Path()), before);
  writer_->Add(RecordSeen(kTime + 9, kTime + 9, 9), "lan0");
  SourceFacts facts;
  source.Describe(&facts);
  EXPECT_THAT(All(source), ElementsAre(9, 3, 2, 1)) << "the writer was not kept out";
}

TEST_F(FileSourceTest, TellsInterfacesByTheCatalogue) {
  Write(Some(1), "lan0");
  writer_->Add(RecordSeen(kTime + 9, kTime + 9, 9), "wan0");
  FileSource source(path(), {.must_tell = true});
  std::vector<std::string> interfaces;
  source.Read(Between(0, kForEver), [&](const Row& row) {
    interfaces.emplace_back(row.interface);
    return true;
  });
  EXPECT_THAT(interfaces, ElementsAre("wan0", "lan0"));
}

TEST_F(FileSourceTest, GivesTheRowsOfInterfacesThatFitAPattern) {
  Write(Some(2), "lan0");
  writer_->Add(RecordSeen(kTime + 9, kTime + 9, 9), "wan0");
  FileSource source(path(), {.patterns = {"w*"}});
  EXPECT_THAT(All(source), ElementsAre(9));
  FileSource other(path(), {.patterns = {"ppp?"}});
  EXPECT_EQ(other.Read(Between(0, kForEver), {}).outcome, ReadOutcome::kNoSuchName);
}

TEST_F(FileSourceTest, LeavesInterfacesEmptyWithoutACatalogue) {
  Write({RecordSeen(kTime - 100, kTime, 1)});
  CloseWriter();
  std::filesystem::remove(directory_.Path("all.group"));
  FileSource source(path(), {.must_tell = true});
  EXPECT_THAT(Numbers(source, Between(kTime, kTime)), ElementsAre(1)) << "of any merge window";
  source.Read(Between(0, kForEver), [](const Row& row) {
    EXPECT_EQ(row.interface, "");
    return true;
  });
}

TEST_F(FileSourceTest, Describes) {
  Write(Some(3));
  FileSource source(path());
  SourceFacts facts;
  EXPECT_EQ(source.Describe(&facts).outcome, ReadOutcome::kDone);
  EXPECT_THAT(facts.oldest, Optional(kTime + 1));
  EXPECT_THAT(facts.newest, Optional(kTime + 3));
  EXPECT_THAT(facts.records, Optional(3u));
  EXPECT_EQ(facts.window_seconds, kDefaultWindowSeconds);
}

TEST_F(FileSourceTest, StopsAtALimitAndSaysWhere) {
  Write(Some(9));
  FileSource source(path());
  Query query = Between(0, kForEver);
  query.m_RecCount = 2;
  EXPECT_THAT(Numbers(source, query), ElementsAre(9, 8));
  EXPECT_THAT(source.Read(query, [](const Row&) { return true; }).cut_at, Optional(kTime + 8));
}

TEST_F(FileSourceTest, FollowsAJournalThatIsReplaced) {
  Write(Some(3));
  CloseWriter();
  FileSource source(path());
  Write({}, "lan0", 2);
  SourceFacts facts;
  source.Describe(&facts);
  EXPECT_THAT(facts.records, Optional(2u)) << "resized";
  EXPECT_THAT(All(source), ElementsAre(3, 2));
}

// Where the frame of a record lies in a journal: six frames of 80 bytes in each cell of 512.
std::streamoff ByteOf(int record) { return 12288 + record / 6 * 512 + record % 6 * 80; }

TEST_F(FileSourceTest, LeavesDamagedRecordsOutAndCountsThem) {
  Write(Some(20));
  CloseWriter();
  std::fstream file(path(), std::ios::in | std::ios::out | std::ios::binary);
  for (const int record : {9, 10}) file.seekp(ByteOf(record)) << "damage";
  file.close();
  FileSource source(path());
  EXPECT_THAT(Numbers(source, Between(kTime + 8, kTime + 13)), ElementsAre(13, 12, 9, 8));
  EXPECT_GE(source.damaged(), 2u);
}

TEST_F(FileSourceTest, ReadsJournalsOfEarlierFormats) {
  for (const JournalFormat format : {JournalFormat::k3, JournalFormat::k41}) {
    const std::string old = directory_.Path(std::string(FormatName(format)) + ".journal");
    MakeOld(old, format, 3);
    FileSource source(old);
    Query query;
    query.m_TimeEnd = std::int64_t{1} << 32;
    int rows = 0;
    source.Read(query, [&rows](const Row&) { return ++rows != 0; });
    EXPECT_EQ(rows, 3);
  }
}

TEST_F(FileSourceTest, RefusesWhatIsNoJournal) {
  const auto error_of = [this] {
    return WhatOf<JournalError>([this] { const FileSource source(path()); });
  };
  EXPECT_THAT(error_of(), HasSubstr("cannot open journal " + path()));
  WriteText(path(), "dear diary");
  EXPECT_THAT(error_of(), HasSubstr(path() + ": "));
  std::filesystem::remove(path());
  std::filesystem::create_directory(path());
  EXPECT_THAT(error_of(), HasSubstr(path() + ": "));
}

TEST_F(FileSourceTest, RefusesAFileThatIsCutShort) {
  Write(Some(3));
  CloseWriter();
  std::filesystem::resize_file(path(), 12288);
  EXPECT_THAT(WhatOf<JournalError>([this] { const FileSource source(path()); }),
              HasSubstr("shorter than its header says"));
}

// Ranges of a ring that has turned, in either order, as a naive filter has them.
TEST_F(FileSourceTest, GivesWhatANaiveFilterGives) {
  const std::uint32_t seed = packetdb::test::Seed();
  SCOPED_TRACE(packetdb::test::SeedText(seed));
  Random random(seed);
  std::vector<CDrvErrorItemV4> records = RandomRecords(random, 900);
  Write(records, "lan0", 500);
  records.erase(records.begin(), records.end() - 500);
  FileSource source(path());
  const std::atomic<bool> cancelled = false;
  WindowReader reader(source, cancelled, 16);
  for (int i = 0; i < 200; ++i) {
    const std::int64_t since = std::int64_t{random.OneOf(records).m_FirstTime} + TIME_1980_OFFSET;
    const Query query = Between(since + random.Below(9), since + random.Below(1'000'000));
    const std::vector<int> expected = NaiveNumbers(query, records);
    EXPECT_EQ(Numbers(source, query), expected);
    std::vector<int> windowed;
    reader.ReadAll(ReadOrder::kOldestFirst, query, {}, [&windowed](const Row& row) {
      windowed.insert(windowed.begin(), row.event.m_SrcPort);
      return true;
    });
    ASSERT_EQ(windowed, expected);
  }
}

}  // namespace
}  // namespace packetdb::host::test
