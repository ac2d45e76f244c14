// How the answer of a command that asks for records is to look, as options say it.
#pragma once

#include <cstdint>
#include <string>

#include "host/printing/options.h"

namespace packetdb::host {

struct PrintChoice {
  std::string output = "table";  // see SetFormat
  std::string fields;            // separated by commas; empty: those of the format
  std::string colour = "auto";
  bool numeric = false;
  bool utc = false;
};

// For stdout. Throws UsageError, but not for a template's fields, which depend on what is printed.
PrintOptions PrintOptionsOf(const PrintChoice& choice);

}  // namespace packetdb::host
