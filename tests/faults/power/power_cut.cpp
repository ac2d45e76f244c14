// The power goes while a journal is written. The journal is on a file system, that on a loop
// device, and that on a disk which keeps a log of every write and flush. From the log come the
// disks that a power cut may leave: each is mounted, and the journal on it has to keep its
// promises.
#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <memory>

#include "tests/faults/power/logged_disk.h"
#include "tests/faults/power/marks.h"
#include "tests/faults/power/mounts.h"
#include "tests/faults/power/replay.h"
#include "tests/faults/power/state_page.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

enum class Control { kNone, kNextMark, kPacked };

struct Options {
  FileSystem kind = FileSystem::kExt4;
  int images = 300;
  int rounds = 60;
  bool by_calls = false;
  Control control = Control::kNone;
};

std::unique_ptr<Subject> MakeSubject(Control control) {
  return control == Control::kPacked ? MakePackedRing() : MakeRecordFile();
}

class PowerCut {
 public:
  PowerCut(const Options& options, const Common& common)
      : options_(options),
        folder_(common.directory),
        seed_(static_cast<std::uint32_t>(common.seed)),
        random_(seed_),
        subject_(MakeSubject(options.control)) {}

  Outcome Run() {
    EnterPrivateMounts();
    MakeFileSystem(options_.kind, BasePath());
    const LoggedDisk disk(BasePath(), folder_ + "/disk");
    Record(disk);
    const std::vector<PlacedMark> marks = ReadMarks(MarksPath());
    Replay replay(BasePath(), disk.log().Events());
    for (const std::uint64_t cut : DrawCuts(marks.front().log_size, replay.size())) {
      JudgeImage(replay.ImageAfter(cut, random_), marks, cut);
    }
    return {violations_, Figures(marks.size(), replay.size())};
  }

 private:
  std::string BasePath() const { return folder_ + "/base"; }
  std::string MarksPath() const { return folder_ + "/marks"; }
  std::string MountPath() const { return folder_ + "/mounted"; }
  std::string JournalPath() const { return MountPath() + "/journal"; }

  void Record(const LoggedDisk& disk) {
    const host::Descriptor file(open(disk.path().c_str(), O_RDWR | O_CLOEXEC));
    const LoopDevice device(file);
    const Mount mount(options_.kind, device, MountPath());
    Child([&] { Write(disk.log()); }).Join("the writer");
  }

  void Write(const DiskLog& log) {
    MarkWriter marks(MarksPath());
    SetUpRecordFiles(Flushes::kInTheBackground,
                     options_.by_calls ? Changes::kByCalls : Changes::kMapped);
    Workload workload(*subject_, JournalPath(), seed_, [&](const Mark& mark) {
      marks.Add({log.size(), mark});
    });
    workload.Run({options_.rounds, options_.control != Control::kPacked});
  }

  std::vector<std::uint64_t> DrawCuts(std::uint64_t first, std::uint64_t end) {
    std::vector<std::uint64_t> cuts(static_cast<std::size_t>(options_.images));
    for (std::uint64_t& cut : cuts) {
      cut = first + random_.Below(static_cast<std::uint32_t>(end - first + 1));
    }
    std::sort(cuts.begin(), cuts.end());
    return cuts;
  }

  void JudgeImage(const host::Descriptor& image, const std::vector<PlacedMark>& marks,
                  std::uint64_t cut) {
    const Judged judged =
        options_.control == Control::kNextMark ? Judged::kNextMark : Judged::kNewestMark;
    const LoopDevice device(image);
    const Mount mount(options_.kind, device, MountPath());
    const bool is_ring = options_.control != Control::kPacked;
    const bool is_other_boot = is_ring && !random_.OneIn(4) && PretendOtherBoot(JournalPath());
    other_boots_ += is_other_boot ? 1 : 0;
    const Promise promise = PromiseAt(marks, cut, judged);
    const Found seen = subject_->Read(JournalPath());
    const Found found = subject_->Recover(JournalPath());
    std::vector<std::string> complaints = Judge(promise, found);
    if (!(seen.result == found.result && seen.records == found.records)) {
      complaints.push_back("a reader sees something else than the writer finds");
    }
    if (!(subject_->Recover(JournalPath()).records == found.records)) {
      complaints.push_back("it is not the same when it is opened once more");
    }
    if (is_ring && DamageTold(JournalPath()) != 0) {
      complaints.push_back("it takes what the cut took for damage");
    }
    records_ += found.records.size();
    beyond_ +=
        found.records.empty() || found.records.back().ordinal < promise.acknowledged.end() ? 0 : 1;
    Complain(cut, is_other_boot, complaints);
  }

  void Complain(std::uint64_t cut, bool is_other_boot, const std::vector<std::string>& complaints) {
    constexpr std::uint64_t kShown = 10;
    for (const std::string& complaint : complaints) {
      if (violations_++ >= kShown) continue;
      fmt::print("cut after event {}, {}: {}\n", cut,
                 is_other_boot ? "next boot" : "same boot or closed", complaint);
    }
    broken_ += complaints.empty() ? 0 : 1;
  }

  std::string Figures(std::size_t marks, std::uint64_t events) const {
    return fmt::format(
        "{}: {} images of {} disk events with {} marks; {} images as after a new boot, {} with "
        "records that were not flushed yet, {} records in all, {} images broken",
        NameOf(options_.kind), options_.images, events, marks, other_boots_, beyond_, records_,
        broken_);
  }

  const Options options_;
  const std::string folder_;
  const std::uint32_t seed_;
  test::Random random_;
  const std::unique_ptr<Subject> subject_;
  std::uint64_t violations_ = 0;
  int broken_ = 0;
  int other_boots_ = 0;
  int beyond_ = 0;
  std::uint64_t records_ = 0;
};

Body AddOptions(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  app.add_option("--fs", options->kind, "file system of the journal")
      ->transform(CLI::CheckedTransformer(std::map<std::string, FileSystem>{
          {"ext4", FileSystem::kExt4}, {"xfs", FileSystem::kXfs}}));
  app.add_option("--images", options->images, "how many power cuts")->capture_default_str();
  app.add_option("--rounds", options->rounds,
                 "how often the journal is flushed while it is written")
      ->capture_default_str();
  app.add_flag("--by-calls", options->by_calls, "the journal is not mapped");
  app.add_option("--control", options->control,
                 "next-mark: expect what was flushed only after the cut; packed: a ring without "
                 "regard to sectors")
      ->transform(CLI::CheckedTransformer(std::map<std::string, Control>{
          {"next-mark", Control::kNextMark}, {"packed", Control::kPacked}}));
  return [options](const Common& common) { return PowerCut(*options, common).Run(); };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "cuts the power of a disk while a journal is written",
                               packetdb::faults::AddOptions);
}
