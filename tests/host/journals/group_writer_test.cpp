#include "host/journals/group_writer.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <optional>

#include "host/journals/error.h"
#include "host/journals/names.h"
#include "host/record_file/layout.h"
#include "host/record_file/result.h"
#include "host/record_file/settings.h"
#include "packetdb/journal_format.h"
#include "packetdb/query.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::SizeIs;

// Long enough that nothing leaves it while a test runs.
constexpr long kDay = 86400;

class GroupWriting : public testing::Test {
 protected:
  GroupOptions Options(int capacity = 10) const {
    return {.directory = directory_.Path(),
            .group = "lan",
            .capacity = capacity,
            .window_seconds = kDay};
  }
  void Open(int capacity = 10) { writer_.emplace(Options(capacity)); }
  // Nobody reads a journal that somebody writes, so the writer goes first.
  std::vector<PacketDbItemPacked> CloseAndRead() {
    writer_.reset();
    return RecordsIn(journal_);
  }

  const TempDir directory_;
  const std::string catalogue_ = CataloguePath(directory_.Path(), "lan");
  const std::string journal_ = JournalPath(directory_.Path(), "lan");
  std::optional<GroupWriter> writer_;
};

TEST_F(GroupWriting, StoresTheEventWithItsInterface) {
  const std::uint32_t now = JournalNow();
  Open();
  writer_->Add(EventFrom(7, now), "lan0");
  const auto records = CloseAndRead();
  ASSERT_THAT(records, SizeIs(1));
  const PacketDbItemPacked record = records.front();
  EXPECT_EQ(+record.m_AdapterNameHash, adapter_name_hash("lan0"));
  EXPECT_EQ(+record.m_SrcIp, 0x0A000007U);
  EXPECT_EQ(+record.m_FirstTime, now);
  EXPECT_EQ(+record.m_Count, 1U);
}

TEST_F(GroupWriting, FoldsARepeatIntoTheFirst) {
  const std::uint32_t now = JournalNow();
  Open();
  writer_->Add(EventFrom(7, now - 5), "lan0");
  writer_->Add(EventFrom(8, now - 4), "lan0");
  writer_->Add(EventFrom(7, now), "lan0");
  EXPECT_EQ(writer_->RecordCount(), 2);
  const auto records = CloseAndRead();
  ASSERT_THAT(records, SizeIs(2));
  const PacketDbItemPacked record = records.front();
  EXPECT_EQ(+record.m_Count, 2U);
  EXPECT_EQ(+record.m_PacketSize, 80U);
  EXPECT_EQ(+record.m_FirstTime, now - 5);
  EXPECT_EQ(+record.m_LastTime, now);
}

TEST_F(GroupWriting, StartsANewRecordBehindTheWindow) {
  Open();
  writer_->Add(EventFrom(7, 100), "lan0");
  writer_->Add(EventFrom(7, 100), "lan0");
  EXPECT_EQ(writer_->RecordCount(), 2);
}

TEST_F(GroupWriting, KeepsTheInterfacesApart) {
  const std::uint32_t now = JournalNow();
  Open();
  writer_->Add(EventFrom(7, now), "lan0");
  writer_->Add(EventFrom(7, now), "lan1");
  writer_->Add(EventFrom(7, now), "lan0");
  const auto records = CloseAndRead();
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ(+records[0].m_AdapterNameHash, adapter_name_hash("lan0"));
  EXPECT_EQ(+records[0].m_Count, 2U);
  EXPECT_EQ(+records[1].m_AdapterNameHash, adapter_name_hash("lan1"));
}

TEST_F(GroupWriting, PutsEachInterfaceIntoTheCatalogueOnce) {
  Open();
  for (const char* interface : {"lan0", "lan1", "lan0", "lan0"}) {
    writer_->Add(EventFrom(7, 100), interface);
  }
  EXPECT_EQ(ReadText(catalogue_),
            "packetdb-group 1\nwindow 86400\ninterface lan0\ninterface lan1\n");
}

TEST_F(GroupWriting, JournalsNoEventOfAnInterfaceThatCannotBePutOnDisk) {
  Open();
  std::filesystem::remove(catalogue_);
  EXPECT_THROW(writer_->Add(EventFrom(7, 100), "lan0"), JournalError);
  EXPECT_THROW(writer_->Add(EventFrom(7, 100), "lan0"), JournalError);
  EXPECT_EQ(writer_->RecordCount(), 0);
}

TEST_F(GroupWriting, JournalsNoEventWithoutAnInterface) {
  Open();
  EXPECT_EQ(WhatOf<JournalError>([&] { writer_->Add(EventFrom(7, 100), ""); }),
            "'' cannot be the name of an interface");
  EXPECT_EQ(writer_->RecordCount(), 0);
}

