// Making a new record file, so that its path never shows a half-made one.
#pragma once

#include <cstdint>
#include <string>

#include "host/record_file/descriptor.h"
#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// What the path is expected to hold when the new file takes its place.
enum class Predecessor {
  kNone,    // nothing: kUnsettled when something has appeared there
  kLocked,  // a file that the caller holds the writer's lock on: it is replaced
};

// A record file of mode 0640 under `path` + ".~new", with all its space allocated. It is removed
// again unless it was published.
//
// Whoever removes or renames a file under the temporary name holds the lock on that very file, so
// no process ever moves another's unfinished file into place. A kill leaves the temporary file,
// which the next creation, or the next writer of the file at `path`, removes.
class Creation {
 public:
  explicit Creation(std::string path) : path_(std::move(path)), temporary_(path_ + ".~new") {}
  Creation(const Creation&) = delete;
  Creation& operator=(const Creation&) = delete;
  ~Creation();

  // Makes it, empty and closed, for records from number `first_sequence` on. kInUse: another
  // process is creating the same file right now. On failure nothing is left behind.
  RecordFileResult Begin(const RecordFormat& format, std::uint64_t first_sequence);

  // Open for writing and locked; none before Begin and after Publish.
  const Descriptor& file() const { return file_; }
  const Superblock& superblock() const { return superblock_; }

  // Flushes it, renames it to the path, and hands it over. On failure the path is as before, unless
  // `file` is open: then it is the last step that failed, to make the new name survive a power cut.
  RecordFileResult Publish(Predecessor predecessor, Descriptor* file);

 private:
  RecordFileResult Open();
  void Remove();
  RecordFileResult Fill(const RecordFormat& format, std::uint64_t first_sequence);
  RecordFileResult Rename(Predecessor predecessor);

  std::string path_;
  std::string temporary_;
  Descriptor file_;
  Superblock superblock_ = {};
};

// Makes an empty file at `path`. `file` is then open and locked for writing.
RecordFileResult CreateRecordFile(const std::string& path, const RecordFormat& format,
                                  Predecessor predecessor, Descriptor* file);

// Removes what a killed creation left behind, if there is anything and nobody is at it.
void RemoveLeftover(const std::string& path);

// Allocates the bytes from `offset` on; kNoSpace and its like leave the file's length unchanged.
RecordFileResult AllocateSpace(const Descriptor& file, std::uint64_t offset, std::uint64_t length);

// Bytes that WriteZeros fills at most.
inline constexpr std::uint64_t kZerosAtMost = std::uint64_t{1} << 30U;

// Fills allocated space with zeros, which it reads as anyway: later stores into space that was
// never written make the file system change its own records in the middle of them. Beyond
// kZerosAtMost that is left to Prefault. Best effort.
void WriteZeros(const Descriptor& file, std::uint64_t begin, std::uint64_t end);

}  // namespace packetdb::host
