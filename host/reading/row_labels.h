// Which interface the rows of a group's answer were seen on, by the answers of its interfaces.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/rows/row.h"

namespace packetdb::host {

class RowLabels {
 public:
  // Of an interface's answer; its name stays where it is.
  void Add(const Row& row);
  // Gives each row that has no interface the one of a row that was added for it. A writer may have
  // added repeats to either in between. Returns whether every row has one now.
  bool Label(std::vector<Row>* rows);

 private:
  struct Candidate {
    std::string_view interface;
    std::uint32_t count = 0;
    std::uint32_t last_time = 0;
  };
  std::string_view Take(const Row& row);

  std::unordered_map<std::string, std::vector<Candidate>> candidates_;
};

}  // namespace packetdb::host
