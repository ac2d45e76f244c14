// Writes what is held to the table of keys: the examples, and the tables of the page. A test says
// when one of them is not up to date.
#include <cstdio>
#include <string>

#include "host/config/reference.h"
#include "host/config/sections.h"

namespace {

std::string Page() {
  std::string text;
  for (const auto* sections : {&packetdb::host::Sections(), &packetdb::host::NodeSections()}) {
    for (const auto& section : *sections) {
      text += section->Title() + "\n\n" + packetdb::host::ReferenceTable(*section) + "\n";
    }
  }
  return text + packetdb::host::EventNameTable();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc == 2 ? argv[1] : "";
  std::string text;
  if (what == "example") text = packetdb::host::ExampleConfiguration();
  if (what == "nodes") text = packetdb::host::ExampleNodes();
  if (what == "page") text = Page();
  std::fputs(text.empty() ? "usage: config_reference example|nodes|page\n" : text.c_str(),
             text.empty() ? stderr : stdout);
  return text.empty() ? 2 : 0;
}
