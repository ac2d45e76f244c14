#include "host/config/document.h"

#include <fmt/format.h>
#include <utility>

// The parser walks nested lists by recursion.
#define TOML_MAX_NESTED_VALUES 16
#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

#include "host/config/line_rules.h"

namespace packetdb::host {
namespace {

class Converter {
 public:
  Converter(std::size_t file, Problems& problems) : file_(file), problems_(problems) {}

  Node Convert(const toml::node& node, int depth) {
    Node converted{PlaceOf(node.source()), OtherValue{KindOf(node)}};
    if (depth > kDeepestNesting) {
      Refuse(converted.place);
    } else if (const auto* table = node.as_table()) {
      converted.value = ConvertTable(*table, depth);
    } else if (const auto* list = node.as_array()) {
      converted.value = ConvertList(*list, depth);
    } else if (const auto* flag = node.as_boolean()) {
      converted.value = flag->get();
    } else if (const auto* number = node.as_integer()) {
      converted.value = number->get();
    } else if (const auto* text = node.as_string()) {
      converted.value = text->get();
    }
    return converted;
  }

  bool failed() const { return failed_; }

 private:
  Table ConvertTable(const toml::table& table, int depth) {
    Table converted;
    converted.entries.reserve(table.size());
    for (const auto& [key, node] : table) {
      converted.entries.push_back(
          {std::string(key.str()), PlaceOf(key.source()), Convert(node, depth + 1)});
    }
    return converted;
  }

  List ConvertList(const toml::array& array, int depth) {
    List converted;
    converted.reserve(array.size());
    for (const toml::node& node : array) converted.push_back(Convert(node, depth + 1));
    return converted;
  }

  static std::string_view KindOf(const toml::node& node) {
    switch (node.type()) {
      case toml::node_type::floating_point:
        return "a number with a fraction";
      case toml::node_type::date:
      case toml::node_type::time:
      case toml::node_type::date_time:
        return "a date or a time";
      default:
        return "a value of another kind";
    }
  }

  Place PlaceOf(const toml::source_region& source) const {
    return {file_, source.begin.line, source.begin.column};
  }

  void Refuse(const Place& place) {
    problems_.Add(place, "nested too deeply");
    failed_ = true;
  }

  std::size_t file_;
  Problems& problems_;
  bool failed_ = false;
};

}  // namespace

const Entry* Table::Find(std::string_view name) const {
  for (const Entry& entry : entries) {
    if (entry.name == name) return &entry;
  }
  return nullptr;
}

std::optional<Node> ParseDocument(std::string_view text, std::size_t file, Problems& problems) {
  if (const auto fault = FindLineFault(text, kLongestLine)) {
    problems.Add({file, fault->line, fault->column}, fault->text);
    return std::nullopt;
  }
  const toml::parse_result parsed = toml::parse(text);
  if (!parsed) {
    const toml::parse_error& error = parsed.error();
    const toml::source_position begin = error.source().begin;
    problems.Add({file, begin.line, begin.column},
                 fmt::format("this is no TOML: {}", error.description()));
    return std::nullopt;
  }
  Converter converter(file, problems);
  Node root = converter.Convert(parsed.table(), 0);
  if (converter.failed()) return std::nullopt;
  return root;
}

}  // namespace packetdb::host
