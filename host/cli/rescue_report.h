// What `packetdb check --rescue` tells.
#pragma once

#include <cstdio>
#include <string>

#include "host/record_file/rescue.h"

namespace packetdb::host {

struct RescueReport {
  std::string from;
  std::string to;
  Rescued rescued;
};

// A line for each fact.
void PrintRescueText(const RescueReport& report, std::FILE* out);
// One object; docs/guide.md has its keys.
void PrintRescueJson(const RescueReport& report, std::FILE* out);

}  // namespace packetdb::host
