#include "host/config/load.h"

#include <fmt/format.h>
#include <utility>

#include "host/config/loader.h"

namespace packetdb::host {
namespace {

std::string SumUp(const std::vector<std::string>& problems) {
  if (problems.size() == 1) return problems.front();
  return fmt::format("{} (and {} problems more)", problems.front(), problems.size() - 1);
}

}  // namespace

ConfigurationError::ConfigurationError(std::vector<std::string> problems)
    : std::runtime_error(SumUp(problems)), problems_(std::move(problems)) {}

std::string FolderBeside(const std::string& file) {
  constexpr std::string_view kSuffix = ".toml";
  const bool has_suffix = file.ends_with(kSuffix);
  return file.substr(0, file.size() - (has_suffix ? kSuffix.size() : 0)) + ".d";
}

Configuration LoadConfiguration(const ConfigurationPlaces& places,
                                const Surroundings& surroundings) {
  Loader loader(surroundings);
  loader.AddFile(places.file, places.must_exist);
  loader.AddFolder(FolderBeside(places.file));
  return loader.Finish();
}

Configuration ParseConfiguration(std::string_view text, const std::string& file,
                                 const Surroundings& surroundings) {
  Loader loader(surroundings);
  loader.AddText(file, text);
  return loader.Finish();
}

}  // namespace packetdb::host
