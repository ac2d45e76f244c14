#include "host/config/loader.h"

#include <fmt/format.h>
#include <utility>
#include <variant>

#include "host/config/cross_checks.h"
#include "host/config/event_names.h"
#include "host/config/flag_names.h"
#include "host/config/load.h"
#include "host/config/sections.h"

namespace packetdb::host {
namespace {

constexpr std::string_view kSuffix = ".toml";

// What rules refer to: read before them, whichever file it stands in.
bool IsNameSection(std::string_view name) { return name == "events" || name == "flags"; }

const Section* FindSection(const SectionList& sections, std::string_view name) {
  for (const auto& section : sections) {
    if (!section->name().empty() && section->name() == name) return section.get();
  }
  return nullptr;
}

std::vector<std::string> NamesOfTop() {
  std::vector<std::string> names;
  for (const auto& section : Sections()) {
    if (!section->name().empty()) names.push_back(section->name());
  }
  for (const KeyReference& key : Sections().front()->Keys()) names.push_back(key.name);
  return names;
}

bool IsTopKey(std::string_view name) {
  for (const KeyReference& key : Sections().front()->Keys()) {
    if (key.name == name) return true;
  }
  return false;
}

}  // namespace

Loader::Loader(const Surroundings& surroundings) : surroundings_(surroundings) {
  draft_.configuration.journals.clear();
}

void Loader::AddFile(const std::string& path, bool must_exist) {
  const TextFile file = ReadTextFile(path, kLargestConfigurationFile);
  if (file.missing && !must_exist) return;
  if (file.problem.empty()) {
    AddText(path, file.text);
  } else {
    problems_.Add({problems_.AddFile(path)}, file.problem);
  }
}

void Loader::AddFolder(const std::string& folder) {
  const FolderFiles files = FindFiles(folder, std::string(kSuffix));
  if (!files.problem.empty()) problems_.Add({problems_.AddFile(folder)}, files.problem);
  if (files.paths.size() > kMostConfigurationFiles) {
    problems_.Add({problems_.AddFile(folder)},
                  fmt::format("there are {} files in it, more than {}", files.paths.size(),
                              kMostConfigurationFiles));
    return;
  }
  for (const std::string& path : files.paths) AddFile(path, true);
}

void Loader::AddText(const std::string& path, std::string_view text) {
  const std::size_t file = problems_.AddFile(path);
  if (auto document = ParseDocument(text, file, problems_)) {
    documents_.push_back(std::move(*document));
  }
}

Configuration Loader::Finish() {
  ReadNames();
  ReadTheRest();
  ReadNodes();
  FillDefaults();
  CheckTogether(draft_, problems_);
  if (!problems_.empty()) throw ConfigurationError(problems_.Lines());
  if (!draft_.configuration.intake) {
    draft_.configuration.log_groups.clear();
    draft_.configuration.captures.clear();
  }
  return std::move(draft_.configuration);
}

void Loader::ReadNames() {
  const Reading reading{problems_, draft_.configuration, surroundings_};
  for (const Node& document : documents_) {
    for (const Entry& entry : std::get<Table>(document.value).entries) {
      if (!IsNameSection(entry.name)) continue;
      FindSection(Sections(), entry.name)->Read(entry.node, reading, draft_);
    }
  }
  CheckNames(draft_, problems_);
  Configuration& configuration = draft_.configuration;
  configuration.event_names = EventNamesWith(configuration.event_names);
  configuration.flag_names.insert(HostFlagNames().begin(), HostFlagNames().end());
}

void Loader::ReadTheRest() {
  for (const Node& document : documents_) {
    for (const Entry& entry : std::get<Table>(document.value).entries) {
      if (!IsNameSection(entry.name)) ReadEntry(entry);
    }
  }
}

void Loader::ReadEntry(const Entry& entry) {
  const Reading reading{problems_, draft_.configuration, surroundings_};
  if (const Section* section = FindSection(Sections(), entry.name)) {
    section->Read(entry.node, reading, draft_);
  } else if (IsTopKey(entry.name)) {
    Sections().front()->Read({entry.place, Table{{entry}}}, reading, draft_);
  } else {
    problems_.Add(entry.place, UnknownKeyText(entry.name, "", NamesOfTop()));
  }
}

void Loader::ReadNodes() {
  const std::string path = draft_.configuration.nodes_file;
  if (path.empty()) return;
  const TextFile file = surroundings_.read_file(path, kLargestNodesFile);
  if (file.problem.empty()) {
    ReadNodesText(problems_.AddFile(path), file.text);
  } else {
    problems_.Add(draft_.PlaceOf("nodes_file"),
                  fmt::format("nodes_file: {} {}", path, file.problem));
  }
}

void Loader::ReadNodesText(std::size_t file, std::string_view text) {
  const auto document = ParseDocument(text, file, problems_);
  if (!document) return;
  const Reading reading{problems_, draft_.configuration, surroundings_};
  for (const Entry& entry : std::get<Table>(document->value).entries) {
    if (const Section* section = FindSection(NodeSections(), entry.name)) {
      section->Read(entry.node, reading, draft_);
    } else {
      problems_.Add(entry.place,
                    UnknownKeyText(entry.name, "a file of nodes", {NodeSections()[0]->name()}));
    }
  }
}

void Loader::FillDefaults() {
  Configuration& configuration = draft_.configuration;
  const bool names_sources =
      draft_.elements.contains("log_group") || draft_.elements.contains("capture");
  if (!names_sources) {
    configuration.log_groups.emplace_back();
    configuration.log_groups.back().group = kDefaultLogGroup;
  }
  if (!draft_.elements.contains("journal")) configuration.journals.emplace_back();
}

}  // namespace packetdb::host
