// A journal together with what it has acknowledged: the oracle of the programs in this folder.
//
// The content of a record follows from its number and its version, so that a record can be told to
// be the right one, another version of it, another one, or torn.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/record_file.h"
#include "tests/faults/limits/verdict.h"

namespace packetdb::faults {

inline constexpr const char* kMagic = "packetdb-fault";
inline constexpr unsigned long kRecordSize = 72;
inline constexpr unsigned long kNoBound = static_cast<unsigned long>(-1);

// Bits of the mode of CDbFile::Init.
inline constexpr int kModeRead = 0;
inline constexpr int kModeWrite = 1;
inline constexpr int kModeAnew = 3;
inline constexpr int kModeMissing = 5;

class DrivenJournal {
 public:
  // Nothing is opened yet. `capacity` may be kNoBound.
  DrivenJournal(std::string path, unsigned long capacity);

  // Opens it for writing, with the capacity last asked for. Returns what Init does.
  int Open(int mode = kModeMissing);
  void AskForCapacity(unsigned long capacity) { capacity_ = capacity; }
  // Finds out what the file keeps, which may be other than what was asked for: when there was no
  // room for more. Done by itself at the first change after an opening, unless it was done before.
  void LearnCapacity();

  // Return what the record file does, and remember what it acknowledged.
  int Append();
  int Merge();  // another version of one of the newest records, of which there is one
  // Appends, and merges now and then; throws when one is refused.
  void AppendMany(std::uint64_t count);
  void Close();
  bool is_open() const { return is_open_; }

  const std::string& path() const { return path_; }
  CDbFile& file() { return file_; }
  std::uint64_t appended() const { return versions_.size(); }

  // Closes the journal and requires that fresh opens, first for reading and then for writing, show
  // exactly what was acknowledged: the newest records, as many as there is room for, each in its
  // last version. A merge that failed may have left either version, an opening that was to empty
  // the file and failed may have emptied it.
  void Judge(const std::string& when, Verdict* verdict);

  // Requires that `file` shows exactly what was acknowledged now. Returns whether it does.
  bool JudgeOpen(const std::string& when, CDbFile& file, Verdict* verdict);

  // Requires that whatever `file` hands out now is a record that was acknowledged. Returns how many
  // it hands out.
  std::uint64_t JudgeWhatIsLeft(const std::string& when, CDbFile& file, Verdict* verdict) const;

 private:
  using Record = std::array<std::uint64_t, kRecordSize / sizeof(std::uint64_t)>;
  struct Doubt {
    std::uint64_t number;
    std::uint64_t version;
  };

  static Record MakeRecord(std::uint64_t number, std::uint64_t version);
  static std::uint64_t NumberOf(const Record& record);  // of one that MakeRecord made
  bool IsRight(const Record& record, std::uint64_t number) const;
  std::uint64_t FirstWrong(CDbFile& file) const;
  void ForgetAll();

  const std::string path_;
  unsigned long capacity_;  // asked for
  std::uint64_t kept_ = 0;  // records that the file keeps; 0: no bound
  bool knows_kept_ = false;
  CDbFile file_;
  std::vector<std::uint64_t> versions_;  // of each record that was acknowledged, by its number
  std::vector<int> tickets_;             // of the same records
  std::uint64_t oldest_ = 0;             // number of the oldest record that must be there
  std::uint64_t last_version_ = 0;
  std::optional<Doubt> doubt_;  // the merge that failed
  bool may_be_empty_ = false;
  bool is_open_ = false;
};

// What a check of the closed file finds broken in it; empty when nothing is.
std::string DamageOf(const std::string& path);

// "-141 (no space left on the disk or in the quota)".
std::string Describe(int result);

// Requires that it is negative: one of the record file's own codes, not an accident.
void RequireRefusal(const std::string& what, int result, Verdict* verdict);

}  // namespace packetdb::faults