TEST_F(GroupWriting, TakesEventsOfAnInterfaceThatItHasBeenToldOf) {
  Open();
  const std::size_t hash = writer_->Know("lan0");
  EXPECT_EQ(hash, adapter_name_hash("lan0"));
  EXPECT_EQ(ReadText(catalogue_), "packetdb-group 1\nwindow 86400\ninterface lan0\n");
  EXPECT_EQ(writer_->AddKnown(EventFrom(7, JournalNow()), hash, "lan0"), 0);
  EXPECT_EQ(writer_->RecordCount(), 1);
}

TEST_F(GroupWriting, TellsWhyTheFileRefusedAnEvent) {
  Open();
  const std::size_t hash = writer_->Know("lan0");
  writer_->AddKnown(EventFrom(7, JournalNow()), hash, "lan0");
  std::filesystem::resize_file(writer_->path(), 0);
  const int code = writer_->AddKnown(EventFrom(8, JournalNow()), hash, "lan0");
  EXPECT_EQ(code, kFileLost);
  EXPECT_EQ(GroupWriter::Reason(code), DescribeRecordFileResult(kFileLost));
}

TEST(FlushingOfJournals, IsAsItWasSet) {
  const RecordFileSettings before = GetRecordFileSettings();
  SetFlushing(std::chrono::milliseconds(5), 4096);
  const RecordFileSettings now = GetRecordFileSettings();
  SetRecordFileSettings(before);
  EXPECT_EQ(now.sync.interval, std::chrono::milliseconds(5));
  EXPECT_EQ(now.sync.bytes, 4096U);
  EXPECT_EQ(now.sync.mode, before.sync.mode);
}

TEST_F(GroupWriting, KnowsTheFirstSeenTimeOfTheNewestRecord) {
  const std::uint32_t now = JournalNow();
  Open();
  EXPECT_EQ(writer_->NewestTime(), 0U);
  writer_->Add(EventFrom(7, now - 9), "lan0");
  EXPECT_EQ(writer_->NewestTime(), now - 9);
  writer_->Add(EventFrom(8, now - 5), "lan0");
  writer_->Add(EventFrom(7, now), "lan0");
  EXPECT_EQ(writer_->NewestTime(), now - 5);
}

// Else an import would take times that go back, and searches by time miss what lies behind them.
TEST_F(GroupWriting, KnowsTheNewestTimeAlsoWhenTheNewestRecordIsDamaged) {
  Open();
  writer_->Add(EventFrom(7, 100), "lan0");
  writer_->Add(EventFrom(8, 101), "lan0");
  writer_.reset();
  std::string bytes = ReadText(journal_);
  bytes[kCellsOffset + FrameSize(kJournalRecordSize)] ^= 1;
  WriteText(journal_, bytes);
  Open();
  EXPECT_EQ(writer_->NewestTime(), 100U);
}

TEST_F(GroupWriting, SaysWhenTheNewestRecordCannotBeRead) {
  Open();
  writer_->Add(EventFrom(7, 100), "lan0");
  std::filesystem::resize_file(journal_, kCellsOffset);
  EXPECT_EQ(WhatOf<JournalError>([&] { writer_->NewestTime(); }),
            "cannot read the newest record of journal " + journal_ +
                ": the file was cut or could not be read while it was open");
}

TEST_F(GroupWriting, CountsTheRecordsThatWereOverwritten) {
  Open(3);
  EXPECT_EQ(writer_->RecordsAppended(), 0U);
  for (std::uint8_t host = 1; host <= 8; ++host) {
    writer_->Add(EventFrom(host, host), "lan0");
    EXPECT_EQ(writer_->RecordsAppended(), host);
  }
  EXPECT_EQ(writer_->RecordCount(), 3);
  EXPECT_EQ(writer_->NewestTime(), 8U);
}

TEST_F(GroupWriting, DoesNotCountRepeatsAsRecords) {
  Open();
  writer_->Add(EventFrom(7, JournalNow()), "lan0");
  writer_->Add(EventFrom(7, JournalNow()), "lan0");
  EXPECT_EQ(writer_->RecordsAppended(), 1U);
}

TEST_F(GroupWriting, AppendsWhenOpenedAgain) {
  Open();
  writer_->Add(EventFrom(7, 100), "lan0");
  writer_.reset();
  Open();
  EXPECT_EQ(writer_->NewestTime(), 100U);
  EXPECT_EQ(writer_->RecordsAppended(), 1U);
  writer_->Add(EventFrom(8, 101), "lan1");
  const auto records = CloseAndRead();
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ(+records[0].m_SrcIp, 0x0A000007U);
  EXPECT_EQ(+records[1].m_SrcIp, 0x0A000008U);
  EXPECT_EQ(ReadText(catalogue_),
            "packetdb-group 1\nwindow 86400\ninterface lan0\ninterface lan1\n");
}

}  // namespace
}  // namespace packetdb::host::test
