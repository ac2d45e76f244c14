// Record files in memory, behind the platform's CDbFile. Every operation is noted in Calls() and
// can be given a result there.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>

namespace packetdb::test {

// Results of CDbFile::Init and of the other operations, beyond -6.
enum RecordFileError : int {
  kFileFailed = -1,        // a planned failure
  kFileMissing = -2,       // no such file, and the mode does not create one
  kFileOtherFormat = -6,   // sound, but of another magic or record size
  kFileBusy = -10,         // another object has it open for writing
  kFileBadCapacity = -11,  // a new file for no records
  kFileClosed = -12,       // the object has no file open
  kFileReadOnly = -13,     // a write through an object that was opened for reading
  kFileNoRecord = -14,     // no record at this position or behind this ticket
};

struct MemoryFile {
  std::string magic;
  std::size_t record_size = 0;
  std::uint64_t capacity = 0;
  std::uint64_t first_sequence = 0;  // sequence number of records.front()
  std::deque<std::string> records;
  bool has_writer = false;

  std::uint64_t NextSequence() const { return first_sequence + records.size(); }
  void DropOldest();
};

// All files there are, by path.
class MemoryFiles {
 public:
  // The file at `path`, null when there is none.
  std::shared_ptr<MemoryFile> Find(const std::string& path) const;
  std::shared_ptr<MemoryFile> Create(const std::string& path);
  // Puts down a file as another program would have left it.
  void Put(const std::string& path, const std::string& magic, std::size_t record_size,
           std::deque<std::string> records);
  // From now on a file's name and life are those of an empty file on disk, which is made with it:
  // what moves or removes that moves or removes the file.
  void FollowDisk() { follows_disk_ = true; }
  // From now on Calls() tells which object was called: "2 Done()" for the second one made since
  // Reset().
  void ShowObjects() { shows_objects_ = true; }
  void Reset() { *this = MemoryFiles(); }

  // For the record file.
  int NextObject() { return ++objects_; }
  bool ShowsObjects() const { return shows_objects_; }

 private:
  std::string Key(const std::string& path) const;

  std::map<std::string, std::shared_ptr<MemoryFile>> files_;
  bool follows_disk_ = false;
  bool shows_objects_ = false;
  int objects_ = 0;
};

MemoryFiles& Files();

}  // namespace packetdb::test
