// Every system call fails once, and from then on, one after the other: whatever was acknowledged is
// there afterwards, and nothing else is left behind.
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <limits>

#include "host/record_file/descriptor.h"
#include "host/record_file/inode_mark.h"
#include "host/record_file/settings.h"
#include "tests/host/record_file/calls.h"
#include "tests/host/record_file/geometries.h"
#include "tests/host/record_file/system_log.h"

namespace packetdb::host {
namespace {

using testing::AnyOf;
using testing::ElementsAre;

// A file, and what is known of it.
struct World {
  Disk disk;
  CDbFile file;
  std::string path = disk.folder() + "/journal";
  unsigned long capacity = 5;
  std::vector<std::uint64_t> sure;   // acknowledged, and still live
  std::vector<std::uint64_t> other;  // what may be there instead, when an operation failed

  // Opens it and appends two records.
  void Run(int mode, unsigned long max_records) {
    if (Open(file, path, mode, max_records) < 0) return;
    for (std::uint64_t value = 101; value <= 102; ++value) {
      other = sure;
      Push(value, &other);
      if (Append(file, value) < 0) return;
      sure = other;
    }
    other = sure;
    other.back() = 202;
    const auto ticket = static_cast<int>(tickets_before + 1);
    if (Overwrite(file, ticket, 202) < 0) return;
    sure = other;
  }

  void Push(std::uint64_t value, std::vector<std::uint64_t>* values) const {
    values->push_back(value);
    if (values->size() > capacity) values->erase(values->begin());
  }

