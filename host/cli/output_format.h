// How a command that looks at a journal file prints what it sees.
#pragma once

#include <string>

namespace packetdb::host {

enum class OutputFormat { kText, kJson };

// "text" or "json"; throws UsageError for anything else.
OutputFormat ParseOutputFormat(const std::string& word);

}  // namespace packetdb::host
