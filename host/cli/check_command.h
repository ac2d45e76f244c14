// `packetdb check`: verifies a journal file, or saves what is whole of it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/cli/exit_code.h"

namespace packetdb::host {

// A note of the command's own: what a conversion leaves behind is there beside the file.
inline constexpr std::string_view kFindConversion = "conversion";

// A new file for the records that are whole, and what is known of the damaged one; what is empty is
// found out.
struct RescueOptions {
  std::string to;  // its path; empty: none is wanted
  std::string record_size;
  std::string seed;
  std::string near;
};

struct CheckOptions {
  std::string path;
  std::string output = "text";  // or "json"
  RescueOptions rescue = {};
};

// How many findings of each severity are listed; further ones are counted only.
inline constexpr std::size_t kMostFindings = 1000;

// Findings and a summary on stdout. kExitDamaged when something is damaged, kExitInUse when nothing
// is but a writer has or had the file open, kExitOk otherwise; a file that is no journal or cannot
// be read is a complaint and nothing on stdout. With `rescue`, what RunRescue does. Throws
// UsageError.
ExitCode RunCheck(const CheckOptions& options);

}  // namespace packetdb::host
