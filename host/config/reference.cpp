#include "host/config/reference.h"

#include <algorithm>
#include <fmt/format.h>

#include "host/config/event_names.h"
#include "host/config/sections.h"

namespace packetdb::host {
namespace {

std::string DefaultCell(const KeyReference& key) {
  return key.has_default ? "`" + key.default_text + "`" : key.default_text;
}

std::string Row(const KeyReference& key) {
  return fmt::format("| `{}` | {} | {} | {} | {} |\n", key.name, key.takes, DefaultCell(key),
                     key.help, WordFor(key.effect));
}

std::string ShowAll(const SectionList& sections, const Configuration& configuration) {
  std::string text;
  for (const auto& section : sections) {
    const std::string part = section->Show(configuration);
    if (part.empty()) continue;
    if (!text.empty()) text += '\n';
    text += part;
  }
  return text;
}

}  // namespace

std::string ReferenceTable(const Section& section) {
  std::string table =
      "| Key | Takes | Default | Meaning | A change takes |\n|---|---|---|---|---|\n";
  for (const KeyReference& key : section.Keys()) table += Row(key);
  return table;
}

std::string EventNameTable() {
  std::string table = "| Code | Name |\n|---|---|\n";
  for (const EventName& each : DefaultEventNames()) {
    table += fmt::format("| {} | `{}` |\n", each.code, each.name);
  }
  return table;
}

std::string ShowConfiguration(const Configuration& configuration) {
  return ShowAll(Sections(), configuration);
}

std::string ShowNodes(const Configuration& configuration) {
  return ShowAll(NodeSections(), configuration);
}

}  // namespace packetdb::host
