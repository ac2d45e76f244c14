// Opens the files of a journals' directory and a socket while another process puts links and FIFOs
// into their places, in a directory where everybody may. Nothing that such a link leads to may be
// written, shown or changed, and nobody may wait for a FIFO.
#include <algorithm>
#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "host/bus/listener.h"
#include "host/intake/rule_recorder.h"
#include "host/journals/conversion.h"
#include "host/journals/error.h"
#include "host/journals/group_writer.h"
#include "host/journals/open_journals.h"
#include "host/log/log.h"
#include "packetdb/journal_server.h"
#include "tests/faults/access/planter.h"
#include "tests/faults/access/victims.h"
#include "tests/faults/limits/old_journal.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr int kBatch = 250;  // attempts of one process, after which the victims are looked at
constexpr char kGroup[] = "lan";

// How often what was asked for succeeded, and how often it was refused for a reason.
struct Tally {
  int done = 0;
  int refused = 0;
};

class Place {
 public:
  explicit Place(std::string folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    // Not a directory that is trusted: everybody may rename and link there.
    std::filesystem::permissions(folder_, std::filesystem::perms(0777));
  }

  const std::string& folder() const { return folder_; }
  std::string Path(const std::string& name) const { return folder_ + "/" + name; }
  std::string journal() const { return Path("lan.journal"); }

  host::GroupOptions Options() const {
    host::GroupOptions options;
    options.directory = folder_;
    options.group = kGroup;
    options.capacity = 10;
    return options;
  }
  void Clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      std::error_code gone_already;
      std::filesystem::remove(entry.path(), gone_already);
    }
  }

 private:
  std::string folder_;
};

using Attempt = std::function<void(const Place& place, int number, Verdict* verdict)>;

// What is attacked, with what, and what is done meanwhile. An attempt throws where it is refused.
struct Surface {
  std::string name;
  std::string attacked;
  std::function<std::string(const Victims&)> likeness;  // the victim that would be taken for it
  Attempt attempt;
};

