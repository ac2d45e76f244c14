// Journals on a simulated disk, and what is left of them after power cuts.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/faults/power/promise.h"
#include "tests/faults/power/sector_history.h"
#include "tests/faults/power/subject.h"
#include "tests/support/seed.h"

namespace packetdb::faults {

enum class SimulationControl { kNone, kUnflushed, kPacked };

struct SimulationOptions {
  std::uint64_t states = 50000;
  int depth = 3;
  SimulationControl control = SimulationControl::kNone;
};

struct SimulationFigures {
  std::uint64_t violations = 0;
  std::uint64_t states = 0;
  std::uint64_t deep = 0;
  std::uint64_t harmed = 0;
  std::uint64_t beyond = 0;
  std::uint64_t journals = 0;
};

// What is common to all journals of a run.
class Simulation {
 public:
  Simulation(const SimulationOptions& options, std::string folder, std::uint32_t seed)
      : options_(options), folder_(std::move(folder)), random_(seed) {}

  bool WantsMore() const { return figures_.states < options_.states; }
  // A journal from its creation on, for some laps of its ring.
  void RunOne();
  // One that a power cut left, with what it owes.
  void RunAgain(const Image& image, const Promise& promise, int depth);

  // Judges what a power cut leaves.
  void JudgeState(const Image& image, const Promise& promise, int depth);
  // The same after one more harm, of which `promise` takes account.
  void JudgeHarmed(const Image& image, const Promise& promise);

  std::unique_ptr<Subject> NewSubject() const;
  const SimulationOptions& options() const { return options_; }
  const SimulationFigures& figures() const { return figures_; }
  test::Random& random() { return random_; }

 private:
  std::string NewPath();
  void Judge(const Image& image, const Promise& promise, const char* what);
  void Complain(const std::vector<std::string>& complaints, const char* what);

  const SimulationOptions options_;
  const std::string folder_;
  test::Random random_;
  SimulationFigures figures_;
  std::uint64_t paths_ = 0;
};

// One journal between two power cuts.
class Session {
 public:
  static constexpr std::uint64_t kCapacity = 300;

  // `promise` is what it owes when it is opened: nothing for a new one. `simulation` outlives it.
  Session(Simulation& simulation, std::string path, Promise promise, int depth);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  // Opens the journal, does so many operations, and closes it. Power cuts are drawn all the while.
  void Run(int operations);

 private:
  void Open();
  void DoOne();
  void Append();
  void Overwrite();
  void NoteWritten(const Label& label);
  void NoteFlush(int file);
  void MaybeCutPower(std::uint32_t one_in);
  void CutPower();
  Promise Owed() const;

  Simulation& simulation_;
  const std::string path_;
  const int depth_;
  const std::unique_ptr<Subject> subject_;
  std::unique_ptr<SectorHistory> sectors_;  // none before a new journal is there
  Promise promise_;
  Versions ever_;  // the last that there ever was, also if a power cut took it
  std::uint32_t flush_every_ = 0;  // operations, on average
  std::uint32_t close_every_ = 0;
  bool is_known_ = false;  // what the journal holds: it was opened
  Versions current_;
  std::uint64_t next_ = 0;
  std::vector<std::uint64_t> session_;  // ordinals appended since the journal was opened
  std::vector<int> tickets_;            // theirs
  bool cuts_ = false;                   // within a cut: that one is enough
};

}  // namespace packetdb::faults
