#include <array>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <stdexcept>

#include "tests/faults/power/flush_hook.h"
#include "tests/faults/power/session.h"
#include "tests/faults/power/state_page.h"

namespace packetdb::faults {
namespace {

constexpr int kOperations = 15000;  // two laps of the ring
constexpr std::array kOperationsAgain = {60, 60, 600};

// Only what can be read counts: how it was found is not the matter.
bool SeeTheSame(const Found& left, const Found& right) {
  return left.result == right.result && left.records == right.records &&
         left.garbage == right.garbage;
}

void WriteImage(const Image& image, const std::string& path) {
  // A new file each time: some file systems flush one that was emptied and written again.
  std::filesystem::remove(path);
  std::ofstream file(path, std::ios::binary);
  file.write(image.data(), static_cast<std::streamsize>(image.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace

std::unique_ptr<Subject> Simulation::NewSubject() const {
  return options_.control == SimulationControl::kPacked ? MakePackedRing() : MakeRecordFile();
}

std::string Simulation::NewPath() { return fmt::format("{}/journal {}", folder_, paths_++); }

void Simulation::RunOne() {
  ++figures_.journals;
  Session(*this, NewPath(), {}, 1).Run(kOperations);
}

void Simulation::RunAgain(const Image& image, const Promise& promise, int depth) {
  const std::string path = NewPath();
  WriteImage(image, path);
  if (options_.control != SimulationControl::kPacked && !random_.OneIn(4)) PretendOtherBoot(path);
  Session(*this, path, promise, depth).Run(random_.OneOf(kOperationsAgain));
}

void Simulation::JudgeState(const Image& image, const Promise& promise, int depth) {
  ++figures_.states;
  figures_.deep += depth > 1 ? 1 : 0;
  Judge(image, promise, "power cut");
}

void Simulation::JudgeHarmed(const Image& image, const Promise& promise) {
  ++figures_.states;
  ++figures_.harmed;
  Judge(image, promise, "power cut and a harmed sector");
}

void Simulation::Judge(const Image& image, const Promise& promise, const char* what) {
  FlushHook outer = ExchangeFlushHook({});
  const std::string path = folder_ + "/judged";
  WriteImage(image, path);
  if (options_.control != SimulationControl::kPacked && !random_.OneIn(4)) PretendOtherBoot(path);
  const std::unique_ptr<Subject> subject = NewSubject();
  const Found seen = subject->Read(path);
  const Found found = subject->Recover(path);
  std::vector<std::string> complaints = faults::Judge(promise, found);
  if (!SeeTheSame(seen, found)) {
    complaints.push_back("a reader sees something else than the writer finds");
  }
  if (!SeeTheSame(subject->Recover(path), found)) {
    complaints.push_back("it is not the same when it is opened once more");
  }
  if (!promise.may_be_missing && options_.control != SimulationControl::kPacked &&
      DamageTold(path) != 0) {
    complaints.push_back("it takes what the cut took for damage");
  }
  const bool is_beyond =
      !found.records.empty() && found.records.back().ordinal >= promise.acknowledged.end();
  figures_.beyond += is_beyond ? 1 : 0;
  Complain(complaints, what);
  ExchangeFlushHook(std::move(outer));
}

void Simulation::Complain(const std::vector<std::string>& complaints, const char* what) {
  constexpr std::uint64_t kShown = 10;
  for (const std::string& complaint : complaints) {
    if (figures_.violations++ < kShown) {
      fmt::print("state {}, {}: {}\n", figures_.states, what, complaint);
    }
  }
}

}  // namespace packetdb::faults
