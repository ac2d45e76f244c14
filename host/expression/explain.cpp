#include "host/expression/explain.h"

#include <fmt/format.h>

#include "host/expression/printer.h"

namespace packetdb::host::expression {
namespace {

std::string Line(const char* who, const Node& node, const char* otherwise, const Names& names) {
  return fmt::format("{:<11} {}\n", who, IsEverything(node) ? otherwise : Print(node, names));
}

}  // namespace

std::string Explain(const Division& division, const Names& names) {
  if (division.never) return "daemon      (is not asked: nothing can match)\n";
  std::string text = Line("daemon", division.asked, "(nothing: it sends every record)", names) +
                     Line("client", division.rest, "(nothing)", names);
  if (!IsEverything(division.interfaces)) {
    text += Line("interfaces", division.interfaces, "", names);
  }
  return text;
}

}  // namespace packetdb::host::expression
