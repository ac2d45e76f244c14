// Processes read all the time what another one appends and overwrites at full speed. None of them
// may get a record that was never written, give up, or find damage; all that a reader may meet is
// that a record has been overwritten by a newer one.
#include <algorithm>
#include <chrono>
#include <fmt/format.h>
#include <memory>
#include <thread>
#include <vector>

#include "host/record_file/result.h"
#include "platform/record_file.h"
#include "tests/faults/integrity/side_by_side.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

struct Options {
  Load load;
  int seconds = 5;
  int readers = 1;
};

enum Counter : std::size_t {
  kStop,
  kWrites,
  kRead,      // records, each verified
  kOpenings,  // of the file by readers
  kGone,      // overwritten before they were read
  kWrong,     // no record of this file, or not the one of its position
  kDamaged,   // refused as damaged, or otherwise
  kCounters,
};

class Reader {
 public:
  Reader(const Load& load, const SharedCounters& counters)
      : load_(load), counters_(counters), known_(load.recipe.capacity) {}

  void Run() {
    while (counters_[kStop] == 0) {
      CDbFile file;
      const int result = file.Init(load_.path, load_.recipe.magic.c_str(), load_.recipe.record_size,
                                   load_.recipe.MaxRecords(), 0);
      if (result < 0) Note(kDamaged, fmt::format("opening: {}", result));
      ++counters_[kOpenings];
      for (int pass = 0; pass < kPasses && counters_[kStop] == 0; ++pass) ReadThrough(file);
    }
  }

 private:
  static constexpr int kPasses = 50;
  static constexpr int kAtOnce = 256;

  void ReadThrough(CDbFile& file) {
    const int count = file.RecordCount();
    base_known_ = false;
    records_.resize(kAtOnce * load_.recipe.record_size);
    for (int position = 0; position < count && counters_[kStop] == 0;) {
      const int wanted = std::min(kAtOnce, count - position);
      const int got = file.ReadRecords(position, records_.data(), wanted);
      if (got > 0) Judge(position, got);
      if (got <= 0) Refused(got);
      position += std::max(got, 1);
    }
  }

  void Judge(int position, int got) {
    const std::uint64_t size = load_.recipe.record_size;
    for (int i = 0; i < got; ++i) {
      const std::byte* const record = records_.data() + static_cast<std::size_t>(i) * size;
      const auto identity = IdentityOf(record, size);
      if (!identity) {
        Note(kWrong, "no record of this file");
        continue;
      }
      const std::uint64_t base = identity->sequence - static_cast<std::uint64_t>(position + i);
      if (base_known_ && base != base_) Note(kWrong, "the record of another position");
      base_ = base;
      base_known_ = true;
      JudgeVersion(*identity);
    }
    counters_[kRead] += static_cast<std::uint64_t>(got);
  }

  // A record never goes back to what it was before.
  void JudgeVersion(const Identity& identity) {
    Identity& known = known_[identity.sequence % known_.size()];
    if (known.sequence == identity.sequence && known.version > identity.version) {
      Note(kWrong, "an earlier version of a record");
    }
    known = identity;
  }

  void Refused(int result) {
    if (result == host::kRecordGone) {
      ++counters_[kGone];
    } else {
      Note(kDamaged, fmt::format("result {}", result));
    }
  }

  void Note(Counter counter, const std::string& what) {
    if (++counters_[counter] <= 5) fmt::print("violation: {}\n", what);
  }

  const Load& load_;
  const SharedCounters& counters_;
  std::vector<Identity> known_;  // as they were read last
  std::vector<std::byte> records_;
  bool base_known_ = false;
  std::uint64_t base_ = 0;  // sequence number of position 0
};

Outcome Watch(const Common& common, Options options) {
  options.load.path = common.directory + "/journal";
  const SharedCounters counters(kCounters);
  Children children;
  children.Start([&] { RunWriter(options.load, counters[kStop], counters[kWrites]); });
  WaitUntilPositive(counters[kWrites]);
  for (int i = 0; i < options.readers; ++i) {
    children.Start([&] {
      SetWay(options.load.by_calls);
      Reader(options.load, counters).Run();
    });
  }
  WaitUntilPositive(counters[kRead]);
  std::this_thread::sleep_for(std::chrono::seconds(options.seconds));
  counters[kStop] = 1;
  const int failed = children.Wait();
  const auto seconds = static_cast<double>(options.seconds);
  const auto per_second = [&](Counter counter) {
    return static_cast<double>(counters[counter]) / seconds;
  };
  return {counters[kWrong] + counters[kDamaged] + static_cast<std::uint64_t>(failed),
          fmt::format("{} reader(s) for {} s: {:.0f} verified records/s beside {:.0f} writes/s, "
                      "{} wrong, {} damaged or given up, {} gone, {} openings",
                      options.readers, options.seconds, per_second(kRead), per_second(kWrites),
                      counters[kWrong].load(), counters[kDamaged].load(), counters[kGone].load(),
                      counters[kOpenings].load())};
}

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--seconds", options->seconds)->capture_default_str();
  app.add_option("--readers", options->readers)->capture_default_str();
  app.add_option("--record-size", options->load.recipe.record_size)->capture_default_str();
  app.add_option("--capacity", options->load.recipe.capacity)
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_flag("--by-calls", options->load.by_calls, "without mapping the file");
  app.add_flag("--reopen", options->load.reopens, "the writer closes the file now and then");
  return [options](const Common& common) { return Watch(common, *options); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Reads a record file that is written at full speed",
                               packetdb::faults::AddOptions);
}
