#include "host/intake/intake.h"

#include <algorithm>
#include <ctime>
#include <deque>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <vector>

#include "host/intake/exclusions.h"
#include "host/intake/journal_slot.h"
#include "host/intake/node_memo.h"
#include "host/intake/node_table.h"
#include "host/intake/prefix_table.h"
#include "host/intake/route_table.h"
#include "host/intake/rule_numbers.h"
#include "host/intake/rule_set.h"
#include "host/intake/source_row.h"
#include "host/sources/event.h"
#include "host/status/shared_page.h"

namespace packetdb::host {

namespace {

// Names are what the rows go by.
std::string RowName(const ExclusionSettings& exclusion, std::size_t place) {
  return exclusion.name.empty() ? fmt::format("exclusion-{}", place + 1) : exclusion.name;
}

}  // namespace

struct Intake::Parts {
  Parts(const Configuration& configuration, StatusPage& status_page);

  void Take(const LiveEvent& event);
  void CountExcluded(int exclusion, const CDrvErrorItemV4& item);
  void Journal(const LiveEvent& event, PrefixDecision& decision, Route& route);
  SourceRow& RowOf(const LiveSource& of);
  ExclusionStatus* RowOf(const ExclusionSettings& exclusion, std::size_t place);
  void PublishForgotten();

  StatusPage& page;
  std::deque<JournalSlot> journals;  // first: they make the directory
  std::optional<RuleNumbers> numbers;
  RuleSet rules;
  Exclusions exclusions;
  std::vector<ExclusionStatus*> exclusion_rows;  // null: not counted, or the page has no room
  PrefixTable prefixes;
  NodeMemo nodes;
  RouteTable routes;
  std::deque<SourceRow> sources;
  SourceStatus no_source;  // of events before the first Begin
  SourceStatus* source = &no_source;
  bool has_journaled = false;        // since the last End
  std::uint64_t told_forgotten = 0;  // in the page already
};

Intake::Parts::Parts(const Configuration& configuration, StatusPage& status_page)
    : page(status_page),
      rules(configuration.rules),
      exclusions(configuration.exclusions),
      prefixes(rules, exclusions),
      nodes(NodeTable(configuration.nodes)),
      routes(configuration.journals) {
  // From here on the C library knows the time zone, and opens no file for it at the first log line.
  tzset();
  SetFlushing(configuration.sync.interval, configuration.sync.bytes);
  for (const JournalSettings& journal : configuration.journals) {
    journals.emplace_back(configuration.directory, journal, page);
  }
  numbers.emplace(configuration.directory, page.rules);
  for (std::size_t i = 0; i < configuration.exclusions.size(); ++i) {
    exclusion_rows.push_back(RowOf(configuration.exclusions[i], i));
  }
}

ExclusionStatus* Intake::Parts::RowOf(const ExclusionSettings& exclusion, std::size_t place) {
  if (exclusion.action == ExclusionSettings::Action::kDrop) {
    return nullptr;
  }
  return FindOrAddRow(page.exclusions, RowName(exclusion, place));
}

void Intake::Parts::Take(const LiveEvent& event) {
  PrefixDecision& decision = prefixes.Find(event.prefix);
  if (decision.is_malformed) {
    source->remarks[static_cast<std::size_t>(Remark::kMalformedPrefix)].Add(1);
  }
  const int exclusion = exclusions.Find(decision.exclusions, event.event.item);
  if (exclusion != Exclusions::kNone) {
    CountExcluded(exclusion, event.event.item);
    return;
  }
  Route& route = routes.Find(event.event.interface, event.log_group);
  if (route.journal == Route::kNoJournal) {
    source->unrouted.Add(1);
    return;
  }
  Journal(event, decision, route);
}

void Intake::Parts::CountExcluded(int exclusion, const CDrvErrorItemV4& item) {
  source->excluded.Add(1);
  ExclusionStatus* const row = exclusion_rows[static_cast<std::size_t>(exclusion)];
  if (row != nullptr) {
    row->packets.Add(item.m_Count);
    row->bytes.Add(item.m_PacketSize);
  }
}

void Intake::Parts::Journal(const LiveEvent& event, PrefixDecision& decision, Route& route) {
  const std::int64_t now = event.event.time;
  if (!decision.is_numbered) {
    numbers->Number(decision, event.prefix, now);
  }
  CDrvErrorItemV4 item = event.event.item;
  item.m_ErrorCode = decision.code;
  item.m_Flags |= decision.flags;
  item.m_SrcId = nodes.Find(item.m_SrcIp);
  item.m_DstId = nodes.Find(item.m_DstIp);
  if (!journals[static_cast<std::size_t>(route.journal)].Take(item, route, now)) {
    return;
  }
  source->journaled.Add(1);
  has_journaled = true;
  if ((decision.flags & kRuleMask) == 0 && !event.prefix.empty()) {
    page.rules.unnumbered.Add(1);
  }
}

SourceRow& Intake::Parts::RowOf(const LiveSource& of) {
  const auto row = std::find_if(sources.begin(), sources.end(), [&](const SourceRow& candidate) {
    return candidate.name() == of.name();
  });
  return row != sources.end() ? *row : sources.emplace_back(page, of.name());
}

void Intake::Parts::PublishForgotten() {
  const std::uint64_t now = prefixes.times_emptied() + routes.times_emptied();
  page.rules.forgotten.Add(now - told_forgotten);
  told_forgotten = now;
}

Intake::Intake(const Configuration& configuration, StatusPage& page)
    : parts_(std::make_unique<Parts>(configuration, page)) {}

Intake::~Intake() = default;

void Intake::Begin(const LiveSource& source) { parts_->source = &parts_->RowOf(source).status(); }

void Intake::Take(const LiveEvent& event) { parts_->Take(event); }

void Intake::End(const LiveSource& source) {
  parts_->RowOf(source).Publish(source);
  parts_->PublishForgotten();
  if (parts_->has_journaled) {
    parts_->has_journaled = false;
    parts_->page.daemon.last_event_unix.Set(static_cast<std::uint64_t>(std::time(nullptr)));
  }
}

}  // namespace packetdb::host
