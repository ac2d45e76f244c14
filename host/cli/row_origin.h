// Where the rows of a command come from: a daemon, or a journal's file without one.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/cli/exit_code.h"
#include "host/names/names.h"
#include "host/reading/interface_choice.h"
#include "host/reading/row_source.h"

namespace packetdb::host {

struct OriginOptions {
  std::string socket;         // empty: the daemon's usual one
  std::string file;           // of a journal; empty: a daemon is asked
  std::string configuration;  // with a file: the one that has the names; empty: usual names
  int timeout_seconds = 60;   // for an answer to begin
};

// Reached, and ready to be asked.
struct Origin {
  Names names;
  // For a journal or interface, of a file whatever the name. Throws JournalError.
  std::function<std::unique_ptr<RowSource>(const std::string& name, const InterfaceChoice& choice)>
      open;
};

// With a complaint, and the status that says so, when there is none.
ExitCode Reach(const OriginOptions& options, Origin* origin);

// Records of a file that were left out, as they are damaged; 0 of a daemon, which tells of them
// in its log.
std::uint64_t DamagedIn(const RowSource& source);

}  // namespace packetdb::host
