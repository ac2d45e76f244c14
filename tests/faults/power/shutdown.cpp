// A file system is shut down behind each system call of those who create, close, resize and
// convert journals, with and without its own log. What had been flushed by then is all that there
// is when it is mounted again: a journal, and all that it had promised.
#include <algorithm>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

#include "host/log/log.h"
#include "tests/faults/power/image_copy.h"
#include "tests/faults/power/mounts.h"
#include "tests/faults/power/scenarios.h"
#include "tests/faults/power/state_page.h"
#include "tests/faults/power/traced_child.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

struct Options {
  std::vector<std::string> kinds = {"ext4"};
  std::vector<std::string> scenarios;  // none: all
  bool every_call = false;
  int step = 1;
  std::string control;
  int repeats = 1;
};

class SharedProgress {
 public:
  SharedProgress() {
    void* const memory =
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("no memory to share");
    progress_ = new (memory) Progress;
  }
  SharedProgress(const SharedProgress&) = delete;
  SharedProgress& operator=(const SharedProgress&) = delete;
  ~SharedProgress() { munmap(progress_, sizeof *progress_); }

  Progress& operator*() { return *progress_; }

 private:
  Progress* progress_;
};

class Shutdown {
 public:
  Shutdown(const Options& options, const Common& common)
      : options_(options), folder_(common.directory) {}

  Outcome Run() {
    EnterPrivateMounts();
    SetUpRecordFiles(Flushes::kByOurselves, Changes::kMapped);
    host::SetLogLevel(host::kLowestLogLevel);
    for (const std::string& kind : options_.kinds) {
      kind_ = kind == "xfs" ? FileSystem::kXfs : FileSystem::kExt4;
      for (const auto& scenario : AllScenarios()) {
        if (IsWanted(scenario->name())) Sweep(*scenario);
      }
    }
    return {violations_, fmt::format("{} shutdowns; {}", shutdowns_, figures_)};
  }

 private:
  std::string ImagePath() const { return folder_ + "/image"; }
  std::string MountPath() const { return folder_ + "/mounted"; }

  bool IsWanted(const std::string& name) const {
    const auto& wanted = options_.scenarios;
    return wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end();
  }

  void Sweep(Scenario& scenario) {
    Prepare(scenario);
    int calls = 0;
    for (int i = 0; i < options_.repeats; ++i) {
      for (const bool with_log : {false, true}) {
        calls = 1;
        while (ShutDownAfter(scenario, calls, with_log)) calls += options_.step;
      }
    }
    figures_ += fmt::format("{}{} {}: {} calls", figures_.empty() ? "" : ", ", NameOf(kind_),
                            scenario.name(), calls - 1);
  }

  void Prepare(Scenario& scenario) {
    MakeFileSystem(kind_, ImagePath());
    const host::Descriptor image(open(ImagePath().c_str(), O_RDWR | O_CLOEXEC));
    const LoopDevice device(image);
    const Mount mount(kind_, device, MountPath());
    scenario.Prepare(MountPath());
  }

  // False when there were fewer calls, and so everything was done.
  bool ShutDownAfter(Scenario& scenario, int calls, bool with_log) {
    const host::Descriptor image = CopyToMemory(ImagePath());
    const LoopDevice device(image);
    SharedProgress progress;
    const bool is_within = ActAndShutDown(scenario, calls, with_log, device, *progress);
    const Mount mount(kind_, device, MountPath());
    ++shutdowns_;
    for (const std::string& complaint : scenario.Judge(MountPath(), *progress)) {
      constexpr std::uint64_t kShown = 10;
      if (violations_++ >= kShown) continue;
      fmt::print("{}, {}, shut down {} its log after {} calls: {}\n", NameOf(kind_),
                 scenario.name(), with_log ? "with" : "without", calls, complaint);
    }
    return is_within;
  }

  bool ActAndShutDown(Scenario& scenario, int calls, bool with_log, const LoopDevice& device,
                      Progress& progress) {
    const Mount mount(kind_, device, MountPath());
    TracedChild child([&] { scenario.Act(MountPath(), progress); },
                      options_.every_call ? Calls::kEvery : Calls::kChanging,
                      !options_.control.empty() ? Flushing::kForgotten : Flushing::kDone);
    const bool is_within = child.RunCalls(calls);
    ShutDown(MountPath(), with_log);
    child.Kill();
    return is_within;
  }

  const Options options_;
  const std::string folder_;
  FileSystem kind_ = FileSystem::kExt4;
  std::uint64_t violations_ = 0;
  std::uint64_t shutdowns_ = 0;
  std::string figures_;
};

Body AddOptions(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  app.add_option("--fs", options->kinds, "file systems of the journal: ext4, xfs")
      ->delimiter(',')
      ->check(CLI::IsMember({"ext4", "xfs"}));
  app.add_option("--scenario", options->scenarios, "only these")->delimiter(',');
  app.add_flag("--every-call", options->every_call, "also behind calls that change nothing");
  app.add_option("--step", options->step, "leave out calls between")->check(CLI::PositiveNumber);
  app.add_option("--repeats", options->repeats, "how often")->capture_default_str();
  app.add_option("--control", options->control,
                 "forgotten: the journal believes that its flushes are done, and none is")
      ->check(CLI::IsMember({"forgotten"}));
  return [options](const Common& common) { return Shutdown(*options, common).Run(); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "shuts a file system down under a journal",
                               packetdb::faults::AddOptions);
}
