// That a random failure can be seen again.
#include "tests/support/seed.h"

#include <gmock/gmock.h>

namespace packetdb::test {
namespace {

class SeedTest : public ::testing::Test {
 protected:
  SeedTest() {
    const char* given = std::getenv(kSeedVariable);
    if (given != nullptr) before_ = given;
    unsetenv(kSeedVariable);
  }
  ~SeedTest() override {
    unsetenv(kSeedVariable);
    if (!before_.empty()) Set(before_);
  }
  static void Set(const std::string& text) { setenv(kSeedVariable, text.c_str(), 1); }

 private:
  std::string before_;  // the seed of this run is none of our business
};

TEST_F(SeedTest, IsTheOneThatTheEnvironmentNames) {
  Set("4294967295");
  EXPECT_EQ(Seed(), 4294967295u);
  EXPECT_EQ(SeedText(Seed()), "PACKETDB_SEED=4294967295");
}

TEST_F(SeedTest, IsAnotherOneInEveryRun) {
  const std::uint32_t first = Seed();
  int tries = 0;
  while (Seed() == first && tries < 10) ++tries;
  EXPECT_LT(tries, 10);
}

TEST_F(SeedTest, RefusesWhatIsNoSeed) {
  for (const char* text : {"", "x", "7x", "-1", "4294967296", " 7"}) {
    Set(text);
    EXPECT_THROW(Seed(), std::runtime_error) << text;
  }
}

TEST_F(SeedTest, OneSeedGivesTheSameNumbers) {
  Random one(7);
  Random other(7);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(one.Below(1000), other.Below(1000));
}

}  // namespace
}  // namespace packetdb::test
