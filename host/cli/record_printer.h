// Stored records as text.
#pragma once

#include <cstdint>
#include <cstdio>

#include "host/cli/output_format.h"
#include "host/journals/journal_format.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {

struct RecordStyle {
  OutputFormat output = OutputFormat::kText;
  JournalFormat format = JournalFormat::k4;
  std::size_t record_size = 0;  // bytes
  bool hex = false;             // the bytes as well
};

// A record that was read whole: a block of lines, or one object (docs/guide.md has its keys).
void PrintRecord(const SnapshotRecord& record, const RecordStyle& style, std::FILE* out);

// Neighbours of which nothing could be read, from record `first` to record `last`; `fate` is kGone,
// kDamaged or kLost. One line, or one object.
void PrintUnread(RecordFate fate, std::uint64_t first, std::uint64_t last, OutputFormat output,
                 std::FILE* out);

}  // namespace packetdb::host
