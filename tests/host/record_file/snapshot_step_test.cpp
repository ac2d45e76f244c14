// A snapshot between the steps of a writer: every read of the snapshot's is taken apart into words,
// and the writer moves on between any two of them as a table of stores says.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <random>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "host/record_file/frame.h"
#include "host/record_file/open.h"
#include "host/record_file/settings.h"
#include "host/record_file/snapshot.h"
#include "tests/host/record_file/journal.h"

namespace {

std::function<void()> g_before_each_word;

}  // namespace

// The snapshot's reads come here instead of to libc.
extern "C" ssize_t pread(int fd, void* bytes, size_t size, off_t offset) {
  if (!g_before_each_word) return syscall(SYS_pread64, fd, bytes, size, offset);
  constexpr std::size_t kWord = 8;
  std::size_t done = 0;
  while (done < size) {
    g_before_each_word();
    const std::size_t part = std::min(kWord, size - done);
    const long got = syscall(SYS_pread64, fd, static_cast<char*>(bytes) + done, part,
                             offset + static_cast<off_t>(done));
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

namespace packetdb::host {
namespace {

struct Store {
  std::uint64_t offset;
  std::uint64_t value;
};

// The stores of a writer in the order in which it makes them.
class Script {
 public:
  explicit Script(const Geometry& geometry) : geometry_(geometry) {}

  void Append(std::uint64_t sequence, std::uint64_t value) {
    PutFrame(OffsetOf(geometry_, sequence), sequence, value);
    stores_.push_back({kNextOffset, sequence + 1});
  }
  void Overwrite(std::uint64_t sequence, std::uint64_t value) {
    PutFrame(kRedoOffset, sequence, value);
    PutFrame(OffsetOf(geometry_, sequence), sequence, value);
    stores_.push_back({kMergesOffset, ++merges_});
  }
  const std::vector<Store>& stores() const { return stores_; }

 private:
  void PutFrame(std::uint64_t offset, std::uint64_t sequence, std::uint64_t value) {
    FrameBuffer frame;
    SealFrame(geometry_, MakeTestRecord(value).data(), sequence, frame.data());
    for (std::uint64_t at = 0; at < geometry_.frame_size; at += sizeof(std::uint64_t)) {
      std::uint64_t word = 0;
      std::memcpy(&word, frame.data() + at, sizeof word);
      stores_.push_back({offset + at, word});
    }
  }

  const Geometry& geometry_;
  std::vector<Store> stores_;
  std::uint64_t merges_ = 0;
};

class SnapshotSteps : public testing::Test {
 protected:
  SnapshotSteps()
      : path_(MakeJournal(disk_, 4)), sound_(ReadBytes(path_)), writing_(Opened(O_WRONLY)) {
    FileFacts facts;
    EXPECT_EQ(Inspect(Opened(O_RDONLY), &facts), kRecordFileOk);
    geometry_ = facts.geometry;
    RecordFileSettings settings = before_;
    settings.by_calls = true;  // each read is a call, and can be taken apart
    SetRecordFileSettings(settings);
  }
  ~SnapshotSteps() override {
    g_before_each_word = nullptr;
    SetRecordFileSettings(before_);
  }

  // The value of a record of the file as it was, or kGoneValue; `before` is done at once after the
  // snapshot began, then `stores_between` is asked before each word that is read how many stores of
  // the script come first.
  std::uint64_t Read(std::uint64_t sequence, const Script& script,
                     const std::function<int()>& stores_between,
                     const std::vector<Store>& before = {}) {
    EXPECT_EQ(pwrite(writing_.get(), sound_.data(), sound_.size(), 0), std::ssize(sound_));
    const Descriptor reading = Opened(O_RDONLY);
    Snapshot snapshot(reading);
    EXPECT_EQ(snapshot.Begin(), kRecordFileOk);
    for (const Store& store : before) Put(store);
    std::size_t done = 0;
    g_before_each_word = [&] {
      for (int i = stores_between(); i > 0 && done < script.stores().size(); --i) {
        Put(script.stores()[done++]);
      }
    };
    SnapshotRecord record;
    EXPECT_EQ(snapshot.Read(sequence, &record), kRecordFileOk);
    g_before_each_word = nullptr;
    return Shown(record);
  }

  static constexpr std::uint64_t kGoneValue = 0;
  static constexpr std::uint64_t kDamagedValue = ~std::uint64_t{0} - 1;

  Geometry geometry_;

 private:
  Descriptor Opened(int flags) const { return Descriptor(open(path_.c_str(), flags | O_CLOEXEC)); }

  void Put(const Store& store) const {
    EXPECT_EQ(pwrite(writing_.get(), &store.value, 8, static_cast<off_t>(store.offset)), 8);
  }

  static std::uint64_t Shown(const SnapshotRecord& record) {
    if (record.fate == RecordFate::kGone) return kGoneValue;
    if (record.fate != RecordFate::kWhole) return kDamagedValue;
    TestRecord content;
    std::memcpy(content.data(), record.bytes, sizeof content);
    return ValueOf(content);
  }

  const RecordFileSettings before_ = GetRecordFileSettings();
  Disk disk_;
  std::string path_;
  Bytes sound_;  // records 1, 2, 3 of values 2, 3, 4 are live
  Descriptor writing_;
};

// `count` stores at once before the first word that is read, and none after.
std::function<int()> AtOnce(std::size_t count) {
  return [left = static_cast<int>(count)]() mutable { return std::exchange(left, 0); };
}

TEST_F(SnapshotSteps, AnOverwriteThatRestsAnywhereShowsTheOldOrTheNewRecord) {
  Script script(geometry_);
  script.Overwrite(2, 103);
  for (std::size_t count = 0; count <= script.stores().size(); ++count) {
    const std::uint64_t value = Read(2, script, AtOnce(count));
    ASSERT_EQ(value, count <= 10 ? 3U : 103U) << "after " << count << " stores";
  }
}

TEST_F(SnapshotSteps, AnAppendThatRestsAnywhereShowsTheOldRecordOrThatItIsGone) {
  // The writer has come round to the slot of the record.
  const std::uint64_t next = 1 + geometry_.slot_count;
  Script script(geometry_);
  script.Append(next, 5);
  script.Append(next + 1, 6);
  for (std::size_t count = 0; count <= script.stores().size(); ++count) {
    const std::uint64_t value = Read(1, script, AtOnce(count), {{kNextOffset, next}});
    ASSERT_EQ(value, count == 0 ? 2U : kGoneValue) << "after " << count << " stores";
  }
}

TEST_F(SnapshotSteps, AnOverwriteBeginningAnywhereShowsTheOldOrTheNewRecord) {
  Script script(geometry_);
  script.Overwrite(2, 103);
  for (int begin = 0; begin < 80; ++begin) {
    for (int pace = 1; pace <= 21; ++pace) {
      int words = 0;
      const std::uint64_t value = Read(2, script, [&] { return words++ < begin ? 0 : pace; });
      ASSERT_TRUE(value == 3 || value == 103) << value << " from word " << begin << " at " << pace;
    }
  }
}

TEST_F(SnapshotSteps, OverwritesAtAnyPaceShowARecordThatWasWritten) {
  Script script(geometry_);
  for (std::uint64_t version = 1; version <= 12; ++version) {
    script.Overwrite(2, 3 + 100 * version);
    script.Overwrite(3, 4 + 100 * version);  // through the same redo sector
  }
  std::mt19937 random(7);
  for (int round = 0; round < 1000; ++round) {
    const auto fastest = static_cast<int>(1 + random() % 30);
    const std::uint64_t value = Read(
        2, script, [&] { return static_cast<int>(random() % static_cast<unsigned>(fastest)); });
    ASSERT_EQ(value % 100, 3U) << value << " in round " << round;
    ASSERT_LE(value, 1203U);
  }
}

TEST_F(SnapshotSteps, AppendsAtAnyPaceShowTheRecordOrThatItIsGone) {
  const std::uint64_t next = geometry_.slot_count - 1;
  Script script(geometry_);
  for (std::uint64_t i = 0; i < 4; ++i) script.Append(next + i, 5 + i);
  std::mt19937 random(7);
  bool shown = false;
  bool gone = false;
  for (int round = 0; round < 1000; ++round) {
    const auto fastest = static_cast<int>(1 + random() % 12);
    const std::uint64_t value =
        Read(1, script, [&] { return static_cast<int>(random() % static_cast<unsigned>(fastest)); },
             {{kNextOffset, next}});
    ASSERT_TRUE(value == 2 || value == kGoneValue) << value << " in round " << round;
    (value == 2 ? shown : gone) = true;
  }
  EXPECT_TRUE(shown && gone);
}

}  // namespace
}  // namespace packetdb::host
