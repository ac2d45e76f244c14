// A line of a report for people: what it is about, and the text beside it.
#pragma once

#include <cstdio>
#include <fmt/format.h>
#include <string>
#include <string_view>

namespace packetdb::host {

inline void PrintLine(std::FILE* out, std::string_view name, const std::string& text) {
  std::fputs(fmt::format("{:<12}  {}\n", name, text).c_str(), out);
}

}  // namespace packetdb::host
