#include "host/reading/names_of_files.h"

#include <filesystem>

#include "host/config/load.h"
#include "host/journals/error.h"

namespace packetdb::host {

namespace {

RuleDictionary RulesBeside(const std::string& journal, std::vector<std::string>* problems) {
  const std::string folder = std::filesystem::path(journal).parent_path().string();
  try {
    RuleDictionary rules = RuleDictionary::Load(folder.empty() ? "." : folder);
    problems->insert(problems->end(), rules.problems().begin(), rules.problems().end());
    return rules;
  } catch (const JournalError& error) {
    problems->emplace_back(error.what());
    return {};
  }
}

}  // namespace

Names NamesOfFiles(const std::string& journal, const std::string& configuration,
                   std::vector<std::string>* problems) {
  Names names;
  if (!configuration.empty()) {
    const Configuration loaded = LoadConfiguration({.file = configuration, .must_exist = true});
    names.SetEvents(loaded.event_names);
    names.SetFlags(loaded.flag_names);
    NameTable nodes;
    for (const NodeSettings& node : loaded.nodes) {
      nodes.emplace(node.name, node.id);
    }
    names.SetNodes(nodes);
  }
  names.SetRules(RulesBeside(journal, problems));
  return names;
}

}  // namespace packetdb::host
