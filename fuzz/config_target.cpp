// The text of a configuration. Both as that, and as the file of nodes that it may name.
#include <algorithm>
#include <string>
#include <string_view>

#include "fuzz/promise.h"
#include "fuzz/target.h"
#include "host/config/changes.h"
#include "host/config/load.h"
#include "host/config/reference.h"

namespace packetdb::fuzz {
namespace {

using host::Configuration;
using host::Surroundings;

constexpr const char* kFile = "c.toml";
constexpr const char* kNodesFile = "/n.toml";

// Where the users and groups "a" and "root" exist and every file has this text.
Surroundings SystemWith(std::string_view text) {
  const auto exists = [](const std::string& name) { return name == "a" || name == "root"; };
  const auto why_no_filter = [](const std::string& filter) {
    return filter.ends_with("and") ? std::optional<std::string>("syntax error") : std::nullopt;
  };
  return {exists, exists, why_no_filter, [text](const std::string&, std::size_t limit) {
            return host::TextFile{std::string(text.substr(0, limit)), "", false};
          }};
}

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

// Every line of a refusal says in which file it is, and is one line.
void CheckRefusal(const host::ConfigurationError& error, const std::string& nodes_file) {
  Require(!error.problems().empty(), "a refusal has a reason");
  for (const std::string& problem : error.problems()) {
    const bool is_last = &problem == &error.problems().back();
    Require(problem.starts_with(kFile) || problem.starts_with(nodes_file) ||
                (is_last && problem.starts_with("and ")),
            "a problem begins with its file");
    Require(std::none_of(problem.begin(), problem.end(), IsControl), "a problem is one line");
  }
}

void CheckLimits(const Configuration& read) {
  Require(read.log_groups.size() + read.captures.size() <= host::kMostSources, "few sources");
  Require(!read.journals.empty() && read.journals.size() <= host::kMostJournals, "few journals");
  Require(read.exclusions.size() <= host::kMostExclusions, "few exclusions");
  Require(read.rules.size() <= host::kMostRules, "few rules");
  Require(read.directory.starts_with("/"), "an absolute directory");
  for (const auto& rule : read.rules) Require(rule.code >= 1 && rule.code <= 1999, "a code");
  for (const auto& [name, bits] : read.flag_names) Require(bits != 0, "a flag has a bit");
}

// What is shown of a configuration gives it again, with the same file of nodes.
void CheckShown(const Configuration& read, const Surroundings& surroundings) {
  const std::string shown = host::ShowConfiguration(read);
  const Configuration again = host::ParseConfiguration(shown, kFile, surroundings);
  Require(again == read, "a configuration that is shown is the same");
  Require(host::Changes(read, again).empty(), "nothing differs from the same");
  Require(!host::ShowNodes(read).empty() || read.nodes.empty(), "nodes are shown");
}

void TryText(std::string_view text, std::string_view nodes) {
  const Surroundings surroundings = SystemWith(nodes);
  Configuration read;
  try {
    read = host::ParseConfiguration(text, kFile, surroundings);
  } catch (const host::ConfigurationError& error) {
    CheckRefusal(error, "/");
    return;
  }
  CheckLimits(read);
  CheckShown(read, surroundings);
}

}  // namespace

void TryInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  TryText(text, "");
  TryText(std::string("nodes_file = \"") + kNodesFile + "\"\n", text);
}

}  // namespace packetdb::fuzz
