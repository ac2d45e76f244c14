// What a record file shows to whoever opens it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/death/content.h"

class CDbFile;

namespace packetdb::faults {

inline constexpr const char* kMagic = "faults";
inline constexpr unsigned long kNoBound = static_cast<unsigned long>(-1);

// How the file of a run is opened.
struct FileOptions {
  std::string path;
  std::size_t record_size = 72;
  unsigned long capacity = kNoBound;
};

int Open(CDbFile& file, const FileOptions& options, int mode);
int Append(CDbFile& file, const FileOptions& options, const Identity& identity);
int Overwrite(CDbFile& file, const FileOptions& options, int ticket, const Identity& identity);

// The records from the oldest to the newest; nothing stands for one that is torn or cannot be read.
using View = std::vector<std::optional<Identity>>;

View ViewOf(CDbFile& file, std::size_t record_size);

struct Opened {
  int result = 0;  // of Init
  View view;       // empty after a failure
  bool operator==(const Opened&) const = default;
};

// Opens the file with these bits of CDbFile::Init's mode, reads all of it and closes it.
Opened LookAt(const FileOptions& options, int mode);

// "3 records 7.0 8.2 9.0", shortened in the middle when there are many.
std::string Describe(const View& view);
std::string Describe(const Opened& opened);

}  // namespace packetdb::faults
