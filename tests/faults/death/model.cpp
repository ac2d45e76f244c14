// Random operations on a record file and on its reference in memory, which must stay equal.
#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <memory>
#include <stdexcept>
#include <vector>

#include "host/record_file/modes.h"
#include "platform/record_file.h"
#include "tests/faults/death/child.h"
#include "tests/faults/death/reference.h"
#include "tests/faults/death/violations.h"
#include "tests/faults/program.h"
#include "tests/support/seed.h"

namespace packetdb::faults {
namespace {

namespace mode = host::mode;

// A file without a bound is made anew beyond it, so that comparing it does not take all the time.
constexpr std::size_t kMostRecords = 20000;
// Enough appends to come round a ring of any capacity that is drawn.
constexpr std::uint32_t kBurst = 5000;
constexpr std::uint32_t kMostCapacity = 200;
constexpr std::array<std::size_t, 5> kRecordSizes = {16, 60, 64, 72, 100};

// After one the rest would only be its consequences.
class Deviation : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Model {
 public:
  Model(std::uint64_t operations, const Common& common)
      : operations_(operations),
        random_(static_cast<std::uint32_t>(common.seed)),
        options_({.path = common.directory + "/journal",
                  .record_size = random_.OneOf(kRecordSizes),
                  .capacity = DrawCapacity()}),
        reference_(options_.capacity) {}

  Outcome Run() {
    std::uint64_t done = 0;
    try {
      Reopen(mode::kWrite | mode::kCreateAnew);
      while (done < operations_) {
        Operate();
        ++done;
      }
      Reopen(mode::kWrite);
    } catch (const Deviation& deviation) {
      violations_.Add(fmt::format("operation {}: {}", done, deviation.what()));
    }
    return {.violations = violations_.count(),
            .figures = fmt::format("{} operations on records of {} bytes, {} appends; {} reopened, "
                                   "{} resized, {} writers died, {} made anew",
                                   done, options_.record_size, appends_, reopened_, resized_,
                                   deaths_, anew_)};
  }

 private:
  void Operate() {
    const std::uint32_t drawn = random_.Below(4000);
    if (drawn < 10) return ReopenSomehow(drawn);
    if (drawn < 11) return AppendMany();
    if (drawn < 100) return OverwriteAnything();
    if (drawn < 300) return ReadOne();
    if (drawn < 400) return ReadMany();
    if (drawn < 2000) return OverwriteLive();
    Append();
  }

  void ReopenSomehow(std::uint32_t drawn) {
    if (reference_.Count() > kMostRecords || drawn == 0) return MakeAnew();
    if (drawn < 3) return Resize();
    if (drawn < 6) return LetWriterDie();
    if (drawn < 8) return ReadOnly();
    Reopen(mode::kWrite);
  }

  unsigned long DrawCapacity() {
    return random_.OneIn(8) ? kNoBound : 1 + random_.Below(kMostCapacity);
  }

  static void Expect(bool equal, const std::string& what) {
    if (!equal) throw Deviation(what);
  }

  void ExpectSame(const Opened& opened, const char* who) {
    const Opened expected = {.result = 0, .view = reference_.All()};
    Expect(opened == expected,
           fmt::format("{} finds {} instead of {}", who, Describe(opened), Describe(expected)));
  }

  void Append() {
    const Identity identity = reference_.ToAppend();
    ++appends_;
    const int expected = reference_.Append();
    const int ticket = faults::Append(file_, options_, identity);
    Expect(ticket == expected, fmt::format("append: {} instead of {}", ticket, expected));
    Expect(file_.RecordCount() == static_cast<int>(reference_.Count()), "count after an append");
  }

  void AppendMany() {
    for (std::uint32_t i = 0; i < kBurst; ++i) Append();
  }

  void OverwriteLive() {
    if (reference_.Count() != 0) OverwriteTicket(DrawTicket());
  }

  int DrawTicket() {
    const auto count = static_cast<std::uint32_t>(reference_.Count());
    return reference_.TicketAt(random_.Below(count));
  }

  // Live, gone, not there yet, negative.
  void OverwriteAnything() {
    const std::int64_t near = static_cast<std::int64_t>(reference_.next()) - 300;
    const int some = static_cast<int>(near + random_.Below(400));
    constexpr std::array<int, 4> kOdd = {-1, -0x7FFFFFFF - 1, 0x7FFFFFFF, 0};
    OverwriteTicket(random_.OneIn(4) ? random_.OneOf(kOdd) : some);
  }

  void OverwriteTicket(int ticket) {
    const bool live = reference_.IsLive(ticket);
    const Identity identity = live ? reference_.ToOverwrite(ticket) : Identity{};
    const int result = faults::Overwrite(file_, options_, ticket, identity);
    Expect((result >= 0) == live, fmt::format("overwrite of ticket {}: {}", ticket, result));
    reference_.Overwrite(ticket);
  }

