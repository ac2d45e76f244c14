// A cell as text, in one of three manners.
#pragma once

#include <string>

#include "host/printing/cells.h"
#include "host/times/time_text.h"

namespace packetdb::host {

class CellText {
 public:
  explicit CellText(bool utc) : times_(utc) {}

  // For people: names before numbers, "-" for nothing.
  void AppendForPeople(const Cell& cell, std::string* text);
  // For programs: the same, but times in RFC 3339, durations in seconds, and nothing for nothing.
  void AppendForPrograms(const Cell& cell, std::string* text);
  // The number as it is stored; text only where there is no number.
  static void AppendStored(const Cell& cell, std::string* text);

  TimeWriter& times() { return times_; }

 private:
  static void AppendAlike(const Cell& cell, std::string* text);

  TimeWriter times_;
};

void AppendNumber(std::uint64_t number, std::string* text);
// "0.1234".
void AppendShare(std::uint64_t ten_thousandths, std::string* text);

}  // namespace packetdb::host
