// Clocks that are set, machines that sleep: a journal's times never go back, and who was moved is
// counted.
#include <gmock/gmock.h>

#include "tests/host/intake/support.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

class AClockOfEvents : public testing::Test, protected Intaken {
 protected:
  // First-seen times of the journal's records, seconds from the start of the story.
  std::vector<std::int64_t> Times(std::string_view journal = "all") const {
    std::vector<std::int64_t> times;
    for (const PacketDbItemPacked& record : Records(journal)) {
      times.push_back(std::int64_t{record.m_FirstTime} + TIME_1980_OFFSET - kStart);
    }
    return times;
  }
  // An event of its own, so that no repeats merge.
  Seen At(std::int64_t seconds) { return Seen().From(++address_).At(kStart + seconds); }

  const std::int64_t kStart = std::int64_t{JournalNow()} + TIME_1980_OFFSET - 1000000;

 private:
  std::uint32_t address_ = 0x0A000100;
};

TEST_F(AClockOfEvents, ThatGoesForwardIsFollowed) {
  Take({At(0), At(0), At(5), At(500000)});
  Stop();
  EXPECT_THAT(Times(), ElementsAre(0, 0, 5, 500000));
  EXPECT_EQ(Journal().adjusted_times.Get(), 0U);
}

TEST_F(AClockOfEvents, ThatIsSetBackStandsStillInTheJournal) {
  Take({At(100), At(50), At(99), At(100), At(101)});
  Stop();
  EXPECT_THAT(Times(), ElementsAre(100, 100, 100, 100, 101));
  EXPECT_EQ(Journal().adjusted_times.Get(), 2U);
}

// Forward by years and back again: time goes on once the calendar has caught up.
TEST_F(AClockOfEvents, ThatWasAheadForAMomentHoldsTheOthersThere) {
  constexpr std::int64_t kYear = 365 * 86400;
  Take({At(0), At(kYear), At(1), At(2), At(kYear + 1)});
  Stop();
  EXPECT_THAT(Times(), ElementsAre(0, kYear, kYear, kYear, kYear + 1));
  EXPECT_EQ(Journal().adjusted_times.Get(), 2U);
}

TEST_F(AClockOfEvents, GoesOnBehindASuspend) {
  Take({At(0)});
  Take({At(8 * 3600), At(8 * 3600 + 1)});
  Stop();
  EXPECT_THAT(Times(), ElementsAre(0, 8 * 3600, 8 * 3600 + 1));
  EXPECT_EQ(Journal().adjusted_times.Get(), 0U);
}

TEST_F(AClockOfEvents, DoesNotFallBehindWhatTheJournalHoldsAlready) {
  Take({At(100)});
  Restart();
  Take({At(50), At(101)});
  Stop();
  EXPECT_THAT(Times(), ElementsAre(100, 100, 101));
  EXPECT_EQ(Journal().adjusted_times.Get(), 1U);
}

TEST_F(AClockOfEvents, IsEachJournalsOwn) {
  configuration().journals = {JournalNamed("lan"), JournalNamed("wan")};
  configuration().journals[0].interfaces = {"lan0"};
  Take({At(100).On("lan0"), At(50).On("wan0"), At(60).On("lan0")});
  Stop();
  EXPECT_THAT(Times("lan"), ElementsAre(100, 100));
  EXPECT_THAT(Times("wan"), ElementsAre(50));
  EXPECT_EQ(Journal("lan").adjusted_times.Get(), 1U);
  EXPECT_EQ(Journal("wan").adjusted_times.Get(), 0U);
}

TEST_F(AClockOfEvents, BeginsInTheFirstSecondThatAJournalHolds) {
  Take({Seen().At(TIME_1980_OFFSET), At(0)});
  Stop();
  EXPECT_THAT(Times(), ElementsAre(std::int64_t{TIME_1980_OFFSET} - kStart, 0));
}

}  // namespace
}  // namespace packetdb::host::test
