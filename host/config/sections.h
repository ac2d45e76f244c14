// All tables of the configuration.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/section.h"

namespace packetdb::host {

using SectionList = std::vector<std::unique_ptr<Section>>;

// Of the configuration's files, in the order in which people read of them: first what stands before
// the first table.
const SectionList& Sections();
// Of the file of nodes.
const SectionList& NodeSections();

// Of the section in which there is a key of that name, for a message: "into [socket]", "before the
// first table". Empty: of none.
std::string TitleOfSectionWith(std::string_view key);

// The groups of sections, each in a source of its own.
std::unique_ptr<Section> MakeTopSection();
std::unique_ptr<Section> MakeLogGroupSection();
std::unique_ptr<Section> MakeCaptureSection();
std::unique_ptr<Section> MakeJournalSection();
std::unique_ptr<Section> MakeRuleSection();
std::unique_ptr<Section> MakeEventNameSection();
std::unique_ptr<Section> MakeFlagNameSection();
std::unique_ptr<Section> MakeExclusionSection();
std::unique_ptr<Section> MakeSocketSection();
std::unique_ptr<Section> MakeMetricsSection();
std::unique_ptr<Section> MakeLimitSection();
std::unique_ptr<Section> MakeSyncSection();
std::unique_ptr<Section> MakeLogSection();
std::unique_ptr<Section> MakeNodeSection();

}  // namespace packetdb::host
