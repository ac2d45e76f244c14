#include "host/sources/merged_captures.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "tests/host/sources/capture_writer.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

struct Moment {
  std::uint32_t second;  // behind kSecond
  std::uint32_t nanoseconds;
};

class MergedCapturesTest : public testing::Test {
 protected:
  // A capture named `name`, whose events bear that name as their interface.
  void Add(const std::string& name, const std::vector<Moment>& moments, bool damaged = false) {
    PcapFile file(kLinkRaw, Order::kNative, true);
    for (const Moment& moment : moments) {
      file.Packet(kSecond + moment.second, moment.nanoseconds, Udp());
    }
    if (damaged) file.LyingPacket(9, {});
    Open(name, dir_.File(name, file.bytes()));
  }

  void Open(const std::string& name, const std::string& path) {
    CaptureOptions options;
    options.interfaces.default_name = name;
    readers_.emplace_back(path, options);
  }

  MergedCaptures Merge() { return MergedCaptures(std::move(readers_)); }

  static std::vector<std::string> All(MergedCaptures& merged) {
    std::vector<std::string> events;
    while (const auto event = merged.Next()) {
      events.push_back(event->interface + std::to_string(event->time - kSecond));
    }
    return events;
  }

  TempDir dir_;
  std::vector<CaptureReader> readers_;
};

TEST_F(MergedCapturesTest, NoFilesGiveNothing) {
  MergedCaptures merged = Merge();
  EXPECT_FALSE(merged.Next());
}

TEST_F(MergedCapturesTest, DeliversOldestFirst) {
  Add("a", {{1, 0}, {4, 0}, {5, 0}});
  Add("b", {{2, 0}, {3, 0}, {6, 0}});
  Add("c", {});
  MergedCaptures merged = Merge();
  EXPECT_THAT(All(merged), ElementsAre("a1", "b2", "b3", "a4", "a5", "b6"));
  EXPECT_EQ(merged.counters().packets(), 6U);
  EXPECT_EQ(merged.counters().events(), 6U);
}

TEST_F(MergedCapturesTest, NanosecondsDecideWithinASecond) {
  Add("a", {{1, 500}, {1, 700}});
  Add("b", {{1, 499}, {1, 600}});
  MergedCaptures merged = Merge();
  EXPECT_THAT(All(merged), ElementsAre("b1", "a1", "b1", "a1"));
}

TEST_F(MergedCapturesTest, TiesGoInTheOrderOfTheFiles) {
  Add("b", {{1, 0}, {1, 0}});
  Add("a", {{1, 0}, {1, 0}});
  Add("c", {{1, 0}});
  MergedCaptures merged = Merge();
  EXPECT_THAT(All(merged), ElementsAre("b1", "b1", "a1", "a1", "c1"));
}

TEST_F(MergedCapturesTest, AFileKeepsItsOwnOrder) {
  Add("a", {{5, 0}, {1, 0}, {6, 0}});
  Add("b", {{2, 0}, {7, 0}});
  MergedCaptures merged = Merge();
  EXPECT_THAT(All(merged), ElementsAre("b2", "a5", "a1", "a6", "b7"));
}

TEST_F(MergedCapturesTest, AFileThatFailsDropsOutAndIsReported) {
  Add("a", {{1, 0}}, true);
  Open("m", dir_.Path("missing"));
  Add("b", {{0, 0}, {2, 0}});
  MergedCaptures merged = Merge();
  EXPECT_THAT(All(merged), ElementsAre("b0", "a1", "b2"));
  const std::vector<CaptureFailure> failures = merged.failures();
  ASSERT_EQ(failures.size(), 2U);
  EXPECT_EQ(failures[0].error, CaptureError::kDamaged);
  EXPECT_EQ(failures[1].error, CaptureError::kCannotOpen);
}

}  // namespace
}  // namespace packetdb::host::test