  void ReadOne() {
    const auto count = static_cast<int>(reference_.Count());
    const int position = static_cast<int>(random_.Below(static_cast<std::uint32_t>(count) + 4)) - 2;
    RecordBytes record(options_.record_size);
    const bool there = position >= 0 && position < count;
    const int result = file_.ReadRecord(position, record.data());
    Expect((result >= 0) == there, fmt::format("read at {} of {}: {}", position, count, result));
    if (there) ExpectRecord(record.data(), position);
  }

  void ExpectRecord(const unsigned char* record, int position) {
    const auto found = IdentityOf(record, options_.record_size);
    Expect(found == reference_.At(static_cast<std::size_t>(position)),
           fmt::format("a wrong record at position {}", position));
  }

  void ReadMany() {
    const auto count = static_cast<int>(reference_.Count());
    const int first = static_cast<int>(random_.Below(static_cast<std::uint32_t>(count) + 4)) - 2;
    const int asked = static_cast<int>(random_.Below(64)) - 1;
    RecordBytes records(options_.record_size * 64);
    const int got = file_.ReadRecords(first, records.data(), asked);
    const bool possible = first >= 0 && first < count && asked > 0;
    const int expected = possible ? std::min(asked, count - first) : 0;
    Expect(possible ? got == expected : got <= 0,
           fmt::format("read {} from {} of {}: {}", asked, first, count, got));
    for (int i = 0; i < expected; ++i) {
      ExpectRecord(&records[static_cast<std::size_t>(i) * options_.record_size], first + i);
    }
  }

  void Reopen(int mode) {
    ++reopened_;
    file_.Done();
    Expect(faults::Append(file_, options_, {}) < 0, "a closed file takes a record");
    const int result = Open(file_, options_, mode);
    Opened opened = {.result = result, .view = {}};
    if (result >= 0) opened.view = ViewOf(file_, options_.record_size);
    ExpectSame(opened, "the next opening");
  }

  void MakeAnew() {
    ++anew_;
    options_.capacity = DrawCapacity();
    reference_ = Reference(options_.capacity);
    Reopen(mode::kWrite | mode::kCreateAnew);
  }

  // Who asks for no bound, or for nothing, takes the file as it is.
  void Resize() {
    ++resized_;
    const FileOptions before = options_;
    options_.capacity = random_.OneIn(8) ? 0 : DrawCapacity();
    const bool takes_as_it_is = options_.capacity == 0 || options_.capacity == kNoBound;
    if (!takes_as_it_is) reference_.Resize(options_.capacity);
    Reopen(mode::kWrite);
    if (takes_as_it_is) options_ = before;
  }

  // Beside the writer.
  void ReadOnly() {
    ExpectSame(LookAt(options_, mode::kRead), "a reader");
    Expect(faults::Append(file_, options_, reference_.ToAppend()) == reference_.Append(),
           "append after a reader");
  }

  void LetWriterDie() {
    ++deaths_;
    file_.Done();
    std::vector<std::uint32_t> changes(random_.Below(200));
    for (std::uint32_t& change : changes) change = random_.Bits();
    Child writer([&] {
      Expect(Open(file_, options_, mode::kWrite) >= 0, "the writer who dies cannot open");
      Change(changes, true);
      return 0;
    });
    const int status = writer.Wait();
    Expect(status == 0, fmt::format("the writer who dies ended with {}", status));
    Change(changes, false);
    if (random_.OneIn(2)) ExpectSame(LookAt(options_, mode::kRead), "a reader after a death");
    Reopen(mode::kWrite);
  }

  // Each number is an append or an overwrite: of file and reference, or of the reference only.
  void Change(const std::vector<std::uint32_t>& changes, bool with_file) {
    for (const std::uint32_t change : changes) {
      const std::size_t count = reference_.Count();
      if (count == 0 || change % 2 == 0) {
        with_file ? Append() : static_cast<void>(reference_.Append());
      } else {
        const int ticket = reference_.TicketAt(change / 2 % count);
        with_file ? OverwriteTicket(ticket) : static_cast<void>(reference_.Overwrite(ticket));
      }
    }
  }

  std::uint64_t operations_;
  test::Random random_;
  FileOptions options_;
  Reference reference_;
  CDbFile file_;
  Violations violations_;
  std::uint64_t appends_ = 0;
  std::uint64_t reopened_ = 0;
  std::uint64_t resized_ = 0;
  std::uint64_t deaths_ = 0;
  std::uint64_t anew_ = 0;
};

Body AddOptions(CLI::App& app) {
  auto operations = std::make_shared<std::uint64_t>(100000);
  app.add_option("--ops", *operations, "operations")->capture_default_str();
  return [operations](const Common& common) { return Model(*operations, common).Run(); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Compares a record file with its reference in memory.",
                               packetdb::faults::AddOptions);
}
