// The template that lines are printed after.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace packetdb::host {

struct TemplatePart {
  std::string before;    // stands in front of the field
  std::string name;      // of the field; empty behind the last one
  char alignment = '<';  // or '>' or '^'
  std::size_t width = 0;
};

// "{src}:{src_port} {count:>8}": fields stand between braces, with alignment and width behind a
// colon. {{ and }} are braces, \n, \t and \\ a line feed, a tab and a backslash. Throws PrintError
// for anything else with a brace or a backslash, and for a template without a field. Names are any.
std::vector<TemplatePart> ParseTemplate(std::string_view text);

}  // namespace packetdb::host
