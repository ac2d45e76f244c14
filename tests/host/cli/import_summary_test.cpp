#include "host/cli/import_summary.h"

#include <gtest/gtest.h>

#include "tests/host/cli/captured.h"

namespace packetdb::host::test {
namespace {

class SummaryOfAnImport : public testing::Test {
 protected:
  SummaryOfAnImport() {
    summary_.group = "lan";
    summary_.window_seconds = 60;
  }
  void CountPackets(int packets, int events) {
    for (int i = 0; i < packets; ++i) summary_.counters.CountPacket();
    for (int i = 0; i < events; ++i) summary_.counters.CountEvent();
  }
  std::string Text() const {
    return Printed([this](std::FILE* out) { PrintSummary(summary_, out); });
  }

  ImportSummary summary_;
};

TEST_F(SummaryOfAnImport, CountsNothingInThePlural) {
  EXPECT_EQ(Text(),
            "0 captures, 0 packets: 0 events journaled in group lan\n"
            "0 records added, 0 repeats merged into them within 60 s; the journal holds 0 "
            "records\n");
}

TEST_F(SummaryOfAnImport, CountsOneInTheSingular) {
  CountPackets(1, 1);
  summary_.captures = 1;
  summary_.records_added = 1;
  summary_.records_kept = 1;
  EXPECT_EQ(Text(),
            "1 capture, 1 packet: 1 event journaled in group lan\n"
            "1 record added, 0 repeats merged into them within 60 s; the journal holds 1 record\n");
}

TEST_F(SummaryOfAnImport, TellsRepeatsFromRecords) {
  CountPackets(5, 5);
  summary_.captures = 2;
  summary_.records_added = 4;
  summary_.records_kept = 11;
  summary_.window_seconds = 7;
  EXPECT_EQ(Text(),
            "2 captures, 5 packets: 5 events journaled in group lan\n"
            "4 records added, 1 repeat merged into them within 7 s; the journal holds 11 "
            "records\n");
}

TEST_F(SummaryOfAnImport, GivesTheReasonsForWhatIsNotJournaled) {
  CountPackets(3, 0);
  summary_.counters.Skip(SkipReason::kIpv6);
  summary_.counters.Skip(SkipReason::kIpv6);
  summary_.counters.Skip(SkipReason::kTruncatedIpv4);
  EXPECT_EQ(Text(),
            "0 captures, 3 packets: 0 events journaled in group lan\n"
            "0 records added, 0 repeats merged into them within 60 s; the journal holds 0 "
            "records\n"
            "not journaled: 3 packets\n"
            "           2  IPv6\n"
            "           1  IPv4 header truncated\n");
}

TEST_F(SummaryOfAnImport, CountsOnePacketThatIsNotJournaled) {
  summary_.counters.Skip(SkipReason::kArp);
  EXPECT_NE(Text().find("\nnot journaled: 1 packet\n           1  ARP\n"), std::string::npos);
}

TEST_F(SummaryOfAnImport, GivesTheReasonOfEverySkippedPacket) {
  for (std::size_t i = 0; i < kSkipReasons; ++i) {
    summary_.counters.Skip(static_cast<SkipReason>(i));
  }
  for (std::size_t i = 0; i < kSkipReasons; ++i) {
    const std::string line =
        "\n           1  " + std::string(host::Text(static_cast<SkipReason>(i))) + "\n";
    EXPECT_NE(Text().find(line), std::string::npos) << line;
  }
}

TEST_F(SummaryOfAnImport, RemarksOnWhatIsJournaled) {
  CountPackets(2, 2);
  summary_.records_added = 2;
  summary_.records_kept = 2;
  summary_.counters.Note(Remark::kPortsNotCaptured);
  summary_.counters.Note(Remark::kTimeClamped);
  summary_.times_adjusted = 12;
  EXPECT_EQ(Text(),
            "0 captures, 2 packets: 2 events journaled in group lan\n"
            "2 records added, 0 repeats merged into them within 60 s; the journal holds 2 "
            "records\n"
            "journaled with a remark:\n"
            "           1  ports not captured\n"
            "           1  time before 1980\n"
            "          12  older than the newest event before: journaled at that event's time\n");
}

TEST_F(SummaryOfAnImport, RemarksOnMovedTimesAlone) {
  summary_.times_adjusted = 1;
  EXPECT_NE(Text().find("\njournaled with a remark:\n           1  older than the newest event"),
            std::string::npos);
}

TEST_F(SummaryOfAnImport, SaysNothingOfRemarksWithoutOne) {
  EXPECT_EQ(Text().find("remark"), std::string::npos);
  EXPECT_EQ(Text().find("not journaled"), std::string::npos);
}

}  // namespace
}  // namespace packetdb::host::test
