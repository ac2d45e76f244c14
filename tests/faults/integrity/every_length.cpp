// Cuts a record file at every length, and makes it longer: whoever opens it gets the code that says
// so, and nothing changes in it.
#include <algorithm>
#include <fmt/format.h>
#include <memory>

#include "host/log/log.h"
#include "host/record_file/layout.h"
#include "host/record_file/modes.h"
#include "host/record_file/open.h"
#include "host/record_file/probe.h"
#include "host/record_file/snapshot.h"
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
  std::uint64_t every = 1;           // of the lengths within the cells
  std::uint64_t beyond = 8192;       // bytes by which it is made longer
  std::uint64_t examine_every = 16;  // of the lengths tried: also checks the file
};

class Trial {
 public:
  Trial(const Common& common, const Options& options)
      : options_(options),
        history_(options.recipe),
        file_(common.directory + "/cut", MakeFile(common.directory + "/made")),
        geometry_(GeometryOf(file_.path())) {}

  Outcome Run() {
    const std::uint64_t whole = file_.sound().size();
    for (std::uint64_t length = 0; length <= whole + options_.beyond;) {
      Try(length);
      const bool is_within = length >= host::kCellsOffset && length + options_.every < whole;
      length += is_within ? options_.every : 1;
    }
    return {tally_.total(), fmt::format("{} lengths of a file of {} bytes", tried_, whole)};
  }

 private:
  Bytes MakeFile(const std::string& path) {
    history_.Write(path);
    return ReadFile(path);
  }

  // What opening a file of this length has to return.
  int Expected(std::uint64_t length) const {
    if (length == 0) return host::kEmptyFile;
    if (length < host::kSignature.size()) return host::kNotARecordFile;
    if (length < host::kCellsOffset) return host::kTruncatedFile;
    if (geometry_.capacity == 0) return host::kRecordFileOk;
    if (length < file_.sound().size()) return host::kTruncatedFile;
    return length == file_.sound().size() ? host::kRecordFileOk : host::kOverlongFile;
  }

  void Try(std::uint64_t length) {
    file_.SetLength(length);
    const int expected = Expected(length);
    Demand(Read(length, 0), expected, length, "a reader");
    host::RecordFileInfo info;
    Demand(host::ProbeRecordFile(file_.path(), &info), expected, length, "a probe");
    TakeSnapshot(expected, length);
    if (tried_++ % options_.examine_every == 0) Check(expected, length);
    Demand(Read(length, host::mode::kWrite), expected, length, "a writer");
    if (expected < 0) {
      RequireUnchanged(length);
      file_.Restore();
    } else {
      file_.Rewrite();
    }
  }

  void Demand(int result, int expected, std::uint64_t length, const std::string& who) {
    if (result == expected) return;
    tally_.Violate(who + " gets the code",
                   fmt::format("{} bytes: {}, not {}", length, result, expected));
  }

  int Read(std::uint64_t length, int mode) {
    const Reading reading = ReadAll(file_.path(), history_, mode);
    const std::string where = fmt::format("{} bytes, mode {}", length, mode);
    if (reading.wrong != 0) tally_.Violate("nothing wrong is served", where);
    if (reading.result < 0) return reading.result;
    // What lies within whole cells is there, and no more.
    const std::uint64_t cells =
        (std::min<std::uint64_t>(length, file_.sound().size()) - host::kCellsOffset) /
        host::kCellSize;
    const std::uint64_t slots = cells * geometry_.frames_per_cell;
    const std::uint64_t there =
        geometry_.capacity == 0 ? std::min(slots, history_.live().size()) : history_.live().size();
    if (reading.served != there) {
      tally_.Violate("what the length leaves is served",
                     fmt::format("{}: {}, not {}", where, reading.served, there));
    }
    return reading.result;
  }

  void TakeSnapshot(int expected, std::uint64_t length) {
    host::Descriptor file;
    int result = host::OpenUnlocked(file_.path(), host::Access::kRead, &file);
    if (result == 0) result = host::Snapshot(file).Begin();
    Demand(result, expected, length, "a snapshot");
    host::Snapshot snapshot(file);
    result = snapshot.BeginDespiteDamage();
    // From where there is a superblock on the length is no obstacle to it.
    const bool is_tolerant = length >= host::kCellsOffset;
    if (!is_tolerant) return;
    Demand(result, host::kRecordFileOk, length, "a snapshot despite damage");
    host::SnapshotRecord record;
    for (std::uint64_t sequence = snapshot.oldest(); sequence < snapshot.end(); ++sequence) {
      Demand(snapshot.Read(sequence, &record), 0, length, "a record of a snapshot");
      std::uint64_t found = 0;
      const bool is_whole = record.fate == host::RecordFate::kWhole;
      if (is_whole && (!history_.IsCurrent(record.bytes, &found) || found != sequence)) {
        tally_.Violate("nothing wrong is in a snapshot", fmt::format("{} bytes", length));
      }
    }
  }

  // Everybody else refuses a wrong length; a check tells of it.
  void Check(int expected, std::uint64_t length) {
    const Examined examined = Examine(file_.path());
    const bool is_examined = length >= host::kSignature.size();
    if (is_examined ? examined.result != 0 && examined.result != expected
                    : examined.result != expected) {
      tally_.Violate("a check gets the code",
                     fmt::format("{} bytes: {}", length, static_cast<int>(examined.result)));
    }
    const bool is_wrong = length != file_.sound().size();
    if (examined.result == 0 && is_wrong == examined.IsClean() && geometry_.capacity != 0) {
      tally_.Violate("a check tells of a wrong length", fmt::format("{} bytes", length));
    }
  }

  void RequireUnchanged(std::uint64_t length) {
    const Bytes now = ReadFile(file_.path());
    const std::uint64_t common = std::min<std::uint64_t>(length, file_.sound().size());
    const bool is_same = now.size() == length &&
                         std::equal(now.begin(), now.begin() + static_cast<std::ptrdiff_t>(common),
                                    file_.sound().begin());
    if (!is_same) tally_.Violate("a refused file is as before", fmt::format("{} bytes", length));
  }

  Options options_;
  Tally tally_;
  History history_;
  PatchedFile file_;
  host::Geometry geometry_;
  std::uint64_t tried_ = 0;
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--record-size", options->recipe.record_size)->capture_default_str();
  app.add_option("--capacity", options->recipe.capacity, "0: a file without a bound")
      ->capture_default_str();
  app.add_option("--appended", options->recipe.appended)->capture_default_str();
  app.add_option("--every", options->every, "of the lengths within the cells")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--beyond", options->beyond, "bytes by which it is made longer")
      ->capture_default_str();
  return [options](const Common& common) {
    host::SetLogLevel(0);  // it would tell of every repair
    return Trial(common, *options).Run();
  };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Cuts a record file at every length",
                               packetdb::faults::AddOptions);
}
