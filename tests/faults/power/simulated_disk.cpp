// The power goes while a journal is written, without a disk: after each operation the sectors that
// it changed are looked at, and a power cut may leave each of them as it was at any moment since
// the last flush. What comes back is read, recovered, written further, and cut off again.
#include <fmt/format.h>
#include <fstream>
#include <map>
#include <memory>

#include "tests/faults/power/flush_hook.h"
#include "tests/faults/power/session.h"
#include "tests/faults/power/state_page.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

Outcome Run(const SimulationOptions& options, bool by_calls, const Common& common) {
  SetUpRecordFiles(Flushes::kByOurselves, by_calls ? Changes::kByCalls : Changes::kMapped);
  Simulation simulation(options, common.directory, static_cast<std::uint32_t>(common.seed));
  while (simulation.WantsMore()) simulation.RunOne();
  const SimulationFigures& figures = simulation.figures();
  return {
      figures.violations,
      fmt::format("{} states after a power cut, {} of them within or after a recovery from one, "
                  "{} with a sector harmed as well, {} with records that were not flushed yet; "
                  "{} journals",
                  figures.states, figures.deep, figures.harmed, figures.beyond, figures.journals)};
}

Body AddOptions(CLI::App& app) {
  const auto options = std::make_shared<SimulationOptions>();
  const auto by_calls = std::make_shared<bool>(false);
  app.add_option("--states", options->states, "how many power cuts")->capture_default_str();
  app.add_option("--depth", options->depth, "how many power cuts one after the other")
      ->capture_default_str();
  app.add_flag("--by-calls", *by_calls, "the journal is not mapped");
  app.add_option("--control", options->control,
                 "unflushed: expect what was not flushed; packed: a ring without regard to sectors")
      ->transform(CLI::CheckedTransformer(std::map<std::string, SimulationControl>{
          {"unflushed", SimulationControl::kUnflushed}, {"packed", SimulationControl::kPacked}}));
  return [options, by_calls](const Common& common) { return Run(*options, *by_calls, common); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "cuts the power of a simulated disk under a journal",
                               packetdb::faults::AddOptions);
}
