// The journal that queries are answered from: in memory, the process's own, and gone at its end.
#pragma once

#include <string>
#include <vector>

#include "tests/system/support/records.h"

namespace packetdb::fuzz {

class AskedJournal {
 public:
  AskedJournal();
  ~AskedJournal();
  AskedJournal(const AskedJournal&) = delete;
  AskedJournal& operator=(const AskedJournal&) = delete;

  const std::string& directory() const { return directory_; }
  const std::vector<host::test::SeenEvent>& events() const { return events_; }

 private:
  std::string directory_;
  std::vector<host::test::SeenEvent> events_;
};

inline constexpr char kAskedGroup[] = "edge";

}  // namespace packetdb::fuzz
