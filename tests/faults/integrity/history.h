// What was written to a record file, so that whatever is read from it can be judged.
//
// A record is a function of its sequence number and its version, that is how often it has been
// overwritten; both stand in front of it. So one record alone tells whether it is whole, and the
// history tells whether it is the one that had to be there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/record_file/geometry.h"

class CDbFile;

namespace packetdb::faults {

struct Identity {
  std::uint64_t sequence = 0;
  std::uint32_t version = 0;
};

// Sizes of at least this have room for an identity.
inline constexpr std::uint64_t kLeastRecordSize = 16;

void MakeRecord(const Identity& identity, std::uint64_t size, std::byte* record);

// Nothing when the bytes are not exactly those of the record that they begin as.
std::optional<Identity> IdentityOf(const std::byte* record, std::uint64_t size);

// A file that is to be made.
struct Recipe {
  std::string magic = "faults";
  std::uint64_t record_size = 72;
  std::uint64_t capacity = 960;   // 0: no bound
  std::uint64_t appended = 6000;  // records in all; the newest `capacity` of them are live
  std::uint64_t overwritten = 300;

  // As CDbFile::Init wants the capacity.
  unsigned long MaxRecords() const { return capacity == 0 ? ~0UL : capacity; }
};

class History {
 public:
  explicit History(const Recipe& recipe) : recipe_(recipe) {}

  // Creates the file at `path`, anew, with `file`, which is then open for writing, and does what
  // the recipe says. Throws std::runtime_error when the file refuses something.
  void Write(const std::string& path, CDbFile& file);
  // The same, and closes the file.
  void Write(const std::string& path);
  // Opens the file again and does what is left of a longer recipe, overwriting as often once more.
  void Continue(const std::string& path, CDbFile& file, const Recipe& recipe);

  const Recipe& recipe() const { return recipe_; }
  host::Window live() const;
  // Whose frame the redo sector holds; nothing without an overwrite.
  std::optional<std::uint64_t> redo() const { return redo_; }

  // Whether the bytes are a record that was written, in its last version; which one is `sequence`.
  bool IsCurrent(const std::byte* record, std::uint64_t* sequence) const;

 private:
  void Fill(CDbFile& file);
  void Append(CDbFile& file);
  void Overwrite(CDbFile& file, std::uint64_t sequence);
  const std::byte* RecordOf(std::uint64_t sequence) const {
    return records_.data() + sequence * recipe_.record_size;
  }

  Recipe recipe_;
  std::vector<std::byte> records_;  // in their last version, by sequence number
  std::vector<std::uint32_t> versions_;
  std::optional<std::uint64_t> redo_;
};

}  // namespace packetdb::faults
