// Takes the file away under the memory that it is mapped to: by cutting it, and by a disk that can
// no longer be read. The kernel says so by a signal at a load or a store; the process must live.
#include <array>
#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "host/record_file/descriptor.h"
#include "tests/faults/limits/driven_journal.h"
#include "tests/faults/limits/log_lines.h"
#include "tests/faults/limits/small_disk.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr unsigned long kCapacity = 5000;
constexpr unsigned long kLargeCapacity = 150000;
constexpr std::size_t kMostLines = 4;

void Cut(const std::string& path, std::uint64_t length) {
  if (truncate(path.c_str(), static_cast<off_t>(length)) != 0) throw std::runtime_error(path);
}

std::uint64_t LengthOf(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return static_cast<std::uint64_t>(lseek(file.get(), 0, SEEK_END));
}

// Writes until it is refused, which must come to pass, and requires that it stays so.
void RequireWriterRefused(const std::string& when, DrivenJournal& journal, Verdict* verdict) {
  int result = 0;
  for (unsigned long i = 0; i < 3 * kLargeCapacity && result >= 0; ++i) {
    result = journal.Append();
    if (result >= 0) result = journal.Merge();
  }
  RequireRefusal(when + ": writing", result, verdict);
  RequireRefusal(when + ": appending once more", journal.Append(), verdict);
  RequireRefusal(when + ": merging once more", journal.Merge(), verdict);
}

// How many records are handed out when all are asked for, one by one and all at once.
std::uint64_t ReadAll(const std::string& when, DrivenJournal& journal, CDbFile& file,
                      Verdict* verdict) {
  const std::uint64_t handed_out = journal.JudgeWhatIsLeft(when, file, verdict);
  std::vector<char> records(kLargeCapacity * kRecordSize);
  const int got = file.ReadRecords(0, records.data(), static_cast<int>(kLargeCapacity));
  verdict->Require(got <= static_cast<int>(handed_out),
                   fmt::format("{}: {} at once, but: {}", when, handed_out, got));
  return handed_out;
}

// Another journal of the process, which nothing happens to.
class Bystander {
 public:
  explicit Bystander(const std::string& folder) : journal_(folder + "/bystander", kCapacity) {
    if (journal_.Open(kModeAnew) < 0) throw std::runtime_error("no bystander");
    journal_.AppendMany(kCapacity / 2);
  }
  void RequireUnharmed(Verdict* verdict) {
    journal_.AppendMany(2 * kCapacity);
    verdict->Require(journal_.JudgeOpen("the bystander", journal_.file(), verdict), "it is whole");
    journal_.Judge("the bystander", verdict);
  }

 private:
  DrivenJournal journal_;
};

struct Loss {
  std::string name;
  std::function<void(const std::string& path)> happen;
  bool reader_loses;  // records that it could read before
  bool writer_loses;  // the file; otherwise it may go on
};

std::vector<Loss> Losses() {
  const auto cut_to = [](std::uint64_t length) {
    return [length](const std::string& path) { Cut(path, length); };
  };
  return {
      {"cut to nothing", cut_to(0), true, true},
      {"cut to a byte", cut_to(1), true, true},
      {"cut to a page", cut_to(4096), true, true},
      {"cut to its front", cut_to(12288), true, true},
      {"cut in half", [](const std::string& path) { Cut(path, LengthOf(path) / 2 + 100); }, true,
       true},
      {"cut by a page", [](const std::string& path) { Cut(path, LengthOf(path) - 4096); }, false,
       true},
      {"cut and grown again",
       [](const std::string& path) {
         const std::uint64_t length = LengthOf(path);
         Cut(path, 0);
         Cut(path, length);
       },
       true, false},
  };
}

void MakeWrapped(DrivenJournal& journal) {
  if (journal.Open(kModeAnew) < 0) throw std::runtime_error("no journal");
  journal.AppendMany(2 * kCapacity);
}

