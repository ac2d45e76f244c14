// Journals of earlier formats, made by the record file itself, and what their conversion must give.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "host/journals/group_writer.h"
#include "host/journals/journal_format.h"
#include "host/journals/names.h"
#include "host/record_file/result.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {

inline constexpr int kNoBound = -1;

// The record that was appended as number `number`, in its format's bytes: no two are alike, and
// first-seen times ascend.
std::string OldRecord(JournalFormat format, int number);

// A closed record file with the records 0 to `count` - 1, of which the last `capacity` are kept.
void MakeOld(const std::string& path, JournalFormat format, int count, int capacity = 1000);
// A closed record file of any kind, empty.
void MakeRecordFile(const std::string& path, const char* magic, unsigned long record_size,
                    int capacity = 1000);

// The numbers of the records of a journal of format 4 that came from one of `format`, in order;
// fails the test when one is not exactly what the conversion of a record of that number gives.
std::vector<int> NumbersIn(const std::string& path, JournalFormat format);

// `first` to `end` - 1.
std::vector<int> Numbers(int first, int end);

// What is at a path: its inode, and its bytes when it is a regular file.
struct FileThere {
  ino_t inode = 0;
  mode_t kind = 0;
  std::string bytes;
  bool operator==(const FileThere&) const = default;
};
std::map<std::string, FileThere> Snapshot(const std::string& directory);

// Copies a flat directory of regular files; names of one file stay names of one file.
void CopyWithLinks(const std::string& from, const std::string& to);

// A group "lan" in a fresh directory.
class OldGroup {
 public:
  OldGroup();

  GroupOptions Options() const;
  // Opens the group for writing, and closes it again.
  std::optional<Conversion> Open() const;
  std::optional<Conversion> Open(const GroupOptions& options) const;
  // The error of opening it for writing; a line.
  std::string ErrorOfOpening() const;
  std::string ErrorOfOpening(const GroupOptions& options) const;

  std::string Path(const std::string& suffix = "") const { return journal_ + suffix; }
  const std::string& directory() const { return directory_; }

 private:
  const TempDir root_;
  const std::string directory_;
  const std::string journal_;
};

}  // namespace packetdb::host::test
