// What `packetdb info` tells.
#pragma once

#include <cstdio>
#include <string>

#include "host/cli/journal_summary.h"
#include "host/journals/journal_format.h"
#include "host/record_file/inspect.h"

namespace packetdb::host {

struct InfoReport {
  std::string path;
  JournalFormat format = JournalFormat::k4;
  FileFacts facts;
  Window window;  // of the records that were there when it was opened
  JournalSummary summary;
  bool writer = false;  // somebody has the file open for writing
};

// A line for each fact.
void PrintInfoText(const InfoReport& info, std::FILE* out);
// One object; docs/guide.md has its keys.
void PrintInfoJson(const InfoReport& info, std::FILE* out);

}  // namespace packetdb::host