CDrvErrorItemV4 EventOf(int number) {
  CDrvErrorItemV4 event{};
  event.m_FirstTime = event.m_LastTime = static_cast<std::uint32_t>(1'000'000'000 + number);
  return event;
}

void Write(const Place& place, int number, Verdict*) {
  host::GroupWriter writer(place.Options());
  writer.Add(EventOf(number), fmt::format("eth{}", number));
}

void WriteAnew(const Place& place, int number, Verdict* verdict) {
  unlink(place.journal().c_str());
  Write(place, number, verdict);
}

// A hard link is the file itself as far as a reader can see, so only what a symbolic link leads to
// is never shown; Plants() does without hard links here.
void Read(const Place& place, int, Verdict* verdict) {
  const host::OpenJournals journals(place.folder());
  for (const host::JournalName& name : journals.Names()) {
    verdict->Require(name.name != kSecretInterface, "a foreign catalogue is not shown");
  }
  UdbJournalServer server(journals.registry());
  Query query;
  std::string(kGroup).copy(query.m_Interface, sizeof query.m_Interface - 1);
  query.m_TimeEnd = 0x7FFFFFFF;
  DbItemSelection selection;
  server.SelectRecords(query, selection);
  for (const PacketDbItem& item : selection) {
    verdict->Require(item.m_Item.m_Word10 != kSecretWord, "a foreign record is not shown");
  }
  if (!journals.problems().empty()) throw host::JournalError(journals.problems().front());
}

void Number(const Place& place, int number, Verdict*) {
  host::RuleRecorder recorder(place.folder());
  recorder.NumberOf(fmt::format("prefix {}", number), {}, 1);
}

// Where nobody plants anything: who makes an old journal reads it back, and would wait for a FIFO.
std::string OldJournalBeside(const Place& place) { return place.folder() + "/../old.journal"; }

void Convert(const Place& place, int, Verdict*) {
  place.Clear();
  const std::string fresh = place.Path("fresh");
  std::filesystem::copy_file(OldJournalBeside(place), fresh,
                             std::filesystem::copy_options::overwrite_existing);
  std::filesystem::rename(fresh, place.journal());
  host::ConvertIfOld(place.journal(), {});
}

void Listen(const Place& place, int, Verdict*) {
  host::ListenOptions options;
  options.path = place.Path("socket");
  options.mode = 0666;
  options.group = geteuid() == 0 ? std::optional<gid_t>(65534) : std::nullopt;
  host::BusFailure failure;
  const auto listener = host::Listener::Open(options, &failure);
  if (listener != nullptr) return;
  std::error_code gone_already;
  std::filesystem::remove(options.path, gone_already);
  throw host::JournalError(failure.text);
}

std::vector<Surface> Surfaces() {
  const auto journal = [](const Victims& victims) { return victims.journal(); };
  const auto catalogue = [](const Victims& victims) { return victims.catalogue(); };
  const auto dictionary = [](const Victims& victims) { return victims.dictionary(); };
  const auto socket = [](const Victims& victims) { return victims.socket(); };
  return {
      {"a journal that is written", "lan.journal", journal, Write},
      {"a journal that is made", "lan.journal", journal, WriteAnew},
      {"the name under which it is made", "lan.journal.~new", journal, WriteAnew},
      {"a journal that is read", "lan.journal", journal, Read},
      {"a journal that is converted", "lan.journal", journal, Convert},
      {"the name under which it is converted", "lan.journal.~tmp", journal, Convert},
      {"the second name of what is converted", "lan.journal.~old", journal, Convert},
      {"a catalogue that is written", "lan.group", catalogue, Write},
      {"a catalogue that is read", "lan.group", catalogue, Read},
      {"the rule dictionary", "rules.dictionary", dictionary, Number},
      {"the socket", "socket", socket, Listen},
  };
}

std::vector<Planted> Plants(const Surface& surface, const Victims& victims) {
  const std::string likeness = surface.likeness(victims);
  std::vector<Planted> plants = {{Plant::kSymbolicLink, likeness},
                                 {Plant::kSymbolicLink, victims.text()},
                                 {Plant::kSymbolicLink, victims.empty_folder()},
                                 {Plant::kSymbolicLink, victims.empty_folder() + "/new"},
                                 {Plant::kFifo, ""}};
  const bool is_read_only = surface.name.ends_with("is read");
  if (!is_read_only) {
    plants.push_back({Plant::kHardLink, likeness});
    plants.push_back({Plant::kHardLink, victims.text()});
  }
  return plants;
}

void TryOne(const Surface& surface, const Place& place, int number, Tally* tally,
            Verdict* verdict) {
  try {
    surface.attempt(place, number, verdict);
    ++tally->done;
  } catch (const std::exception& refusal) {
    verdict->Require(refusal.what()[0] != '\0', "a refusal has a reason");
    ++tally->refused;
  }
}

// With files that are there, so that there is something to change places with.
void TryBatch(const Surface& surface, const Victims& victims, const Place& place, int attempts,
              Verdict* verdict) {
  place.Clear();
  Write(place, 0, verdict);
  Number(place, 0, verdict);
  Tally tally;
  {
    const Planter planter(place.Path(surface.attacked), Plants(surface, victims));
    for (int number = 1; number <= attempts; ++number) {
      TryOne(surface, place, number, &tally, verdict);
    }
  }
  victims.RequireUntouched(surface.name, verdict);
  fmt::print("{}: {} done, {} refused\n", surface.name, tally.done, tally.refused);
}

Outcome Try(const Common& common, int attempts) {
  host::SetLogLevel(0);  // it would tell of every refusal
  const Victims victims(common.directory + "/victims");
  const Place place(common.directory + "/place");
  const OldJournal old(OldJournalBeside(place), OldFormat::k3, 5);
  Verdict verdict;
  for (const Surface& surface : Surfaces()) {
    for (int left = attempts; left > 0; left -= kBatch) {
      const auto batch = [&](Verdict& found) {
        TryBatch(surface, victims, place, std::min(left, kBatch), &found);
      };
      RunTrial(surface.name, batch, &verdict);
    }
  }
  return {verdict.broken(), fmt::format("{} promises looked at", verdict.looked_at())};
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  using namespace packetdb::faults;
  const std::string description = "plants links and FIFOs where files and sockets are opened";
  return Run(argc, argv, description, [](CLI::App& app) {
    auto attempts = std::make_shared<int>(10000);
    app.add_option("--attempts", *attempts, "of each surface")->capture_default_str();
    return [attempts](const Common& common) { return Try(common, *attempts); };
  });
}
