// Rescuing the records of a file that stops being readable in the middle of it.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/rescue.h"
#include "tests/host/record_file/calls.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

class UnreadableRescue : public testing::Test {
 protected:
  // With every read failing from the `nth` on; counts them.
  RecordFileResult RescueWith(int nth, Rescued* rescued) {
    reads_ = 0;
    const RescueRequest request = {
        .known = {{.magic = kTestMagic, .record_size = kTestRecordSize, .capacity = 0}},
        .record_size = {},
        .seed = {},
        .near = {}};
    const Descriptor file = OpenDescriptor(path_, O_RDONLY);
    const Interposition interposition([&](const Made& made) -> std::optional<Instead> {
      if (made.call != Call::kPread || ++reads_ < nth) return std::nullopt;
      return Instead{-1, EIO};
    });
    return Rescue(file, request, disk_.folder() + "/saved", rescued);
  }

  Disk disk_;
  std::string path_ = MakeJournal(disk_, 3);
  int reads_ = 0;
};

TEST_F(UnreadableRescue, MakesNoFileOfNothing) {
  Rescued whole;
  ASSERT_EQ(RescueWith(1'000'000, &whole), kRecordFileOk);
  ASSERT_EQ(whole.written, 3U);
  ASSERT_EQ(std::filesystem::remove(disk_.folder() + "/saved"), true);
  const auto names = disk_.Names();
  const int reads = reads_;
  for (int nth = 1; nth <= reads; ++nth) {
    Rescued rescued;
    ASSERT_EQ(RescueWith(nth, &rescued), kRecordFileOk) << nth;
    EXPECT_EQ(disk_.Names().size(), names.size() + (rescued.written == 0 ? 0 : 1)) << nth;
    std::filesystem::remove(disk_.folder() + "/saved");
  }
}

}  // namespace
}  // namespace packetdb::host
