// Files in which every key is there as a comment.
#include <algorithm>
#include <fmt/format.h>
#include <sstream>
#include <string>

#include "host/config/reference.h"
#include "host/config/sections.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kColumns = 96;

// As a comment, without the marks that only a page shows.
std::string Comment(std::string text) {
  std::erase(text, '`');
  std::istringstream words(text);
  std::string lines;
  std::string line = "#";
  for (std::string word; words >> word;) {
    if (line.size() + 1 + word.size() > kColumns) {
      lines += line;
      lines += '\n';
      line = "#";
    }
    line += ' ';
    line += word;
  }
  return lines + line + "\n";
}

// An empty text or list shows nobody what the key is for.
bool ShowsSomething(const KeyReference& key) {
  return key.has_default && key.default_text != "\"\"" && key.default_text != "[]";
}

std::string KeyLines(const KeyReference& key, bool in_list) {
  const bool as_default = in_list ? ShowsSomething(key) : key.has_default;
  std::string takes = "Takes " + key.takes + ".";
  if (key.required) takes += " It has to be given.";
  if (!key.required && !as_default) takes += " Default: " + key.default_text + ".";
  return Comment(key.help + " " + takes) +
         fmt::format("#{} = {}\n", key.name, as_default ? key.default_text : key.example);
}

std::string SectionLines(const Section& section) {
  const bool in_list = section.Title().starts_with("[[");
  std::string text = "\n" + Comment(section.help());
  // An empty table changes nothing, and a key is given by taking the mark off its line alone. An
  // element of a list is there as soon as its head is.
  if (!section.name().empty()) text += (in_list ? "#" : "") + section.Title() + "\n";
  for (const KeyReference& key : section.Keys()) text += KeyLines(key, in_list);
  return text;
}

std::string File(const std::string& introduction, const SectionList& sections) {
  std::string text = Comment(introduction);
  for (const auto& section : sections) text += SectionLines(*section);
  return text;
}

}  // namespace

std::string ExampleConfiguration() {
  return File(
      "The configuration of packetdbd. Every key is here, as a comment: with its default, or, "
      "where that is nothing or in a table with double brackets, with an example. To give one, "
      "take the # off its line. "
      "`packetdbd --check-config` says whether the file is right; docs/configuration.md explains "
      "it.",
      Sections());
}

std::string ExampleNodes() {
  return File(
      "Which networks belong to which nodes. The key nodes_file of packetdbd's configuration names "
      "this file.",
      NodeSections());
}

}  // namespace packetdb::host
