// What of the system the values of a configuration are held against.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "host/config/text_file.h"

namespace packetdb::host {

struct Surroundings {
  std::function<bool(const std::string& name)> has_user;
  std::function<bool(const std::string& name)> has_group;
  // Why the text is no filter of captures; none when it is one.
  std::function<std::optional<std::string>(const std::string& text)> why_no_filter;
  // Reads the file of nodes.
  std::function<TextFile(const std::string& path, std::size_t limit)> read_file;
};

// Those of this machine.
Surroundings SystemSurroundings();

}  // namespace packetdb::host
