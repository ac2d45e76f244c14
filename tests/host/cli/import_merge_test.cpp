// Which packets of captures share a record: the edges of the window, one by one.
#include <gmock/gmock.h>

#include "tests/host/cli/import_fixture.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::Not;

// Packets of one event at these seconds.
Packets At(const std::vector<std::uint32_t>& seconds) {
  Packets packets;
  for (const std::uint32_t second : seconds) packets.push_back({.second = second});
  return packets;
}

class ImportedRepeats : public Importing {
 protected:
  // The counts of the journal's records.
  std::vector<std::uint32_t> CountsAfter(const std::vector<std::uint32_t>& seconds, long window) {
    options_.group.window_seconds = window;
    EXPECT_EQ(Import({At(seconds)}).exit_code, kExitOk);
    ModelJournal model(static_cast<std::uint32_t>(window), kCapacity);
    model.Import(At(seconds));
    ExpectSameRecords(Records(), model.Records());
    std::vector<std::uint32_t> counts;
    for (const PacketDbItemPacked& record : Records()) counts.push_back(+record.m_Count);
    return counts;
  }
};

using Counts = std::vector<std::uint32_t>;

TEST_F(ImportedRepeats, ShareTheRecordOfTheFirstWithinTheWindow) {
  EXPECT_EQ(CountsAfter({100, 100, 130, 159}, 60), Counts({4}));
}

TEST_F(ImportedRepeats, StartARecordAtTheEndOfTheWindow) {
  EXPECT_EQ(CountsAfter({100, 160}, 60), Counts({1, 1}));
}

TEST_F(ImportedRepeats, CountTheWindowFromTheFirstPacketNotTheLast) {
  EXPECT_EQ(CountsAfter({100, 130, 159, 160, 219, 220}, 60), Counts({3, 2, 1}));
}

TEST_F(ImportedRepeats, NeverShareARecordWithoutAWindow) {
  EXPECT_EQ(CountsAfter({100, 100, 101}, 0), Counts({1, 1, 1}));
}

TEST_F(ImportedRepeats, ShareOneSecondInAWindowOfOne) {
  EXPECT_EQ(CountsAfter({100, 100, 101, 101, 101}, 1), Counts({2, 3}));
}

TEST_F(ImportedRepeats, ShareARecordHoweverLongAWindowIs) {
  EXPECT_EQ(CountsAfter({0, 1'000'000'000, 1'831'950'847}, 2'147'483'647), Counts({3}));
}

TEST_F(ImportedRepeats, SumUpTheirBytes) {
  EXPECT_EQ(Import({{{.second = 1, .data = 10}, {.second = 2, .data = 32}}}).exit_code, kExitOk);
  ASSERT_EQ(Records().size(), 1U);
  EXPECT_EQ(+Records()[0].m_PacketSize, 2 * 28U + 42);
  EXPECT_EQ(+Records()[0].m_FirstTime, 1U);
  EXPECT_EQ(+Records()[0].m_LastTime, 2U);
}

TEST_F(ImportedRepeats, AreNoneOfOtherPortsInterfacesOrVerdicts) {
  const Packets packets = {{.second = 100},
                           {.second = 100, .port = 1001},
                           {.second = 100, .interface = 2},
                           {.second = 100, .dropped = false},
                           {.second = 101}};
  Import({packets});
  ModelJournal model(kWindow, kCapacity);
  model.Import(packets);
  ASSERT_EQ(model.Records().size(), 4U);
  ExpectSameRecords(Records(), model.Records());
}

TEST_F(ImportedRepeats, MayComeFromSeveralCaptures) {
  const std::vector<Packets> captures = {At({100, 150, 170}), At({99, 120}), At({})};
  EXPECT_THAT(Import(captures).output,
              testing::StartsWith("3 captures, 5 packets: 5 events journaled in group all\n"
                                  "2 records added, 3 repeats merged into them within 60 s; "));
  ModelJournal model(kWindow, kCapacity);
  model.Import(At({99, 100, 120, 150, 170}));
  ExpectSameRecords(Records(), model.Records());
}

TEST_F(ImportedRepeats, AreJournaledInTheOrderOfMicroseconds) {
  Import(
      {{{.second = 5, .microsecond = 7, .port = 1}, {.second = 5, .microsecond = 9, .port = 3}},
       {{.second = 5, .microsecond = 8, .port = 2}, {.second = 5, .microsecond = 9, .port = 4}}});
  std::vector<std::uint32_t> ports;
  for (const PacketDbItemPacked& record : Records()) ports.push_back(+record.m_SrcPort);
  EXPECT_EQ(ports, Counts({1, 2, 3, 4}));
}

TEST_F(ImportedRepeats, AreMovedToTheNewestTimeBeforeThem) {
  EXPECT_THAT(Import({At({100, 90, 130, 129, 130})}).output,
              HasSubstr("journaled with a remark:\n           2  older than the newest event "
                        "before: journaled at that event's time\n"));
  ASSERT_EQ(Records().size(), 1U);
  EXPECT_EQ(+Records()[0].m_FirstTime, 100U);
  EXPECT_EQ(+Records()[0].m_LastTime, 130U);
  EXPECT_EQ(+Records()[0].m_Count, 5U);
}

TEST_F(ImportedRepeats, OfAnImportBeforeStartTheirOwnRecord) {
  Import({At({100, 101})});
  EXPECT_THAT(Import({At({102})}).output, Not(HasSubstr("remark")));
  ModelJournal model(kWindow, kCapacity);
  model.Import(At({100, 101}));
  model.Import(At({102}));
  ASSERT_EQ(model.Records().size(), 2U);
  ExpectSameRecords(Records(), model.Records());
}

TEST_F(ImportedRepeats, AreNotOlderThanTheNewestRecordOfAnImportBefore) {
  Import({At({100})});
  EXPECT_THAT(Import({At({40, 50})}).output,
              HasSubstr("\n           2  older than the newest event before: "));
  ASSERT_EQ(Records().size(), 2U);
  EXPECT_EQ(+Records()[1].m_FirstTime, 100U);
  EXPECT_EQ(+Records()[1].m_Count, 2U);
}

TEST_F(ImportedRepeats, OfARecordThatWasOverwrittenStartANewOne) {
  options_.group.capacity = 2;
  Packets packets;
  for (const std::uint16_t port : std::vector<std::uint16_t>{1, 2, 1, 3, 1, 2}) {
    packets.push_back({.second = 9, .port = port});
  }
  EXPECT_THAT(Import({packets}).output,
              HasSubstr("\n5 records added, 1 repeat merged into them within 60 s; the journal "
                        "holds 2 records\n"));
  ModelJournal model(kWindow, 2);
  model.Import(packets);
  ExpectSameRecords(Records(), model.Records());
}

}  // namespace
}  // namespace packetdb::host::test