void LoseUnderWriter(const Loss& loss, const std::string& folder, Verdict* verdict) {
  DrivenJournal journal(folder + "/journal", kCapacity);
  MakeWrapped(journal);
  Bystander bystander(folder);
  ForgetLogLines();
  loss.happen(journal.path());
  const std::string when = loss.name + " under a writer";
  ReadAll(when, journal, journal.file(), verdict);
  if (loss.writer_loses) RequireWriterRefused(when, journal, verdict);
  ReadAll(when + ", again", journal, journal.file(), verdict);
  bystander.RequireUnharmed(verdict);
  journal.Close();
  verdict->Require(LogLines().size() <= kMostLines, "a few lines, but: " + Describe(LogLines()));
  verdict->Require(journal.Open(kModeAnew) >= 0, when + ": it can be made anew");
  journal.AppendMany(10);
  journal.Judge(when + ", made anew", verdict);
}

void LoseUnderReader(const Loss& loss, const std::string& folder, Verdict* verdict) {
  DrivenJournal journal(folder + "/journal", kCapacity);
  MakeWrapped(journal);
  journal.Close();
  CDbFile reader;
  const std::string when = loss.name + " under a reader";
  const int result = reader.Init(journal.path(), kMagic, kRecordSize, kCapacity, kModeRead);
  verdict->Require(result >= 0, when + ": it gets in");
  Bystander bystander(folder);
  loss.happen(journal.path());
  const std::uint64_t handed_out = ReadAll(when, journal, reader, verdict);
  verdict->Require(handed_out < kCapacity || !loss.reader_loses, when + ": some are not there");
  bystander.RequireUnharmed(verdict);
  reader.Done();
}

// A mapping of one page of a file that has none: a load from it is a SIGBUS that is no business of
// the record file.
class TornPage {
 public:
  TornPage() {
    const host::Descriptor file(memfd_create("torn", MFD_CLOEXEC));
    page_ = mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (page_ == MAP_FAILED) throw std::runtime_error("no mapping");
  }
  TornPage(const TornPage&) = delete;
  TornPage& operator=(const TornPage&) = delete;
  ~TornPage() { munmap(page_, kPage); }

  void Touch() const { *static_cast<volatile char*>(page_) = 1; }
  const void* address() const { return page_; }

 private:
  static constexpr std::size_t kPage = 4096;
  void* page_ = nullptr;
};

sigjmp_buf before_fault;
const void* volatile fault_address = nullptr;
volatile sig_atomic_t signals_seen = 0;

void NoteAndReturn(int, siginfo_t* info, void*) {
  signals_seen = signals_seen + 1;
  fault_address = info->si_addr;
  if (info->si_code > 0) siglongjmp(before_fault, 1);  // a load that would be tried for ever
}

void Handle(void (*handler)(int, siginfo_t*, void*)) {
  struct sigaction action = {};
  action.sa_sigaction = handler;
  action.sa_flags = SA_SIGINFO;
  if (sigaction(SIGBUS, &action, nullptr) != 0) throw std::runtime_error("sigaction");
}

// A journal whose mapping has been lost already, so that whatever guards it has been at work.
void LoseOne(const std::string& folder) {
  DrivenJournal journal(folder + "/journal", kCapacity);
  MakeWrapped(journal);
  Cut(journal.path(), 0);
  journal.Append();
}

void ReachesHandler(const std::string& folder, Verdict* verdict) {
  Handle(NoteAndReturn);
  LoseOne(folder);
  DrivenJournal journal(folder + "/other", kCapacity);
  MakeWrapped(journal);
  verdict->Require(signals_seen == 0, "the journal's own faults stay with it");
  const TornPage page;
  if (sigsetjmp(before_fault, 1) == 0) page.Touch();
  verdict->Require(signals_seen == 1 && fault_address == page.address(),
                   "a fault elsewhere reaches the handler that was there, with its address");
  raise(SIGBUS);
  verdict->Require(signals_seen == 2, "a signal that somebody sends reaches it too");
  journal.AppendMany(10);
  journal.Judge("after faults elsewhere", verdict);
}

