// Flips bits of a record file, one at a time, and looks what that costs: a frame its record, and
// everything else nothing. Whoever checks the file learns of each flip.
#include <chrono>
#include <fmt/format.h>
#include <memory>
#include <random>

#include "host/log/log.h"
#include "host/record_file/modes.h"
#include "platform/record_file.h"
#include "tests/faults/integrity/examination.h"
#include "tests/faults/integrity/history.h"
#include "tests/faults/integrity/patched_file.h"
#include "tests/faults/integrity/place.h"
#include "tests/faults/integrity/tally.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

struct Options {
  Recipe recipe;
  std::uint64_t front_every = 1;    // of the bits of superblocks and state
  std::uint64_t cell_every = 1;     // of the bits of the cells
  std::uint64_t writer_every = 16;  // of the flips: also opens for writing
  bool is_open = false;             // the writer of the file has died
};

class Trial {
 public:
  Trial(const Common& common, const Options& options)
      : options_(options),
        random_(common.seed),
        history_(options.recipe),
        file_(common.directory + "/flipped", MakeFile(common.directory + "/made")),
        geometry_(GeometryOf(file_.path())) {}

  Outcome Run() {
    const auto begin = std::chrono::steady_clock::now();
    RequireSoundness();
    Flip(0, host::kCellsOffset * 8, options_.front_every);
    Flip(host::kCellsOffset * 8, file_.sound().size() * 8, options_.cell_every);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    return {tally_.total(),
            fmt::format("{} of {} bits flipped, {} records lost in all, "
                        "{} times opened for writing, {:.1f} s",
                        flips_, file_.sound().size() * 8, lost_, written_, took.count())};
  }

 private:
  // A copy, taken before the writer closes it, is what its death would leave.
  Bytes MakeFile(const std::string& path) {
    CDbFile file;
    history_.Write(path, file);
    if (!options_.is_open) file.Done();
    return ReadFile(path);
  }

  // Otherwise nothing that follows means anything.
  void RequireSoundness() {
    if (!ReadAll(file_.path(), history_).IsComplete()) tally_.Violate("the sound file", "reading");
    const Examined examined = Examine(file_.path());
    if (!examined.IsClean()) tally_.Violate("the sound file", examined.first);
  }

  void Flip(std::uint64_t begin, std::uint64_t end, std::uint64_t every) {
    if (every == 0) return;
    for (std::uint64_t bit = begin + random_() % every; bit < end; bit += every) {
      FlipOne(bit / 8, static_cast<unsigned>(bit % 8));
    }
  }

  void FlipOne(std::uint64_t offset, unsigned bit) {
    const std::string where = fmt::format("byte {} bit {}", offset, bit);
    file_.FlipBit(offset, bit);
    const Place place = PlaceOf(geometry_, history_.live(), offset);
    const Examined examined = Examine(file_.path());
    if (!options_.is_open && (examined.result != 0 || examined.IsClean())) {
      tally_.Violate("every flip is reported", where);
    }
    Judge(ReadAll(file_.path(), history_), place, where);
    if (++flips_ % options_.writer_every == 0) {
      LetWrite(place, where);
    } else {
      file_.Restore();
    }
  }

  void Judge(const Reading& reading, const Place& place, const std::string& where) {
    lost_ += reading.missing.size();
    if (reading.result != 0) tally_.Violate("the file can be opened", where);
    if (reading.wrong != 0) tally_.Violate("nothing wrong is served", where);
    std::vector<std::uint64_t> cost;
    if (place.live && place.live != history_.redo()) cost.push_back(*place.live);
    if (reading.missing != cost) {
      tally_.Violate("a frame costs its record, and anything else nothing",
                     fmt::format("{}, {} missing", where, reading.missing.size()));
    }
  }

  // A writer sees what a reader sees, and leaves nothing damaged but records.
  void LetWrite(const Place& place, const std::string& where) {
    ++written_;
    Judge(ReadAll(file_.path(), history_, host::mode::kWrite), place, where + ", by a writer");
    const Examined examined = Examine(file_.path());
    const bool is_repaired = place.part == Part::kSuperblocks || place.part == Part::kState;
    if (is_repaired && !examined.IsClean()) {
      tally_.Violate("a writer repairs superblocks and state", where + ", " + examined.first);
    }
    Judge(ReadAll(file_.path(), history_), place, where + ", after a writer");
    file_.Rewrite();
  }

  Options options_;
  std::mt19937_64 random_;
  Tally tally_;
  History history_;
  PatchedFile file_;
  host::Geometry geometry_;
  std::uint64_t flips_ = 0;
  std::uint64_t lost_ = 0;
  std::uint64_t written_ = 0;
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--record-size", options->recipe.record_size)->capture_default_str();
  app.add_option("--capacity", options->recipe.capacity)->capture_default_str();
  app.add_option("--appended", options->recipe.appended)->capture_default_str();
  app.add_option("--front-every", options->front_every, "of the bits before the cells; 0: none")
      ->capture_default_str();
  app.add_option("--cell-every", options->cell_every, "of the bits of the cells; 0: none")
      ->capture_default_str();
  app.add_option("--writer-every", options->writer_every, "of the flips, opens for writing too")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_flag("--open", options->is_open, "a file whose writer has died");
  return [options](const Common& common) {
    host::SetLogLevel(0);  // it would tell of every repair
    return Trial(common, *options).Run();
  };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Flips the bits of a record file one by one",
                               packetdb::faults::AddOptions);
}
