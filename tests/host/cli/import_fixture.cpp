#include "tests/host/cli/import_fixture.h"

#include <filesystem>

#include "host/journals/names.h"
#include "tests/host/cli/captured.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {

Importing::Importing() {
  options_.group.directory = directory_.Path("journals");
  options_.group.group = "all";
  options_.group.capacity = kCapacity;
  options_.group.window_seconds = kWindow;
  options_.interface_names = {"2=wan0"};
}

ImportResult Importing::Import(const std::vector<Packets>& captures) {
  std::vector<std::string> paths;
  paths.reserve(captures.size());
  for (const Packets& packets : captures) {
    paths.push_back(File("capture" + std::to_string(captures_++), CaptureOf(packets)));
  }
  return ImportFiles(paths);
}

ImportResult Importing::ImportFiles(const std::vector<std::string>& paths) {
  options_.captures = paths;
  const Captured output(stdout);
  const Captured errors(stderr);
  ImportResult result;
  result.exit_code = RunImport(options_);
  result.output = output.Text();
  result.errors = errors.Text();
  return result;
}

std::string Importing::Journal() const {
  return JournalPath(options_.group.directory, options_.group.group);
}

std::string Importing::Catalogue() const {
  return ReadText(CataloguePath(options_.group.directory, options_.group.group));
}

bool Importing::AnythingJournaled() const {
  return std::filesystem::exists(options_.group.directory);
}

std::vector<PacketDbItemPacked> Importing::Records() const { return RecordsIn(Journal()); }

}  // namespace packetdb::host::test