  std::uint64_t tickets_before = 0;
  // Of the file that its writer left, if the kernel still knows it.
  InodeMark mark = InodeMark::kNone;
};

struct Scenario {
  const char* name;
  void (*prepare)(World&);
  void (*run)(World&);
};

void MakeClosed(World& world) {
  std::filesystem::rename(MakeJournal(world.disk, 7, world.capacity), world.path);
  world.sure = {3, 4, 5, 6, 7};
  world.tickets_before = 7;
}

// As its writer would have left it if it had been killed in the middle of an overwrite.
void MakeKilled(World& world) {
  MakeClosed(world);
  CDbFile writer;
  ASSERT_EQ(Open(writer, world.path, kModeWrite, 5), kRecordFileOk);
  ASSERT_EQ(Overwrite(writer, 6, 70), kRecordFileOk);
  const std::string copy = world.disk.NewPath();
  CopyAsKilled(world.path, copy);
  writer.Done();
  std::filesystem::rename(copy, world.path);
  std::filesystem::permissions(world.path, std::filesystem::perms(0640));
  DamageRecord(world.path, 6);
  world.sure.back() = 70;
  world.mark = InodeMark::kOpen;
}

void MakeKilledAfterAFlush(World& world) {
  MakeKilled(world);
  world.mark = InodeMark::kOpenOnDisk;
}

void MakeOfOtherBoot(World& world) {
  MakeKilled(world);
  MoveToOtherBoot(world.path);
}

// A record that was never flushed is lost.
void MakeWithLoss(World& world) {
  MakeOfOtherBoot(world);
  Bytes bytes = ReadBytes(world.path);
  StatePage state = StateOf(bytes);
  state.synced = 5;
  PutState(state, &bytes);
  WriteBytes(world.path, bytes);
  DamageRecord(world.path, 5);
  world.sure = {3, 4, 5, 70};
  world.capacity = 4;
}

void MakeFailed(World& world) {
  MakeKilled(world);
  Bytes bytes = ReadBytes(world.path);
  StatePage state = StateOf(bytes);
  state.state = kFailed;
  PutState(state, &bytes);
  WriteBytes(world.path, bytes);
}

void MakeWithOneSuperblock(World& world) {
  MakeClosed(world);
  FlipByte(world.path, 100);
}

// Known to have a hole, so that all of it is looked at.
void MakeWithHole(World& world) {
  MakeClosed(world);
  DamageRecord(world.path, 3);
  const ThoroughOpening thorough;
  CDbFile writer;
  ASSERT_EQ(Open(writer, world.path, kModeWrite, 5), kRecordFileOk);
  world.sure = {3, 5, 6, 7};
  world.capacity = 4;
}

void MakeWithLeftover(World& world) {
  MakeClosed(world);
  WriteBytes(world.path + ".~new", Bytes(100, 'x'));
}

void MakeWithTornRedo(World& world) {
  MakeKilled(world);
  FlipByte(world.path, OffsetOf(GeometryOfFile(world.path), 6) + 5);
  FlipByte(world.path, kRedoOffset + 3);
}

void MakeConverted(World& world) {
  MakeClosed(world);
  std::filesystem::rename(world.path, world.path + ".~tmp");
}

// One append from its end.
void MakeFull(World& world) {
  world.capacity = kNoBound;
  const std::uint64_t slots = GeometryOf(kTestRecordSize, 0).slot_count;
  std::filesystem::rename(MakeJournal(world.disk, slots - 1, kNoBound), world.path);
  for (std::uint64_t value = 1; value < slots; ++value) world.sure.push_back(value);
  world.tickets_before = slots - 1;
}

void MakeNothing(World&) {}

void OpenToWrite(World& world) { world.Run(kModeWrite, world.capacity); }
void OpenOrCreateIt(World& world) { world.Run(kModeMissing, world.capacity); }

void Shrink(World& world) { world.Run(kModeWrite, 4); }

// What shrinking drops may be there or not.
void MakeToShrink(World& world) {
  MakeClosed(world);
  world.capacity = 4;
  world.sure = {4, 5, 6, 7};
}

void ReadAll(World& world) {
  if (Open(world.file, world.path, kModeRead, 5) < 0) return;
  TestRecord record;
  for (int i = 0; i < world.file.RecordCount(); ++i) {
    if (world.file.ReadRecord(i, record.data()) == kRecordFileOk) ValueOf(record);
  }
}

constexpr Scenario kScenarios[] = {
    {"Create", MakeNothing, OpenOrCreateIt},
    {"Write", MakeClosed, OpenToWrite},
    {"Read", MakeClosed, ReadAll},
    {"ReadAfterKill", MakeKilled, ReadAll},
    {"ReadAfterBoot", MakeOfOtherBoot, ReadAll},
    {"WriteAfterKill", MakeKilled, OpenToWrite},
    {"WriteAfterKillOfAFlushedFile", MakeKilledAfterAFlush, OpenToWrite},
    {"WriteAfterBoot", MakeOfOtherBoot, OpenToWrite},
    {"WriteAfterFailure", MakeFailed, OpenToWrite},
    {"RestoreSuperblock", MakeWithOneSuperblock, OpenToWrite},
    {"ClearRedo", MakeWithTornRedo, OpenToWrite},
    {"Shrink", MakeToShrink, Shrink},
    {"WriteWithHole", MakeWithHole, [](World& world) { world.Run(kModeWrite, 5); }},
    {"WriteAfterLoss", MakeWithLoss, [](World& world) { world.Run(kModeWrite, 5); }},
    {"WriteBesideLeftover", MakeWithLeftover, OpenToWrite},
    {"Adopt", MakeConverted, OpenOrCreateIt},
    {"Grow", MakeFull, OpenToWrite},
};

enum class Times { kOnce, kFromThenOn };

// The tests wait for no disk.
std::optional<Instead> PretendToFlush(const Made& made) {
  const bool is_flush = made.call == Call::kFsync || made.call == Call::kFdatasync;
  return is_flush ? std::optional(Instead{0, 0}) : std::nullopt;
}

class FailingCalls : public testing::TestWithParam<std::tuple<Scenario, Way, Times>> {
 protected:
  FailingCalls() {
    const Interposition interposition(PretendToFlush);
    std::get<Scenario>(GetParam()).prepare(made_);
    RecordFileSettings settings;
    settings.by_calls = std::get<Way>(GetParam()) == Way::kByCalls;
    settings.sync.mode = SyncMode::kEach;
    SetRecordFileSettings(settings);
  }
  ~FailingCalls() override { SetRecordFileSettings({}); }

