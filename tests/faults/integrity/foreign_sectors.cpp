// Puts sectors and pages into a record file that do not belong there: noise, zeros, those of other
// places, of other files, and of earlier times. Nothing of that may be served as a record, and what
// stands elsewhere stays readable.
#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <random>
#include <set>

#include "host/log/log.h"
#include "host/record_file/layout.h"
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
  std::uint64_t cases = 2000;      // of each kind
  std::uint64_t writer_every = 8;  // of the cases: also opens for writing
};

// Bytes that get to a place in the file.
struct Patch {
  std::uint64_t offset;
  Bytes bytes;
};

class Trial {
 public:
  Trial(const Common& common, const Options& options)
      : options_(options),
        random_(common.seed),
        history_(options.recipe),
        other_(MakeOther(common.directory + "/other")),
        earlier_(MakeEarlier(common.directory + "/earlier")),
        file_(common.directory + "/patched", MakeFile(common.directory + "/earlier")),
        geometry_(GeometryOf(file_.path())) {}

  Outcome Run() {
    const std::vector<std::pair<std::string, std::function<std::vector<Patch>()>>> kinds = {
        {"noise", [this] { return Noise(host::kSectorSize); }},
        {"a page of noise", [this] { return Noise(host::kPageSize); }},
        {"zeros", [this] { return Zeros(host::kSectorSize); }},
        {"a page of zeros", [this] { return Zeros(host::kPageSize); }},
        {"swapped sectors", [this] { return Swapped(host::kSectorSize); }},
        {"swapped pages", [this] { return Swapped(host::kPageSize); }},
        {"a sector of another file", [this] { return From(other_, host::kSectorSize); }},
        {"a page of another file", [this] { return From(other_, host::kPageSize); }},
        {"a sector of an earlier time", [this] { return From(earlier_, host::kSectorSize); }},
        {"a page of an earlier time", [this] { return From(earlier_, host::kPageSize); }},
        {"a front page of another file", [this] { return FrontFrom(other_); }},
        {"a front page of an earlier time", [this] { return FrontFrom(earlier_); }},
    };
    for (const auto& [name, make] : kinds) {
      for (std::uint64_t i = 0; i < options_.cases; ++i) Try(name, make());
    }
    return {
        tally_.total(),
        fmt::format("{} cases of {} kinds, {} of them without effect, {} refused, {} records "
                    "lost in all",
                    kinds.size() * options_.cases, kinds.size(), without_effect_, refused_, lost_)};
  }

 private:
  Bytes MakeOther(const std::string& path) const {
    Recipe recipe = options_.recipe;
    recipe.appended = recipe.appended / 3 * 2;
    History(recipe).Write(path);
    return ReadFile(path);
  }

  // The file half way through its history, and then closed in the end.
  Bytes MakeEarlier(const std::string& path) {
    CDbFile file;
    Recipe begun = options_.recipe;
    begun.appended /= 2;
    history_ = History(begun);
    history_.Write(path, file);
    file.Done();
    return ReadFile(path);
  }
  Bytes MakeFile(const std::string& path) {
    CDbFile file;
    history_.Continue(path, file, options_.recipe);
    file.Done();
    return ReadFile(path);
  }

