#include "host/summary/group_printer.h"

namespace packetdb::host {
namespace {

std::vector<PrintColumn> GroupColumns(const KeyColumns& keys) {
  std::vector<PrintColumn> columns;
  keys.AddColumns(&columns);
  AddSumColumns(&columns);
  AddSpanColumns(&columns);
  return columns;
}

}  // namespace

GroupPrinter::GroupPrinter(const Groups& groups, SumKind kind, const PrintOptions& options,
                           const Names& names, std::FILE* out)
    : groups_(groups),
      kind_(kind),
      names_(names, options),
      keys_(groups.layout().fields()),
      table_(MakeTablePrinter(options, GroupColumns(keys_), out)) {}

void GroupPrinter::Print(const KeyBytes* key, const Sums& sums) {
  std::vector<Cell> cells;
  keys_.AddCells(groups_.layout().RowOf(key), sums.last, &names_, &cells);
  AddSumCells(sums, &cells);
  AddSpanCells(sums, ShareOf(sums.Of(kind_), groups_.total().Of(kind_)), &cells);
  table_->Add(cells);
}

}  // namespace packetdb::host
