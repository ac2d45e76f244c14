// Who excludes whom: writers each other, until one closes the file or dies, and readers nobody. And
// what readers find while the file is written, killed, opened, resized and made anew.
#include <array>
#include <chrono>
#include <csignal>
#include <fmt/format.h>
#include <list>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "host/record_file/modes.h"
#include "host/record_file/result.h"
#include "host/record_file/settings.h"
#include "platform/record_file.h"
#include "tests/faults/death/child.h"
#include "tests/faults/death/reader.h"
#include "tests/faults/death/traffic.h"
#include "tests/faults/death/violations.h"
#include "tests/faults/death/worker.h"
#include "tests/faults/program.h"
#include "tests/support/seed.h"

namespace packetdb::faults {
namespace {

namespace mode = host::mode;
using std::chrono::milliseconds;

constexpr std::uint64_t kWork = 20000;  // operations that nobody may hold up

struct Options {
  std::uint64_t passes = 1000;
  int readers = 2;
  bool unbounded = false;
  bool written = false;
};

class LocksAndReaders {
 public:
  LocksAndReaders(const Options& options, const Common& common)
      : options_(options),
        random_(static_cast<std::uint32_t>(common.seed)),
        file_({.path = common.directory + "/journal",
               .record_size = 72,
               .capacity = options.unbounded ? kNoBound : 400}) {}

  Outcome Run() {
    // Children are forked while a file is open here.
    host::SetRecordFileSettings(
        {.sync = {.mode = host::SyncMode::kNever}, .by_calls = options_.written});
    Expect(LookAt(file_, mode::kWrite | mode::kCreateAnew).result == 0, "a file can be made");
    TryWriters();
    for (int i = 0; i < options_.readers; ++i) StartReader();
    for (const Habit habit : Habits()) WriteBeside(habit, false);
    for (const Habit habit : Habits()) WriteBeside(habit, true);
    for (const Habit habit : Habits()) WriteBesideStopped(habit);
    for (Child& reader : readers_) Expect(reader.Kill(), "a reader reads on");
    return {.violations = violations_.count() + traffic_.words->wrong + traffic_.words->lost,
            .figures = Figures()};
  }

 private:
  // Resizing would give an unbounded file a bound.
  std::vector<Habit> Habits() const {
    if (options_.unbounded) return {Habit::kMakesAnew, Habit::kReopens, Habit::kStays};
    return {Habit::kStays, Habit::kReopens, Habit::kResizes, Habit::kMakesAnew};
  }

  void Expect(bool holds, const std::string& what) {
    if (!holds) violations_.Add("not so: " + what);
  }

  // Opens and closes in another process.
  int ResultElsewhere(int mode) {
    Child other([&] { return -LookAt(file_, mode).result; });
    return -other.Wait();
  }

  void TryWriters() {
    const std::array<int, 3> writing = {mode::kWrite, mode::kWrite | mode::kCreateAnew,
                                        mode::kCreateMissing};
    CDbFile first;
    Expect(Open(first, file_, mode::kWrite) == 0, "a first writer gets in");
    for (const int mode : writing) {
      Expect(LookAt(file_, mode).result == host::kInUse, "a second writer here is told so");
      Expect(ResultElsewhere(mode) == host::kInUse, "a second writer elsewhere is told so");
    }
    Expect(LookAt(file_, mode::kRead).result == 0, "a reader gets in beside a writer");
    Expect(ResultElsewhere(mode::kRead) == 0, "a reader elsewhere gets in beside a writer");
    first.Done();
    Expect(ResultElsewhere(mode::kWrite) == 0, "a writer gets in after the first has closed");
    TryAfterDeath();
    CDbFile reader;
    Expect(Open(reader, file_, mode::kRead) == 0, "a reader gets in");
    Expect(LookAt(file_, mode::kWrite).result == 0, "a writer gets in beside a reader");
  }

  void TryAfterDeath() {
    SharedMemory<std::atomic<bool>> is_open;
    Child holder([&] {
      CDbFile file;
      if (Open(file, file_, mode::kWrite) < 0) return 1;
      *is_open = true;
      for (;;) std::this_thread::sleep_for(milliseconds(100));
    });
    while (!*is_open && holder.IsRunning()) std::this_thread::sleep_for(milliseconds(1));
    Expect(LookAt(file_, mode::kWrite).result == host::kInUse, "another process keeps us out");
    Expect(holder.Kill(), "the first writer held the file until it was killed");
    Expect(LookAt(file_, mode::kWrite).result == 0, "a writer gets in after the first has died");
  }

  void StartReader() {
    readers_.emplace_back(
        [this, seed = random_.Bits()]() -> int { Reader(file_, traffic_, seed).ReadForEver(); });
  }

  // Until the readers have gone through the file so many times.
  void WriteBeside(Habit habit, bool dies_often) {
    const std::uint64_t enough = traffic_.words->passes + options_.passes;
    while (traffic_.words->passes < enough) {
      Child writer([this, habit, seed = random_.Bits()] {
        return Worker(file_, habit, traffic_, seed).WorkForEver();
      });
      const std::uint64_t life = dies_often ? traffic_.words->passes + 3 : enough;
      while (traffic_.words->passes < life && writer.IsRunning()) {
        std::this_thread::sleep_for(milliseconds(1));
      }
      if (!writer.Kill())
        throw std::runtime_error(fmt::format("a writer gave up: {}", writer.Wait()));
      ++deaths_;
    }
  }

  // Readers that were stopped in the middle of anything hold up nobody: else this does not end.
  void WriteBesideStopped(Habit habit) {
    for (int i = 0; i < 10; ++i) {
      for (Child& reader : readers_) reader.Signal(SIGSTOP);
      Child writer([this, habit, seed = random_.Bits()] {
        return Worker(file_, habit, traffic_, seed).Work(kWork);
      });
      Expect(writer.Wait() == 0, "a writer works beside stopped readers");
      for (Child& reader : readers_) reader.Signal(SIGCONT);
      const std::uint64_t seen = traffic_.words->passes;
      while (traffic_.words->passes < seen + 3) std::this_thread::sleep_for(milliseconds(1));
    }
  }

  std::string Figures() const {
    const Traffic::Words& words = *traffic_.words;
    return fmt::format(
        "{} operations of {} writers that were killed; {} passes of readers, {} records right, {} "
        "overtaken, {} wrong; {} openings of a writer missed a record",
        words.written.load(), deaths_, words.passes.load(), words.verified.load(),
        words.overtaken.load(), words.wrong.load(), words.lost.load());
  }

  Options options_;
  test::Random random_;
  FileOptions file_;
  Traffic traffic_;
  Violations violations_;
  std::list<Child> readers_;
  std::uint64_t deaths_ = 0;
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--passes", options->passes, "of readers through the file, for each habit")
      ->capture_default_str();
  app.add_option("--readers", options->readers, "how many read at the same time")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_flag("--unbounded", options->unbounded, "a file without a bound, which grows");
  app.add_flag("--written", options->written, "change files by calls, not by a mapping");
  return [options](const Common& common) { return LocksAndReaders(*options, common).Run(); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Writes a record file while others read it.",
                               packetdb::faults::AddOptions);
}
