// Captures that nobody thought of, against the naive model.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <ostream>
#include <random>

#include "tests/host/cli/import_fixture.h"

namespace packetdb::host::test {
namespace {

constexpr int kSeeds = 12;  // per window and capacity

class Dice {
 public:
  explicit Dice(unsigned int seed) : engine_(seed) {}
  std::uint32_t Throw(std::uint32_t sides) { return static_cast<std::uint32_t>(engine_()) % sides; }

 private:
  std::mt19937 engine_;
};

// Mostly forward in time, in steps that often meet the window's edge; now and then back.
Packets RandomCapture(Dice& dice, std::uint32_t window) {
  Packets packets(dice.Throw(50));
  std::uint32_t second = 1000 + dice.Throw(100);
  for (Packet& packet : packets) {
    const std::uint32_t kind = dice.Throw(10);
    if (kind == 0) second += window;
    if (kind == 1) second -= dice.Throw(90);
    if (kind > 6) second += dice.Throw(window / 4 + 2);
    packet = {.second = second,
              .microsecond = dice.Throw(3),
              .port = static_cast<std::uint16_t>(1 + dice.Throw(3)),
              .interface = 1 + dice.Throw(2),
              .dropped = dice.Throw(2) == 0,
              .data = static_cast<std::uint16_t>(dice.Throw(20))};
  }
  return packets;
}

struct World {
  std::uint32_t window;
  int capacity;
};

void PrintTo(const World& world, std::ostream* out) {
  *out << "window " << world.window << ", capacity " << world.capacity;
}

class RandomImports : public Importing, public testing::WithParamInterface<World> {
 protected:
  void ImportAndCompare(Dice& dice, ModelJournal& model) {
    std::vector<Packets> captures(1 + dice.Throw(3));
    for (Packets& capture : captures) capture = RandomCapture(dice, GetParam().window);
    const ImportResult result = Import(captures);
    model.Import(InOrderOfTime(captures));
    EXPECT_EQ(result.exit_code, kExitOk);
    EXPECT_EQ(result.errors, "");
    ExpectSameRecords(Records(), model.Records());
    const std::string moved =
        fmt::format("\n  {:>10}  older than the newest event before", model.moved());
    EXPECT_EQ(result.output.find(moved) != std::string::npos, model.moved() != 0) << result.output;
  }
};

TEST_P(RandomImports, GiveTheRecordsOfTheModel) {
  options_.group.window_seconds = GetParam().window;
  options_.group.capacity = GetParam().capacity;
  std::size_t compared = 0;
  for (unsigned int seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE(fmt::format("seed {}", seed));
    options_.group.group = fmt::format("seed{}", seed);
    Dice dice(seed);
    ModelJournal model(GetParam().window, static_cast<std::size_t>(GetParam().capacity));
    for (int import = 0; import < 3 && !HasFailure(); ++import) ImportAndCompare(dice, model);
    compared += model.Records().size();
  }
  EXPECT_GT(compared, std::size_t{kSeeds});
}

INSTANTIATE_TEST_SUITE_P(Worlds, RandomImports,
                         testing::Values(World{0, 1000}, World{1, 1000}, World{60, 1000},
                                         World{60, 7}, World{1, 3}));

}  // namespace
}  // namespace packetdb::host::test
