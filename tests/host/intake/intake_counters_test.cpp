// What intake says in the status page.
#include <ctime>
#include <gmock/gmock.h>

#include "tests/host/intake/log_lines.h"
#include "tests/host/intake/support.h"

namespace packetdb::host::test {
namespace {

using testing::Contains;

class WhatIntakeCounts : public testing::Test, protected Intaken {};

TEST_F(WhatIntakeCounts, IsEventsPacketsAndBytesOfAJournal) {
  Seen many;
  many.event.event.item.m_Count = 3;
  many.event.event.item.m_PacketSize = 100;
  Take({Seen(), many});
  EXPECT_EQ(Journal().events.Get(), 2U);
  EXPECT_EQ(Journal().packets.Get(), 4U);
  EXPECT_EQ(Journal().bytes.Get(), 140U);
  EXPECT_EQ(Journal().failed.Get(), 0U);
}

TEST_F(WhatIntakeCounts, IsWhenTheNewestEventWasJournaled) {
  const auto before = static_cast<std::uint64_t>(std::time(nullptr));
  Take({});
  EXPECT_EQ(page().daemon.last_event_unix.Get(), 0U);
  Take({Seen().At(1000000000)});
  EXPECT_GE(page().daemon.last_event_unix.Get(), before);
}

TEST_F(WhatIntakeCounts, IsWhatTheSourceCountedItself) {
  source().live_counts = {.lost_overrun = 1,
                          .lost_before_read = 2,
                          .overruns = 3,
                          .foreign = 4,
                          .malformed = 5,
                          .batches = 6,
                          .buffer_bytes = 7,
                          .next_sequence = 8};
  source().packet_counts.CountPacket();
  source().packet_counts.Skip(SkipReason::kArp);
  source().packet_counts.Note(Remark::kTimeClamped);
  Take({Seen()});
  EXPECT_EQ(Source().received.Get(), 2U);
  EXPECT_EQ(Source().journaled.Get(), 1U);
  EXPECT_EQ(Source().lost_overrun.Get(), 1U);
  EXPECT_EQ(Source().lost_before_read.Get(), 2U);
  EXPECT_EQ(Source().overruns.Get(), 3U);
  EXPECT_EQ(Source().foreign.Get(), 4U);
  EXPECT_EQ(Source().malformed.Get(), 5U);
  EXPECT_EQ(Source().batches.Get(), 6U);
  EXPECT_EQ(Source().buffer_bytes.Get(), 7U);
  EXPECT_EQ(Source().last_sequence.Get(), 8U);
  EXPECT_EQ(Source().skipped[static_cast<std::size_t>(SkipReason::kArp)].Get(), 1U);
  EXPECT_EQ(Source().remarks[static_cast<std::size_t>(Remark::kTimeClamped)].Get(), 1U);
}

TEST_F(WhatIntakeCounts, IsNotCountedAgainWithTheNextBatch) {
  source().live_counts.lost_overrun = 5;
  Take({Seen()});
  Take({});
  EXPECT_EQ(Source().received.Get(), 1U);
  EXPECT_EQ(Source().lost_overrun.Get(), 5U);
}

TEST_F(WhatIntakeCounts, IsToldInTheLogWhereItWasLost) {
  const LogLines lines;
  source().live_counts = {.lost_overrun = 5, .lost_before_read = 2};
  Take({Seen()});
  source().live_counts = {.lost_overrun = 9, .lost_before_read = 2};
  Take({Seen()});
  EXPECT_THAT(lines.All(), testing::IsSupersetOf(
                               {"nflog:5: 5 events lost: the kernel's buffer was full",
                                "nflog:5: 2 events lost: the interface had no room for them"}));
  EXPECT_THAT(lines.All(), testing::Not(Contains(testing::HasSubstr("4 events lost"))))
      << "a minute has not passed";
}

TEST_F(WhatIntakeCounts, GoesOnWithTheNextIntake) {
  source().live_counts = {.lost_overrun = 5, .next_sequence = 100};
  source().packet_counts.Skip(SkipReason::kArp);
  Take({Seen().With("pdb:x")});
  Restart();
  source().live_counts = {.lost_overrun = 2};
  source().packet_counts.Skip(SkipReason::kArp);
  Take({Seen().With("pdb:x"), Seen()});
  EXPECT_EQ(Source().received.Get(), 3U);
  EXPECT_EQ(Source().journaled.Get(), 3U);
  EXPECT_EQ(Source().lost_overrun.Get(), 7U);
  EXPECT_EQ(Source().last_sequence.Get(), 100U) << "not known better yet";
  EXPECT_EQ(Source().skipped[static_cast<std::size_t>(SkipReason::kArp)].Get(), 2U);
  EXPECT_EQ(Source().remarks[static_cast<std::size_t>(Remark::kMalformedPrefix)].Get(), 2U);
  EXPECT_EQ(Journal().events.Get(), 3U);
  EXPECT_EQ(page().rules.known.Get(), 1U);
}

TEST_F(WhatIntakeCounts, IsWhereTheJournalStoodWhenTheDaemonStarted) {
  Take({Seen(), Seen().From(1), Seen().From(2)});
  EXPECT_EQ(Journal().first_next.Get(), 0U);
  Stop();
  Intaken fresh;  // another daemon, with a page of its own, over the same directory
  fresh.configuration() = configuration();
  fresh.Take({Seen().From(3)});
  EXPECT_EQ(fresh.Journal().first_next.Get(), 3U);
  fresh.Restart();
  EXPECT_EQ(fresh.Journal().first_next.Get(), 3U);
}

TEST_F(WhatIntakeCounts, IsLostButForALineWhereThePageIsFull) {
  for (JournalStatus& row : page().journals) row.name[0] = 'x';
  for (SourceStatus& row : page().sources) row.name[0] = 'x';
  for (ExclusionStatus& row : page().exclusions) row.name[0] = 'x';
  ExclusionSettings exclusion;
  exclusion.name = "one";
  exclusion.ports = {{1, 1}};
  configuration().exclusions = {exclusion};
  const LogLines lines;
  Seen excluded;
  excluded.event.event.item.m_DstPort = 1;
  Take({Seen(), excluded});
  Stop();
  EXPECT_EQ(Records().size(), 1U);
  const std::string full = ": the status page has no room for it until the daemon is restarted";
  EXPECT_THAT(lines.All(), Contains("journal all" + full));
  EXPECT_THAT(lines.All(), Contains("nflog:5" + full));
}

TEST_F(WhatIntakeCounts, IsHowOftenTooManyInterfacesWereSeen) {
  std::vector<Seen> events;
  configuration().journals[0].interfaces = {"eth0"};
  for (int i = 0; i < 20000; ++i) events.push_back(Seen().On("veth" + std::to_string(i)));
  Take(events);
  EXPECT_EQ(Source().unrouted.Get(), 20000U);
  EXPECT_EQ(page().rules.forgotten.Get(), 1U);
}

}  // namespace
}  // namespace packetdb::host::test
