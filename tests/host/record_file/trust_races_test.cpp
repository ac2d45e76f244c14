// Somebody gives a foreign file a second name at the path, and takes it away while we look.
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/record_file/trust.h"
#include "tests/host/record_file/calls.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {
namespace {

class TrustRaces : public testing::Test {
 protected:
  TrustRaces() { std::filesystem::permissions(disk_.folder(), std::filesystem::perms(0777)); }

  void Plant() const { std::filesystem::create_hard_link(foreign_, path_); }
  // Older kernels tell times by the tick.
  void TakeAway() const {
    poll(nullptr, 0, 10);
    unlink(path_.c_str());
  }
  RecordFileResult Judge(Hook hook) const {
    const Interposition interposition(std::move(hook));
    return RequireOurs(path_, opened_);
  }

  Disk disk_;
  std::string foreign_ = MakeJournal(disk_, 2);
  std::string path_ = disk_.folder() + "/planted";
  Descriptor opened_ = OpenDescriptor(foreign_, O_RDWR);
};

TEST_F(TrustRaces, ANameThatIsGoneWhenNamesAreCountedIsMissed) {
  Plant();
  EXPECT_EQ(Judge(BeforeNth(Call::kFstat, 1, [this] { TakeAway(); })), kUnsettled);
}

TEST_F(TrustRaces, ANameThatIsThereWhenItIsLookedForAndGoneWhenNamesAreCountedIsNoticed) {
  Plant();
  EXPECT_EQ(Judge([this](const Made& made) -> std::optional<Instead> {
              if (made.call == Call::kFstat) TakeAway();
              if (made.path == path_ && access(path_.c_str(), F_OK) != 0) Plant();
              return std::nullopt;
            }),
            kUnsettled);
}

TEST_F(TrustRaces, AFileThatSomebodyWritesToMeanwhileIsLookedAtAgain) {
  const auto write = [this] { ASSERT_EQ(pwrite(opened_.get(), "x", 1, 4000), 1); };
  path_ = foreign_;
  EXPECT_EQ(Judge(BeforeNth(Call::kFstat, 4, write)), kRecordFileOk);
}

TEST_F(TrustRaces, AFileThatCannotBeExaminedIsNotTrusted) {
  path_ = foreign_;
  for (const int nth : {1, 2, 4}) {  // the third looks at what the path leads to
    EXPECT_EQ(Judge(FailNth(Call::kFstat, nth, EIO)), kSystemError) << nth;
  }
}

}  // namespace
}  // namespace packetdb::host
