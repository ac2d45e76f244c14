// Pages beyond what a new file is filled with are there before the writer is.
#include "host/record_file/prefault.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "host/record_file/create.h"
#include "tests/host/record_file/geometries.h"

namespace packetdb::host {
namespace {

// A file that nothing was written to, one page longer than what is filled with zeros.
class PrefaultTest : public testing::Test {
 protected:
  PrefaultTest() {
    geometry_.slot_count = (kZerosAtMost + kPageSize) / kCellSize;
    geometry_.capacity = geometry_.slot_count - kMinSlack;
    WriteBytes(path_, {});
    std::filesystem::resize_file(path_, FileLength(geometry_));
  }

  Descriptor OpenFor(int flags) { return Descriptor(open(path_.c_str(), flags | O_CLOEXEC)); }
  // Bytes of it that the disk has.
  std::uint64_t Present() const {
    struct stat status = {};
    EXPECT_EQ(stat(path_.c_str(), &status), 0);
    return static_cast<std::uint64_t>(status.st_blocks) * 512;
  }

  Disk disk_;
  std::string path_ = disk_.NewPath();
  Geometry geometry_ = GeometryOf(kMaxRecordSize, 1);
  std::uint64_t near_the_end_ = kZerosAtMost / kCellSize - 10;
};

TEST_F(PrefaultTest, MakesReadyWhatLiesAheadOfTheWriter) {
  const Descriptor file = OpenFor(O_RDWR);
  Prefault prefault(file, geometry_);
  prefault.Advance(0);
  EXPECT_EQ(Present(), 0U) << "filled with zeros by others";
  prefault.Advance(near_the_end_);
  const std::uint64_t present = Present();
  EXPECT_GE(present, kPageSize);
  EXPECT_LT(present, 64 * kPageSize) << "and nothing else";
  prefault.Advance(near_the_end_ + 1);
  EXPECT_EQ(Present(), present) << "once";
}

TEST_F(PrefaultTest, HasNothingToDoAfterTheFirstLap) {
  const Descriptor file = OpenFor(O_RDWR);
  Prefault prefault(file, geometry_);
  prefault.Advance(near_the_end_ + geometry_.slot_count);
  EXPECT_EQ(Present(), 0U);
}

TEST_F(PrefaultTest, HasNothingToDoWithoutABoundOrWithoutAFile) {
  const Descriptor file = OpenFor(O_RDWR);
  geometry_.capacity = 0;
  Prefault prefault(file, geometry_);
  prefault.Advance(near_the_end_);
  Prefault().Advance(near_the_end_);
  EXPECT_EQ(Present(), 0U);
}

TEST_F(PrefaultTest, MayFail) {
  const Descriptor file = OpenFor(O_RDONLY);
  Prefault prefault(file, geometry_);
  prefault.Advance(near_the_end_);
  EXPECT_EQ(Present(), 0U);
}

}  // namespace
}  // namespace packetdb::host
