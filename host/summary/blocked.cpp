#include "host/summary/blocked.h"

#include "host/printing/table_printer.h"
#include "host/sources/event.h"
#include "host/summary/group_columns.h"

namespace packetdb::host {
namespace {

constexpr const char* kBlockedBy = "src,proto,dst_port,verdict,rule";

std::vector<PrintColumn> BlockedColumns(const KeyColumns& keys) {
  std::vector<PrintColumn> columns;
  keys.AddColumns(&columns);
  columns.push_back(FieldColumn("rule_text"));
  columns.push_back(FieldColumn("dst"));
  AddSumColumns(&columns);
  AddSpanColumns(&columns);
  return columns;
}

// Programs get an address or nothing.
Cell DestinationCell(const Sums& sums, PrintFormat format) {
  if (!sums.has_more_destinations) return Cell::Address(sums.dst);
  const bool is_for_people = format == PrintFormat::kTable || format == PrintFormat::kWide ||
                             format == PrintFormat::kTemplate;
  return is_for_people ? Cell::Text("several") : Cell();
}

Cell RuleTextCell(const Row& row, const Sums& sums, const FieldNames& names) {
  CDrvErrorItemV4 event = row.event;
  event.m_FirstTime = sums.last;  // the same moment as of the rule's prefix
  return TextOrNull(names.RuleText(event));
}

}  // namespace

Blocked::Blocked(const BlockedOptions& options)
    : options_(options), groups_(ParseKeyFields(kBlockedBy), false, options.most_keys) {}

void Blocked::Add(const Row& row) {
  if ((row.event.m_Flags & (kFlagDropped | kFlagRejected)) != 0) groups_.Add(row);
}

void Blocked::Print(const PrintOptions& options, const Names& names, std::FILE* out) {
  FieldNames field_names(names, options);
  const KeyColumns keys(groups_.layout().fields());
  const auto table = MakeTablePrinter(options, BlockedColumns(keys), out);
  const std::uint64_t total = groups_.total().Of(options_.sort);
  for (const Group& group : LargestGroups(&groups_, options_.sort, options_.most)) {
    const Row row = groups_.layout().RowOf(group.key.data());
    std::vector<Cell> cells;
    keys.AddCells(row, group.sums.last, &field_names, &cells);
    cells.push_back(RuleTextCell(row, group.sums, field_names));
    cells.push_back(DestinationCell(group.sums, options.format));
    AddSumCells(group.sums, &cells);
    AddSpanCells(group.sums, ShareOf(group.sums.Of(options_.sort), total), &cells);
    table->Add(cells);
  }
  table->Finish();
}

}  // namespace packetdb::host
