// Merging against a small model: every short stream of events, and long random ones.
#include <algorithm>
#include <deque>

#include "tests/support/fixture.h"
#include "tests/support/seed.h"

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

// An event, and when it reaches the journal: in seconds since 1980, as its own times are.
struct Added {
  Event event;
  std::uint32_t at;
};
using Stream = std::vector<Added>;

// Every stream of up to `size` of these letters.
std::vector<Stream> EveryStream(const Stream& letters, std::size_t size) {
  std::vector<Stream> streams{{}};
  for (std::size_t i = 0; i < streams.size(); ++i) {
    if (streams[i].size() == size) continue;
    for (const Added& letter : letters) {
      Stream longer = streams[i];
      longer.push_back(letter);
      streams.push_back(longer);
    }
  }
  return streams;
}

// One of two events, each with a size of its own so that the sums tell what was merged.
Event Letter(std::uint32_t second, std::uint32_t source) {
  return EventAt(second).Src(source).Size(second + 100 * source);
}

class MergeModelTest : public LibraryTest {
 protected:
  // Adds the stream to a journal and to the model.
  void ExpectSameRows(const Stream& stream, int capacity, int window) {
    Files().Reset();
    Journal journal(capacity, window);
    MergeModel model(static_cast<std::size_t>(capacity), window);
    for (const Added& added : stream) {
      Clock().SetSince1980(added.at);
      journal.storage().AddRecord(&added.event, 0, "");
      model.Add(added.event, std::int64_t{added.at} + TIME_1980_OFFSET);
    }
    ASSERT_EQ(journal.Rows(), model.Rows())
        << "capacity " << capacity << " window " << window << Story(stream);
    Calls().Forget();
    ++cases_;
  }
  // For capacities and windows that are smaller and larger than what a stream needs.
  void ExpectSameRowsInEveryJournal(const std::vector<Stream>& streams) {
    for (const Stream& stream : streams) {
      for (int capacity = 1; capacity <= 3 && !HasFatalFailure(); ++capacity) {
        for (int window = 0; window <= 2; ++window) ExpectSameRows(stream, capacity, window);
      }
    }
  }

  long cases_ = 0;

 private:
  static std::string Story(const Stream& stream) {
    std::string story;
    for (const Added& added : stream) {
      story += "; at " + std::to_string(added.at) + ": " + std::to_string(added.event.m_SrcIp) +
               " " + Times(added.event);
    }
    return story;
  }
};

// All streams of up to five events, each added in the second that it was seen in: two sources at
// three seconds in any order, so that events repeat, push each other out, grow old, and go back in
// time.
//
// 1 + 6 + 36 + 216 + 1,296 + 7,776 = 9,331 streams, 3 capacities, 3 windows: 83,979 cases.
TEST_F(MergeModelTest, EveryShortStreamMergesAsTheModelDoes) {
  Stream letters;
  for (std::uint32_t second = 10; second <= 12; ++second) {
    for (const std::uint32_t source : {0u, 1u}) letters.push_back({Letter(second, source), second});
  }
  ExpectSameRowsInEveryJournal(EveryStream(letters, 5));
  EXPECT_EQ(cases_, 83979);
}

// All streams of up to three such events with a clock that is anywhere: behind the events, with
// them or ahead of them, up to where the longest window has passed, in any order as well.
//
// 1 + 24 + 576 + 13,824 = 14,425 streams, 3 capacities, 3 windows: 129,825 cases.
TEST_F(MergeModelTest, EveryShortStreamMergesAsTheModelDoesAtAnyClock) {
  Stream letters;
  for (std::uint32_t second = 10; second <= 12; ++second) {
    for (const std::uint32_t source : {0u, 1u}) {
      for (std::uint32_t at = 10; at <= 13; ++at) letters.push_back({Letter(second, source), at});
    }
  }
  ExpectSameRowsInEveryJournal(EveryStream(letters, 3));
  EXPECT_EQ(cases_, 129825);
}

// Mostly forwards, sometimes back; added up to some seconds later.
Stream RandomStream(Random& random) {
  Stream stream;
  std::uint32_t now = 1000;
  for (int i = 0; i < 300; ++i) {
    now = random.OneIn(50) ? now - random.Below(5) : now + random.Below(3);
    Event event = EventAt(now).First(now - random.Below(4)).Src(random.Below(12));
    event.Count(random.Bits()).Size(random.Below(1500));
    stream.push_back({event, now + (random.OneIn(3) ? random.Below(8) : 0)});
  }
  return stream;
}

TEST_F(MergeModelTest, LongRandomStreamsMergeAsTheModelDoes) {
  const std::uint32_t seed = Seed();
  SCOPED_TRACE(SeedText(seed));
  Random random(seed);
  for (int round = 0; round < 300 && !HasFatalFailure(); ++round) {
    ExpectSameRows(RandomStream(random), static_cast<int>(1 + random.Below(12)),
                   static_cast<int>(random.Below(40)));
  }
  EXPECT_EQ(cases_, 300);
}

}  // namespace
}  // namespace packetdb::test
