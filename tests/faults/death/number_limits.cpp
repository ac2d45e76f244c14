// Sequence numbers at the limits of the types that hold them or halves of them, tickets where they
// begin again: through all of it a file must stay equal to its reference, whatever becomes of its
// writers.
#include <array>
#include <fmt/format.h>
#include <memory>
#include <stdexcept>
#include <string>

#include "host/record_file/modes.h"
#include "platform/record_file.h"
#include "tests/faults/death/child.h"
#include "tests/faults/death/layout.h"
#include "tests/faults/death/reference.h"
#include "tests/faults/death/violations.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

namespace mode = host::mode;

constexpr std::uint64_t kBefore = 5;  // appends before the limit
constexpr std::array<std::uint64_t, 4> kLimits = {std::uint64_t{1} << 31U, std::uint64_t{1} << 32U,
                                                  std::uint64_t{3} << 31U, std::uint64_t{1} << 63U};
constexpr std::array<unsigned long, 5> kCapacities = {1, 3, 10, 200, kNoBound};

// How a writer's time ends.
enum class End { kCloses, kDies, kDiesWithMachine, kIsResized };
constexpr std::array<End, 4> kEnds = {End::kDies, End::kDiesWithMachine, End::kCloses,
                                      End::kIsResized};

// Else only the reference, to which it happened in another process.
enum class WithFile { kYes, kNo };

class NumberLimits {
 public:
  NumberLimits(std::uint64_t first, const FileOptions& options, Violations& violations)
      : options_(options),
        name_(fmt::format("from {} on, {} kept", first, options.capacity)),
        reference_(options.capacity, first),
        violations_(violations) {
    LookAt(options_, mode::kWrite | mode::kCreateAnew);
    StartAt(options_.path, first);
  }

  // Each end comes with every small number of appends around the limit; then once around the ring.
  std::uint64_t Run() {
    for (std::uint64_t lives = 0; lives < 3 * kBefore; ++lives) Live(kEnds[lives % 4], 1);
    const std::uint64_t lap = SlotsOf(options_.path);
    for (const End end : kEnds) Live(end, lap / 2 + 1);
    return appends_;
  }

 private:
  void Expect(bool holds, const std::string& what) {
    if (!holds) violations_.Add(fmt::format("{}: not so: {}", name_, what));
  }

  // All changes of one writer, in another process when it is to die.
  void Live(End end, std::uint64_t appends) {
    if (end == End::kDies || end == End::kDiesWithMachine) {
      Die(appends);
      if (end == End::kDiesWithMachine) {
        Expect(MoveToOtherBoot(options_.path), "a writer who died leaves the file open");
      }
    } else {
      Change(WithFile::kYes, appends);
      file_.Done();
    }
    if (end == End::kIsResized) Resize();
    Compare(mode::kRead, "a reader");
    Compare(mode::kWrite, "a writer");
  }

  void Die(std::uint64_t appends) {
    const std::uint64_t before = violations_.count();
    Child writer([&] {
      Change(WithFile::kYes, appends);
      return violations_.count() == before ? 0 : 1;
    });
    Expect(writer.Wait() == 0, "the writer who dies finds all in order");
    Change(WithFile::kNo, appends);
  }

  void Change(WithFile with_file, std::uint64_t appends) {
    const bool real = with_file == WithFile::kYes;
    if (real) Expect(Open(file_, options_, mode::kWrite) == 0, "it opens");
    TryTickets(real);
    for (std::uint64_t i = 0; i < appends; ++i) {
      const Identity identity = reference_.ToAppend();
      const int ticket = reference_.Append();
      ++appends_;
      if (real) Expect(Append(file_, options_, identity) == ticket, "the ticket");
    }
    TryTickets(real);
  }

  // Those around the window, live or not.
  void TryTickets(bool real) {
    constexpr std::uint64_t kMask = 0x7FFFFFFF;
    for (std::uint64_t age = 0; age < 14; ++age) {
      const int ticket = static_cast<int>((reference_.next() + 1 - age) & kMask);
      const bool live = reference_.IsLive(ticket);
      const Identity identity = live ? reference_.ToOverwrite(ticket) : Identity{};
      if (real) {
        Expect((Overwrite(file_, options_, ticket, identity) >= 0) == live,
               fmt::format("ticket {} is {}", ticket, live ? "live" : "refused"));
      }
      reference_.Overwrite(ticket);
    }
  }

  void Resize() {
    if (options_.capacity == kNoBound) return;
    options_.capacity = options_.capacity % 2 == 0 ? options_.capacity / 2 : options_.capacity * 3;
    reference_.Resize(options_.capacity);
    Compare(mode::kWrite, "who resizes");
  }

  void Compare(int mode, const char* who) {
    const Opened found = LookAt(options_, mode);
    const Opened expected = {.result = 0, .view = reference_.All()};
    Expect(found == expected,
           fmt::format("{} finds {}, but {}", who, Describe(expected), Describe(found)));
  }

  FileOptions options_;
  CDbFile file_;
  std::string name_;
  Reference reference_;
  Violations& violations_;
  std::uint64_t appends_ = 0;
};

Outcome RunAll(const Common& common) {
  Violations violations;
  std::uint64_t appends = 0;
  for (const std::uint64_t limit : kLimits) {
    for (const unsigned long capacity : kCapacities) {
      const FileOptions options = {.path = common.directory + "/journal", .capacity = capacity};
      appends += NumberLimits(limit - kBefore, options, violations).Run();
    }
  }
  return {.violations = violations.count(),
          .figures = fmt::format("{} limits, {} capacities, {} appends", kLimits.size(),
                                 kCapacities.size(), appends)};
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Takes a record file through the limits of its numbers.",
                               [](CLI::App&) { return packetdb::faults::RunAll; });
}
