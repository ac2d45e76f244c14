#include "host/config/sections.h"

#include <algorithm>

namespace packetdb::host {
namespace {

SectionList MakeSections() {
  SectionList sections;
  sections.push_back(MakeTopSection());
  sections.push_back(MakeLogGroupSection());
  sections.push_back(MakeCaptureSection());
  sections.push_back(MakeJournalSection());
  sections.push_back(MakeRuleSection());
  sections.push_back(MakeEventNameSection());
  sections.push_back(MakeFlagNameSection());
  sections.push_back(MakeExclusionSection());
  sections.push_back(MakeSocketSection());
  sections.push_back(MakeMetricsSection());
  sections.push_back(MakeLimitSection());
  sections.push_back(MakeSyncSection());
  sections.push_back(MakeLogSection());
  return sections;
}

SectionList MakeNodeSections() {
  SectionList sections;
  sections.push_back(MakeNodeSection());
  return sections;
}

bool HasKey(const Section& section, std::string_view name) {
  const std::vector<KeyReference> keys = section.Keys();
  return std::any_of(keys.begin(), keys.end(),
                     [name](const KeyReference& key) { return key.name == name; });
}

}  // namespace

const SectionList& Sections() {
  static const SectionList sections = MakeSections();
  return sections;
}

const SectionList& NodeSections() {
  static const SectionList sections = MakeNodeSections();
  return sections;
}

std::string TitleOfSectionWith(std::string_view key) {
  for (const auto& section : Sections()) {
    if (!HasKey(*section, key)) continue;
    return section->name().empty() ? "before the first table" : "into " + section->Title();
  }
  return "";
}

}  // namespace packetdb::host
