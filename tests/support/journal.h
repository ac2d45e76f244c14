// A file storage on a record file in memory, with verbs for what a host does with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "packetdb/storage.h"
#include "tests/support/events.h"

namespace packetdb::test {

inline constexpr const char* kMagic4 = "Zolrak-Packet-Database-4";
inline constexpr const char* kJournalPath = "/journal";

class Journal {
 public:
  // An open journal at `path` that merges repeats within `window` seconds.
  explicit Journal(int capacity = 1000, time_t window = 0, const std::string& path = kJournalPath);
  ~Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  DbFileStorage& storage() { return *storage_; }
  boost::shared_ptr<IJournalStorage> shared() const { return storage_; }

  // Adds the event at its last time: the clock reads that second.
  void Add(const CDrvErrorItemV4& event, std::uint64_t adapter_name_hash = 0);
  // Appends single packets at these seconds that never merge.
  void AddSeparately(const std::vector<std::uint32_t>& seconds);
  // The records, oldest first, as AllTimes shows them.
  std::vector<std::string> Rows() const;
  // The packed bytes at a position of the file itself.
  std::string Bytes(std::size_t position) const;

 private:
  std::string path_;
  boost::shared_ptr<DbFileStorage> storage_;
  std::uint32_t separate_ = 0;
};

}  // namespace packetdb::test
