// What of the system the values of a configuration are held against.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "host/config/text_file.h"

namespace packetdb::host {

struct Surroundings {
  std::function<bool(const std::string& name)> has_user;
  std::function<bool(const std::string& name)> has_group;
  // Reads the file of nodes.
  std::function<TextFile(const std::string& path, std::size_t limit)> read_file;
};

// Those of this machine.
Surroundings SystemSurroundings();

}  // namespace packetdb::host
