// Merging against a small model: every short stream of events, and long random ones.
#include <algorithm>
#include <deque>
#include <random>

#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

// What the journal should hold, the plain way.
class MergeModel {
 public:
  MergeModel(std::size_t capacity, std::int64_t window) : capacity_(capacity), window_(window) {}

  void Add(const Event& event, std::int64_t now) {
    while (!fresh_.empty() && Sum(rows_[fresh_.front()].m_FirstTime) <= now - window_) {
      fresh_.pop_front();
    }
    const auto found = std::find_if(fresh_.begin(), fresh_.end(), [&](std::size_t row) {
      return rows_[row].m_SrcIp == event.m_SrcIp;
    });
    if (found != fresh_.end() && rows_[*found].m_LastTime <= event.m_LastTime) {
      Event& row = rows_[*found];
      row.Count(row.m_Count + event.m_Count).Size(row.m_PacketSize + event.m_PacketSize);
      row.Last(event.m_LastTime);
      return;
    }
    if (found != fresh_.end()) fresh_.clear();
    fresh_.push_back(rows_.size());
    rows_.push_back(event);
    if (fresh_.size() > capacity_) fresh_.pop_front();
  }

  // The newest `capacity` rows, oldest first.
  Strings Rows() const {
    Strings texts;
    for (std::size_t i = rows_.size() - std::min(rows_.size(), capacity_); i < rows_.size(); ++i) {
      texts.push_back(Times(rows_[i]));
    }
    return texts;
  }

 private:
  static std::int64_t Sum(std::uint32_t first) { return first + TIME_1980_OFFSET; }

  std::size_t capacity_;
  std::int64_t window_;
  std::vector<Event> rows_;
  std::deque<std::size_t> fresh_;
};

class MergeModelTest : public LibraryTest {
 protected:
  // Adds the events to a journal and to the model, each when it was last seen.
  static void ExpectSameRows(const std::vector<Event>& events, int capacity, int window) {
    Files().Reset();
    Journal journal(capacity, window);
    MergeModel model(static_cast<std::size_t>(capacity), window);
    std::string story =
        "capacity " + std::to_string(capacity) + " window " + std::to_string(window);
    for (const auto& event : events) {
      journal.Add(event);
      model.Add(event, std::int64_t{event.m_LastTime} + TIME_1980_OFFSET);
      story += "; " + std::to_string(event.m_SrcIp) + " at " + Times(event);
    }
    ASSERT_EQ(journal.Rows(), model.Rows()) << story;
    Calls().Forget();
  }
};

// Two events at three seconds: six letters. Every word of up to four of them.
TEST_F(MergeModelTest, EveryShortStreamMergesAsTheModelDoes) {
  std::vector<std::vector<Event>> streams{{}};
  for (std::size_t i = 0; i < streams.size(); ++i) {
    for (int capacity = 1; capacity <= 3; ++capacity) {
      for (int window = 0; window <= 2; ++window) ExpectSameRows(streams[i], capacity, window);
    }
    if (streams[i].size() == 4) continue;
    for (std::uint32_t letter = 0; letter < 6; ++letter) {
      auto longer = streams[i];
      longer.push_back(EventAt(10 + letter / 2).Src(letter % 2).Size(letter));
      streams.push_back(longer);
    }
  }
  EXPECT_EQ(streams.size(), 1u + 6 + 36 + 216 + 1296);
}

TEST_F(MergeModelTest, LongRandomStreamsMergeAsTheModelDoes) {
  const auto seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto pick = [&](std::uint32_t below) {
    return static_cast<std::uint32_t>(random()) % below;
  };
  for (int round = 0; round < 60; ++round) {
    std::vector<Event> events;
    std::uint32_t now = 1000;
    for (int i = 0; i < 300; ++i) {
      now = pick(50) == 0 ? now - pick(5) : now + pick(3);
      events.push_back(EventAt(now).First(now - pick(4)).Src(pick(12)));
      events.back().Count(static_cast<std::uint32_t>(random())).Size(pick(1500));
    }
    ExpectSameRows(events, static_cast<int>(1 + pick(12)), static_cast<int>(pick(40)));
  }
}

}  // namespace
}  // namespace packetdb::test
