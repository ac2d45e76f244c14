// Reading the configuration.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/configuration.h"
#include "host/config/surroundings.h"

namespace packetdb::host {

inline constexpr const char* kDefaultConfigurationFile = "/etc/packetdb/packetdb.toml";

struct ConfigurationPlaces {
  std::string file = kDefaultConfigurationFile;
  bool must_exist = false;  // for a file that somebody named; else a missing one gives the defaults
};

// A configuration that is not right.
class ConfigurationError : public std::runtime_error {
 public:
  // At least one, as Problems::Lines has them.
  explicit ConfigurationError(std::vector<std::string> problems);

  // What is wrong, all of it: "FILE:LINE:COLUMN: TEXT" each, one line without a full stop. Names
  // of files are in it as they are: to be escaped where they are shown.
  const std::vector<std::string>& problems() const { return problems_; }

 private:
  std::vector<std::string> problems_;
};

// Reads the file, then those of its folder (".d" instead of ".toml") whose names end in ".toml", in
// the order of their names, then the file of nodes that they name. Later files win for single keys;
// lists of tables follow one another. Throws ConfigurationError with everything that is wrong.
Configuration LoadConfiguration(const ConfigurationPlaces& places,
                                const Surroundings& surroundings = SystemSurroundings());

// The same of one text, whose problems name `file`.
Configuration ParseConfiguration(std::string_view text, const std::string& file,
                                 const Surroundings& surroundings);

// The folder beside a file: "/etc/packetdb/packetdb.d".
std::string FolderBeside(const std::string& file);

inline constexpr std::size_t kLargestConfigurationFile = 1 << 20;  // bytes, each
inline constexpr std::size_t kLargestNodesFile = 32 << 20;
inline constexpr std::size_t kMostConfigurationFiles = 256;

}  // namespace packetdb::host
