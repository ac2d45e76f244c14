// The walk against a ten-line model: every small journal and range, and large random ones.
#include <algorithm>
#include <random>

#include "tests/library/file_iter_fixture.h"

namespace packetdb::test {
namespace {

struct Seen {
  std::uint32_t first;
  std::uint32_t last;
};

struct Range {
  std::int64_t start;
  std::int64_t end;
  std::int64_t window;
  std::uint32_t limit;
};

// What a query should select, newest first.
Strings Model(const std::vector<Seen>& journal, const Range& range) {
  auto at = std::find_if(journal.begin(), journal.end(), [&](const Seen& record) {
    return record.first >= range.start - range.window;
  });
  Strings oldest_first;
  for (; at != journal.end() && at->last <= range.end + range.window; ++at) {
    if (at->first > range.end || at->last < range.start) continue;
    oldest_first.push_back(std::to_string(at->first) + "-" + std::to_string(at->last) + " x1");
  }
  Strings selected(oldest_first.rbegin(), oldest_first.rend());
  if (range.limit != 0 && selected.size() > range.limit) selected.resize(range.limit);
  return selected;
}

class FileIterModel : public FileIterTest {
 protected:
  void Fill(const std::vector<Seen>& records, time_t window) {
    journal_.reset();
    Files().Reset();
    journal_ = std::make_unique<Journal>(100000, window);
    Clock().Set(0);
    std::uint32_t key = 0;
    for (const auto& record : records) {
      const Event event = EventAt(record.first).Last(record.last).Src(++key);
      journal_->storage().AddRecord(&event, 0, "");
    }
  }
  Strings Ask(const Range& range) {
    Query query = QueryBetween(range.start, range.end);
    query.m_RecCount = range.limit;
    DbItemSelection selection;
    journal_->storage().CreateStorageIter(query)->SelectRecords(selection);
    return AllTimes(selection);
  }
  void ExpectModel(const std::vector<Seen>& records, const Range& range) {
    ASSERT_EQ(Ask(range), Model(records, range))
        << ::testing::PrintToString(Model(records, {0, 99, 99, 0})) << " from " << range.start
        << " to " << range.end << " window " << range.window << " limit " << range.limit;
  }
  void ExpectModelForEveryRange(const std::vector<Seen>& records, std::int64_t window) {
    Fill(records, window);
    for (std::int64_t start = 0; start <= 4; ++start) {
      for (std::int64_t end = 0; end <= 4; ++end) {
        for (std::uint32_t limit = 0; limit <= 2; ++limit) {
          ExpectModel(records, {start, end, window, limit});
        }
      }
    }
    Calls().Forget();
  }
};

// Every journal of up to four records over the seconds 1 to 3, in order of their first times.
TEST_F(FileIterModel, EverySmallJournalIsWalkedAsTheModelDoes) {
  std::vector<std::vector<Seen>> journals{{}};
  for (std::size_t i = 0; i < journals.size(); ++i) {
    for (std::int64_t window = 0; window <= 1; ++window) {
      ExpectModelForEveryRange(journals[i], window);
    }
    if (journals[i].size() == 4) continue;
    const std::uint32_t newest = journals[i].empty() ? 1 : journals[i].back().first;
    for (std::uint32_t first = newest; first <= 3; ++first) {
      for (std::uint32_t last = first; last <= 3; ++last) {
        auto longer = journals[i];
        longer.push_back({first, last});
        journals.push_back(longer);
      }
    }
  }
  EXPECT_GT(journals.size(), 200u);
}

TEST_F(FileIterModel, LargeRandomJournalsAreWalkedAsTheModelDoes) {
  const auto seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto pick = [&](std::uint32_t below) {
    return static_cast<std::uint32_t>(random()) % below;
  };
  for (int round = 0; round < 30; ++round) {
    std::vector<Seen> records;
    std::uint32_t first = 1000;
    const std::uint32_t size = pick(700);
    for (std::uint32_t i = 0; i < size; ++i) {
      first += pick(3);
      records.push_back({first, first + (pick(4) == 0 ? pick(20) : 0)});
    }
    const std::int64_t window = pick(25);
    Fill(records, window);
    for (int query = 0; query < 20; ++query) {
      const std::int64_t start = 950 + pick(900);
      ExpectModel(records, {start, start + pick(600), window, pick(3) == 0 ? pick(300) : 0});
    }
  }
}

}  // namespace
}  // namespace packetdb::test
