// Files as they were written when their layout was new, kept for ever: what is read from them and
// what their conversion gives must never change, and today's writer makes the same bytes.
#include <algorithm>
#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "host/journals/conversion.h"
#include "host/log/log.h"
#include "host/record_file/modes.h"
#include "host/record_file/result.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"
#include "tests/faults/integrity/examination.h"
#include "tests/faults/integrity/golden_recipe.h"
#include "tests/faults/integrity/golden_text.h"
#include "tests/faults/integrity/tally.h"
#include "tests/faults/program.h"

namespace packetdb::faults {
namespace {

constexpr int kRead = 0;

struct Options {
  std::string golden;  // the folder
  bool makes = false;
};

std::string ReadText(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error("no golden file " + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const char* bytes, std::size_t size) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes, static_cast<std::streamsize>(size));
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}
void WriteFile(const std::string& path, const std::string& text) {
  WriteFile(path, text.data(), text.size());
}
void WriteFile(const std::string& path, const Bytes& bytes) {
  WriteFile(path, reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

// All records one after the other, with what kind of file they are in.
struct Contents {
  int result = 0;
  Bytes records;
};
Contents ReadContents(const std::string& path, const std::string& magic, unsigned long size,
                      unsigned long capacity, int mode) {
  CDbFile file;
  Contents contents;
  contents.result = file.Init(path, magic.c_str(), size, capacity, mode);
  const int count = file.RecordCount();
  contents.records.resize(static_cast<std::size_t>(count) * size);
  if (count > 0 && file.ReadRecords(0, contents.records.data(), count) != count) {
    contents.result = host::kDamagedRecord;
  }
  return contents;
}
Contents ReadContents(const std::string& path, const GoldenRecipe& recipe, int mode) {
  const unsigned long capacity = recipe.capacity == 0 ? ~0UL : recipe.capacity;
  return ReadContents(path, recipe.magic, recipe.record_size, capacity, mode);
}
Contents ReadConverted(const std::string& path, const GoldenRecipe& recipe) {
  return ReadContents(path, kJournalMagic, kJournalRecordSize, recipe.capacity, kRead);
}

class Maker {
 public:
  Maker(const Common& common, const Options& options)
      : folder_(common.directory), golden_(options.golden) {}

  Outcome Run() {
    for (const GoldenRecipe& recipe : GoldenRecipes()) Make(recipe);
    return {0, fmt::format("{} golden files made", GoldenRecipes().size())};
  }

 private:
  void Make(const GoldenRecipe& recipe) {
    const std::string path = folder_ + "/" + recipe.name;
    const Bytes bytes = MakeGolden(recipe, path);
    WriteFile(path, bytes);
    const std::string golden = golden_ + "/" + recipe.name;
    WriteFile(golden + ".file", TextOf(bytes));
    WriteFile(golden + ".records", TextOf(ReadContents(path, recipe, kRead).records));
    if (!recipe.converts) return;
    host::ConvertIfOld(path, {});
    WriteFile(golden + ".converted", TextOf(ReadConverted(path, recipe).records));
  }

  std::string folder_;
  std::string golden_;
};

class Trial {
 public:
  Trial(const Common& common, const Options& options)
      : folder_(common.directory), golden_(options.golden) {}

  Outcome Run() {
    RequireRefusal("layout_1");
    for (const GoldenRecipe& recipe : GoldenRecipes()) Try(recipe);
    return {tally_.total(), fmt::format("{} golden files", GoldenRecipes().size() + 1)};
  }

 private:
  Bytes Golden(const std::string& name) const { return BytesOf(ReadText(golden_ + "/" + name)); }

  // A layout that is not read any more is told from damage.
  void RequireRefusal(const std::string& name) {
    const std::string path = folder_ + "/" + name;
    const Bytes bytes = Golden(name + ".file");
    WriteFile(path, bytes);
    for (const int mode : {kRead, host::mode::kWrite}) {
      const int result = ReadContents(path, kJournalMagic, kJournalRecordSize, 2, mode).result;
      if (result != host::kUnsupportedLayout) {
        tally_.Violate("an earlier layout is refused", fmt::format("{}: {}", name, result));
      }
    }
    if (Examine(path).result != host::kUnsupportedLayout) {
      tally_.Violate("an earlier layout is refused", name + " by a check");
    }
    if (ReadFile(path) != bytes) tally_.Violate("a refused file is as before", name);
  }

  void Try(const GoldenRecipe& recipe) {
    const std::string path = folder_ + "/" + recipe.name;
    const Bytes bytes = Golden(recipe.name + ".file");
    WriteFile(path, bytes);
    RequireClean(path, recipe.name);
    for (const int mode : {kRead, host::mode::kWrite, kRead}) RequireRecords(path, recipe, mode);
    if (!recipe.died && ReadFile(path) != bytes) {
      tally_.Violate("opening changes no byte of a closed file", recipe.name);
    }
    RequireClean(path, recipe.name + ", after a writer");
    if (recipe.converts) RequireConversion(path, recipe);
    if (!recipe.died) RequireSameAnew(recipe, bytes);
  }

  void RequireClean(const std::string& path, const std::string& where) {
    const Examined examined = Examine(path);
    if (!examined.IsClean()) {
      tally_.Violate("a check finds nothing", where + ": " + examined.first);
    }
  }

  void RequireRecords(const std::string& path, const GoldenRecipe& recipe, int mode) {
    const Contents contents = ReadContents(path, recipe, mode);
    if (contents.result != 0 || contents.records != Golden(recipe.name + ".records")) {
      tally_.Violate("the records are read",
                     fmt::format("{} with mode {}: {}", recipe.name, mode, contents.result));
    }
  }

  void RequireConversion(const std::string& path, const GoldenRecipe& recipe) {
    host::ConvertIfOld(path, {});
    const Contents contents = ReadConverted(path, recipe);
    if (contents.result != 0 || contents.records != Golden(recipe.name + ".converted")) {
      tally_.Violate("the records are converted",
                     fmt::format("{}: {}", recipe.name, contents.result));
    }
    RequireClean(path, recipe.name + ", converted");
  }

  void RequireSameAnew(const GoldenRecipe& recipe, const Bytes& golden) {
    Bytes bytes = MakeGolden(recipe, folder_ + "/" + recipe.name + " anew");
    Dress(golden, &bytes);
    if (bytes == golden) return;
    const auto at = std::mismatch(bytes.begin(), bytes.end(), golden.begin(), golden.end()).first;
    tally_.Violate("today's writer makes the same bytes",
                   fmt::format("{}, byte {}", recipe.name, at - bytes.begin()));
  }

  std::string folder_;
  std::string golden_;
  Tally tally_;
};

Body AddOptions(CLI::App& app) {
  auto options = std::make_shared<Options>();
  app.add_option("--golden", options->golden, "the folder of the golden files")->required();
  app.add_flag("--make", options->makes, "makes those of today's layout instead");
  return [options](const Common& common) {
    host::SetLogLevel(0);
    return options->makes ? Maker(common, *options).Run() : Trial(common, *options).Run();
  };
}

}  // namespace
}  // namespace packetdb::faults

int main(int argc, char** argv) {
  return packetdb::faults::Run(argc, argv, "Reads files that were written long ago",
                               packetdb::faults::AddOptions);
}
