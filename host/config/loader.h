// Reads the files of a configuration one after the other and gathers what is wrong with them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/config/document.h"
#include "host/config/draft.h"
#include "host/config/problems.h"
#include "host/config/surroundings.h"

namespace packetdb::host {

class Loader {
 public:
  explicit Loader(const Surroundings& surroundings);

  // A file that is not there is passed over, unless it has to be.
  void AddFile(const std::string& path, bool must_exist);
  // The files of a folder, by name.
  void AddFolder(const std::string& folder);
  void AddText(const std::string& path, std::string_view text);

  // What the files say together, with the defaults. Throws ConfigurationError. To be called once.
  Configuration Finish();

 private:
  void ReadNames();
  void ReadTheRest();
  void ReadEntry(const Entry& entry);
  void ReadNodes();
  void ReadNodesText(std::size_t file, std::string_view text);
  void FillDefaults();

  const Surroundings& surroundings_;
  Problems problems_;
  std::vector<Node> documents_;
  Draft draft_;
};

}  // namespace packetdb::host
