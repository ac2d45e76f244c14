#include "host/daemon/names_command.h"

#include <string>
#include <vector>

#include "host/daemon/names_rows.h"
#include "host/journals/error.h"
#include "host/status/text_rows.h"

namespace packetdb::host {

namespace {

// A dictionary that cannot be read is no reason to withhold the other names.
RuleDictionary LoadRules(const std::string& directory, std::vector<std::string>* problems) {
  try {
    RuleDictionary rules = RuleDictionary::Load(directory);
    *problems = rules.problems();
    return rules;
  } catch (const JournalError& error) {
    problems->emplace_back(error.what());
    return {};
  }
}

}  // namespace

int NamesCommand::call(CAbstractPacketOptions* message) {
  std::vector<std::string> problems;
  const RuleDictionary rules = LoadRules(configuration_.directory, &problems);
  return SendTextRows(*message, NamesRows(configuration_, rules, problems));
}

const char* NamesCommand::desc() const { return "telling the names of numbers"; }

UdbDispatcher::IUdbCallback* NamesCommand::Clone() const {
  return new NamesCommand(configuration_);
}

}  // namespace packetdb::host
