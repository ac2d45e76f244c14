// Our record file, through the interface that the library calls it by.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/stores/variant.h"
#include "bench/support/record.h"
#include "host/record_file/settings.h"
#include "platform/record_file.h"

namespace packetdb::bench {

inline constexpr const char* kJournalMagic = "packetdb benchmark";

// Opens `path` with these settings; the process's own settings are as before afterwards. Throws
// when it does not open. `mode` is that of CDbFile::Init.
void OpenJournal(const std::string& path, std::uint64_t capacity, int mode,
                 const host::RecordFileSettings& settings, CDbFile* file);

class JournalStore {
 public:
  struct Options {
    std::uint64_t capacity = 0;
    host::RecordFileSettings settings;
  };
  static std::vector<Variant<JournalStore>> Variants(std::uint64_t capacity);

  JournalStore(const std::string& path, const Options& options);

  void Fill(std::uint64_t count);
  void Append(const Record& record);
  void Overwrite(std::uint64_t position, const Record& record);
  void Read(std::uint64_t position, Record* record);
  void ReadMany(std::uint64_t first, Record* records, int count);
  void Finish() {}

  const std::string& path() const { return path_; }

 private:
  std::string path_;
  Options options_;
  CDbFile file_;
  std::uint64_t count_ = 0;  // appended, ever
};

// The records of a journal as another process would read them, beside its writer.
class JournalReader {
 public:
  JournalReader(const std::string& path, std::uint64_t count);

  void Read(std::uint64_t position, Record* record);
  void ReadMany(std::uint64_t first, Record* records, int count);

 private:
  CDbFile file_;
};

}  // namespace packetdb::bench