void KillsByDefault(const std::string& folder, Verdict* verdict) {
  const auto touch = [&folder](void (*disposition)(int)) {
    return [&folder, disposition] {
      std::signal(SIGBUS, disposition);
      LoseOne(folder);
      DrivenJournal journal(folder + "/other", kCapacity);
      MakeWrapped(journal);
      TornPage().Touch();
    };
  };
  verdict->Require(SignalOf(touch(SIG_DFL)) == SIGBUS, "a fault elsewhere kills by default");
  // The kernel does not let a fault be ignored.
  verdict->Require(SignalOf(touch(SIG_IGN)) == SIGBUS, "a fault elsewhere kills when ignored");
  const int sent = SignalOf([&folder] {
    LoseOne(folder);
    DrivenJournal journal(folder + "/other", kCapacity);
    MakeWrapped(journal);
    raise(SIGBUS);
  });
  verdict->Require(sent == SIGBUS, "a signal that somebody sends kills by default");
}

Outcome CutFiles(const Common& common) {
  Verdict verdict;
  const std::string& folder = common.directory;
  for (const Loss& loss : Losses()) {
    const auto writer = [&](Verdict& found) { LoseUnderWriter(loss, folder, &found); };
    RunTrial(loss.name + " under a writer", writer, &verdict);
    const auto reader = [&](Verdict& found) { LoseUnderReader(loss, folder, &found); };
    RunTrial(loss.name + " under a reader", reader, &verdict);
  }
  RunTrial(
      "faults elsewhere", [&](Verdict& found) { ReachesHandler(folder, &found); }, &verdict);
  KillsByDefault(folder, &verdict);
  return {verdict.broken(), fmt::format("{} promises looked at", verdict.looked_at())};
}

// Pages that are not mapped yet; those that are stay readable whatever becomes of the disk.
void ForgetCached(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED);
}

constexpr std::uint64_t kDiskBytes = 48U << 20U;
constexpr std::uint64_t kReadable = 8U << 20U;

void LoseDisk(int mode, SmallDisk& disk, const std::string& folder, Verdict* verdict) {
  DrivenJournal journal(disk.Path("journal"), kLargeCapacity);
  if (journal.Open(kModeAnew) < 0) throw std::runtime_error("no journal");
  journal.AppendMany(kLargeCapacity);
  journal.Close();
  disk.Remount();
  CDbFile reader;
  const std::string& path = journal.path();
  const int result = mode == kModeRead
                         ? reader.Init(path, kMagic, kRecordSize, kLargeCapacity, mode)
                         : journal.Open(mode);
  verdict->Require(result >= 0, "it opens: " + Describe(result));
  Bystander bystander(folder);
  ForgetCached(path);
  disk.LoseBeyond(kReadable);
  CDbFile& file = mode == kModeRead ? reader : journal.file();
  const std::uint64_t handed_out = ReadAll("a lost disk", journal, file, verdict);
  verdict->Require(handed_out < kLargeCapacity, "records that cannot be read are not handed out");
  fmt::print("{} of {} records handed out\n", handed_out, kLargeCapacity);
  if (mode != kModeRead) RequireWriterRefused("a lost disk", journal, verdict);
  bystander.RequireUnharmed(verdict);
}

Outcome LoseDisks(const Common& common) {
  EnterOwnMounts();
  Verdict verdict;
  for (const int mode : {kModeRead, kModeWrite}) {
    SmallDisk disk(FileSystem::kExt4, common.directory, kDiskBytes);
    const auto trial = [&](Verdict& found) { LoseDisk(mode, disk, common.directory, &found); };
    RunTrial(mode == kModeRead ? "a reader's lost disk" : "a writer's lost disk", trial, &verdict);
  }
  return {verdict.broken(), fmt::format("{} promises looked at", verdict.looked_at())};
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  using namespace packetdb::faults;
  const std::string description = "takes away files under the memory that they are mapped to";
  return Run(argc, argv, description, [](CLI::App& app) {
    auto disk = std::make_shared<bool>(false);
    app.add_flag("--disk", *disk, "let the disk become unreadable instead of cutting the file");
    return [disk](const Common& common) { return *disk ? LoseDisks(common) : CutFiles(common); };
  });
}