  // Makes `world` what was prepared.
  void CopyTo(World& world) const {
    for (const std::string& name : made_.disk.Names()) {
      std::filesystem::copy(made_.disk.folder() + "/" + name, world.disk.folder() + "/" + name);
    }
    world.capacity = made_.capacity;
    world.sure = world.other = made_.sure;
    world.tickets_before = made_.tickets_before;
    if (made_.mark != InodeMark::kNone) {
      MarkInode(OpenDescriptor(world.path, O_RDONLY).get(), made_.mark);
    }
  }

  // Runs the scenario with the `nth` call failing, if there are so many, and returns how many calls
  // there were. `failed` gets the name of that one.
  static int Run(int nth, World& world, std::string* failed) {
    const auto times = std::get<Times>(GetParam());
    int count = 0;
    const Interposition interposition([&](const Made& made) -> std::optional<Instead> {
      ++count;
      if (count == nth) *failed = NameOf(made.call);
      const bool fails = times == Times::kOnce ? count == nth : count >= nth;
      return fails ? std::optional(Instead{-1, EIO}) : PretendToFlush(made);
    });
    std::get<Scenario>(GetParam()).run(world);
    world.file.Done();
    return count;
  }

  int CountCalls() const {
    World world;
    CopyTo(world);
    std::string failed;
    return Run(std::numeric_limits<int>::max(), world, &failed);
  }

  // A recovery that looks at every slot by calls makes thousands that are all alike.
  static int NextAfter(int nth, int calls) {
    constexpr int kEdge = 150;
    constexpr int kStride = 211;
    return nth < kEdge || nth > calls - kEdge ? nth + 1
                                              : std::min(nth + kStride, calls - kEdge + 1);
  }

  // What a smaller file would have kept, when it was not made smaller.
  static std::vector<std::uint64_t> Newest(std::vector<std::uint64_t> values, std::size_t count) {
    if (values.size() > count)
      values.erase(values.begin(), values.end() - static_cast<long>(count));
    return values;
  }

  static void Verify(World& world) {
    const Interposition interposition(PretendToFlush);
    ASSERT_EQ(Open(world.file, world.path, kModeMissing, world.capacity), kRecordFileOk);
    EXPECT_THAT(Newest(Values(world.file), world.capacity), AnyOf(world.sure, world.other));
    world.file.Done();
    EXPECT_THAT(world.disk.Names(), ElementsAre("journal"));
  }

  World made_;
};

INSTANTIATE_TEST_SUITE_P(
    All, FailingCalls,
    testing::Combine(testing::ValuesIn(kScenarios), testing::Values(Way::kMapped, Way::kByCalls),
                     testing::Values(Times::kOnce, Times::kFromThenOn)),
    [](const auto& instance) {
      return std::string(std::get<Scenario>(instance.param).name) +
             (std::get<Way>(instance.param) == Way::kMapped ? "Mapped" : "ByCalls") +
             (std::get<Times>(instance.param) == Times::kOnce ? "Once" : "FromThenOn");
    });

TEST_P(FailingCalls, LoseNothingThatWasAcknowledged) {
  const int calls = CountCalls();
  ASSERT_GT(calls, 5) << "there are calls that can fail";
  for (int nth = 1; nth <= calls && !HasFailure(); nth = NextAfter(nth, calls)) {
    World world;
    CopyTo(world);
    std::string failed = "none";
    Run(nth, world, &failed);
    SCOPED_TRACE("call " + std::to_string(nth) + " of " + std::to_string(calls) + ", " + failed);
    Verify(world);
  }
}

}  // namespace
}  // namespace packetdb::host
