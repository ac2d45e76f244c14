// What a change that was refused leaves behind, where files are changed by calls.
#include <cerrno>
#include <gmock/gmock.h>

#include "host/record_file/settings.h"
#include "tests/host/record_file/calls.h"
#include "tests/host/record_file/checked.h"
#include "tests/host/record_file/geometries.h"
#include "tests/host/record_file/system_log.h"

namespace packetdb::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RefusedChanges : public testing::Test {
 protected:
  RefusedChanges() {
    RecordFileSettings settings;
    settings.by_calls = true;
    settings.sync.mode = SyncMode::kNever;
    SetRecordFileSettings(settings);
  }
  ~RefusedChanges() override { SetRecordFileSettings({}); }

  int AppendWith(Hook hook, std::uint64_t value) {
    const Interposition interposition(std::move(hook));
    return Append(file_, value);
  }

  Disk disk_;
  CDbFile file_;
  std::string path_ = MakeJournal(disk_, 3);
};

TEST_F(RefusedChanges, AnAppendIsNotThereAfterwards) {
  std::uint64_t value = 4;
  for (const int failing : {1, 2}) {  // the frame, and the word that commits it
    ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
    ASSERT_GE(Append(file_, value), 0);
    EXPECT_EQ(AppendWith(FailNth(Call::kPwrite, failing, ENOSPC), 99), kNoSpace);
    file_.Done();
    EXPECT_THAT(Reopen(path_).values, ElementsAre(value - 2, value - 1, value));
    EXPECT_THAT(FindingsIn(path_), IsEmpty());
    ++value;
  }
}

TEST_F(RefusedChanges, AnAppendThatCannotBeTakenBackLeavesTheFileOpen) {
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  ASSERT_GE(Append(file_, 4), 0);
  TakeLogged();
  {
    const Interposition interposition(FailFrom(Call::kPwrite, 2, ENOSPC));
    EXPECT_EQ(Append(file_, 5), kNoSpace);
    file_.Done();
  }
  EXPECT_THAT(TakeLogged(), ElementsAre(HasSubstr("could not be completed or undone")));
  EXPECT_EQ(StateOf(ReadBytes(path_)).state, kOpen);
  EXPECT_THAT(Reopen(path_).values, ElementsAre(3, 4, 5)) << "as if it had died in the middle";
}

// So long after it that its slot holds a newer record.
TEST_F(RefusedChanges, AnOverwriteIsNotCompletedWhereAnotherRecordIs) {
  ASSERT_EQ(Open(file_, path_, kModeWrite), kRecordFileOk);
  const int refused = Append(file_, 4);
  {
    const Interposition interposition(FailNth(Call::kPwrite, 2, EIO));
    EXPECT_EQ(Overwrite(file_, refused, 40), kSystemError);
  }
  const std::uint64_t slots = GeometryOfFile(path_).slot_count;
  int newest = refused;
  for (std::uint64_t i = 1; i <= slots; ++i) newest = Append(file_, 100 + i);
  EXPECT_EQ(Overwrite(file_, newest - 1, 7), kRecordFileOk);
  EXPECT_THAT(Values(file_), ElementsAre(100 + slots - 2, 7, 100 + slots));
}

}  // namespace
}  // namespace packetdb::host