  std::uint64_t DrawOffset(std::uint64_t size) {
    return random_() % (file_.sound().size() / size) * size;
  }
  static Bytes Cut(const Bytes& bytes, std::uint64_t offset, std::uint64_t size) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
  }

  std::vector<Patch> Noise(std::uint64_t size) {
    Bytes bytes(size);
    for (std::byte& byte : bytes) byte = static_cast<std::byte>(random_());
    return {{DrawOffset(size), bytes}};
  }
  std::vector<Patch> Zeros(std::uint64_t size) { return {{DrawOffset(size), Bytes(size)}}; }
  std::vector<Patch> Swapped(std::uint64_t size) {
    const std::uint64_t first = DrawOffset(size);
    const std::uint64_t second = DrawOffset(size);
    return {{first, Cut(file_.sound(), second, size)}, {second, Cut(file_.sound(), first, size)}};
  }
  // At its own place, or at any other.
  std::vector<Patch> From(const Bytes& bytes, std::uint64_t size) {
    const std::uint64_t to = DrawOffset(size);
    const std::uint64_t from = random_() % 2 == 0 ? to : DrawOffset(size);
    return {{to, Cut(bytes, from, size)}};
  }

  // One of those before the cells.
  std::vector<Patch> FrontFrom(const Bytes& bytes) {
    const std::uint64_t offset = random_() % (host::kCellsOffset / host::kPageSize);
    return {{offset * host::kPageSize, Cut(bytes, offset * host::kPageSize, host::kPageSize)}};
  }

  void Try(const std::string& name, const std::vector<Patch>& patches) {
    std::set<std::uint64_t> touched;
    for (const Patch& patch : patches) Apply(patch, &touched);
    const std::string where =
        fmt::format("{} at byte {} and {}", name, patches.front().offset, patches.back().offset);
    if (touched.empty()) ++without_effect_;
    if (HasTwoSuperblocks(patches) && !touched.empty()) {
      RequireRefusal(host::kAbsurdHeader, where);
      return;
    }
    if (HurtsBothSuperblocks(touched)) {
      RequireRefusal(host::kDamagedHeader, where);
      return;
    }
    const Examined examined = Examine(file_.path());
    Judge(ReadAll(file_.path(), history_), touched, where);
    const bool costs = std::any_of(touched.begin(), touched.end(),
                                   [this](std::uint64_t at) { return LiveAt(at).has_value(); });
    if (costs && examined.IsClean()) tally_.Violate("what costs records is reported", where);
    if (++cases_ % options_.writer_every == 0) {
      Judge(ReadAll(file_.path(), history_, host::mode::kWrite), touched, where + ", by a writer");
      Judge(ReadAll(file_.path(), history_), touched, where + ", after a writer");
      file_.Rewrite();
    }
    file_.Restore();
  }

  // Whether one of them now is another file's, whole.
  static bool HasTwoSuperblocks(const std::vector<Patch>& patches) {
    return std::any_of(patches.begin(), patches.end(), [](const Patch& patch) {
      return patch.offset < host::kStateOffset && patch.bytes.size() == host::kPageSize &&
             std::memcmp(patch.bytes.data(), host::kSignature.data(), host::kSignature.size()) == 0;
    });
  }

  // As a swap of two sectors may.
  static bool HurtsBothSuperblocks(const std::set<std::uint64_t>& touched) {
    const auto b = touched.lower_bound(host::kSuperblockBOffset);
    return b != touched.begin() && b != touched.end() && *b < host::kStateOffset;
  }

  // Nobody can tell what is right, and so nobody touches the file.
  void RequireRefusal(int result, const std::string& where) {
    const Bytes before = ReadFile(file_.path());
    for (const int mode : {0, host::mode::kWrite}) {
      const Reading reading = ReadAll(file_.path(), history_, mode);
      if (reading.result != result || reading.served + reading.wrong != 0) {
        tally_.Violate("a file without one superblock to believe is refused", where);
      }
    }
    if (ReadFile(file_.path()) != before) tally_.Violate("a refused file is as before", where);
    ++refused_;
    file_.Restore();
  }

  // Notes which bytes are others now.
  void Apply(const Patch& patch, std::set<std::uint64_t>* touched) {
    for (std::uint64_t i = 0; i < patch.bytes.size(); ++i) {
      if (file_.sound()[patch.offset + i] != patch.bytes[i]) touched->insert(patch.offset + i);
    }
    file_.Write(patch.offset, patch.bytes.data(), patch.bytes.size());
  }

  std::optional<std::uint64_t> LiveAt(std::uint64_t offset) const {
    return PlaceOf(geometry_, history_.live(), offset).live;
  }

  void Judge(const Reading& reading, const std::set<std::uint64_t>& touched,
             const std::string& where) {
    std::set<std::uint64_t> cost;
    for (const std::uint64_t at : touched) {
      if (const auto live = LiveAt(at)) cost.insert(*live);
    }
    lost_ += reading.missing.size();
    if (reading.result != 0) tally_.Violate("the file can be opened", where);
    if (reading.wrong != 0) tally_.Violate("nothing foreign is served", where);
    const bool is_explained =
        std::all_of(reading.missing.begin(), reading.missing.end(),
                    [&](std::uint64_t sequence) { return cost.count(sequence) != 0; });
    if (!is_explained) tally_.Violate("what stands elsewhere is served", where);
  }

  Options options_;
  std::mt19937_64 random_;
  Tally tally_;
  History history_;
  Bytes other_;
  Bytes earlier_;
  PatchedFile file_;
  host::Geometry geometry_;
  std::uint64_t cases_ = 0;
  std::uint64_t without_effect_ = 0;
  std::uint64_t refused_ = 0;
  std::uint64_t lost_ = 0;
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--record-size", options->recipe.record_size)->capture_default_str();
  app.add_option("--capacity", options->recipe.capacity)->capture_default_str();
  app.add_option("--cases", options->cases, "of each kind")->capture_default_str();
  app.add_option("--writer-every", options->writer_every, "of the cases, opens for writing too")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  return [options](const Common& common) {
    host::SetLogLevel(0);  // it would tell of every repair
    return Trial(common, *options).Run();
  };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Puts foreign sectors into a record file",
                               packetdb::faults::AddOptions);
}
