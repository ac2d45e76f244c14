#include "host/summary/group_columns.h"

#include <algorithm>

namespace packetdb::host {
namespace {

const Field* FieldNamed(std::string_view name) {
  const auto fields = RowFields();
  return &*std::find_if(fields.begin(), fields.end(),
                        [&](const Field& field) { return field.name == name; });
}

// Rows have members of their own for these numbers; in a summary nothing else tells rules and
// flags without names apart.
void AddNumberKey(PrintColumn* column) {
  if (column->name == "rule") column->number_key = "rule_number";
  if (column->name == "flags") column->number_key = "flags_value";
}

}  // namespace

PrintColumn FieldColumn(std::string_view name) { return ColumnOf(*FieldNamed(name)); }

KeyColumns::KeyColumns(const KeyFields& fields) {
  for (const KeyField* field : fields) fields_.push_back(FieldNamed(field->name));
}

void KeyColumns::AddColumns(std::vector<PrintColumn>* columns) const {
  for (const Field* field : fields_) {
    columns->push_back(ColumnOf(*field));
    AddNumberKey(&columns->back());
  }
}

void KeyColumns::AddCells(const Row& row, std::uint32_t last_seconds, FieldNames* names,
                          std::vector<Cell>* cells) const {
  CDrvErrorItemV4 event = row.event;
  event.m_FirstTime = last_seconds;  // by which the cell of a rule finds its name
  for (const Field* field : fields_) cells->push_back(field->cell(event, row, *names));
}

void AddSumColumns(std::vector<PrintColumn>* columns) {
  columns->push_back(FieldColumn("count"));
  columns->push_back(FieldColumn("bytes"));
  columns->push_back({"events", "EVENTS", true, false, "", "events"});
}

void AddSumCells(const Sums& sums, std::vector<Cell>* cells) {
  for (const std::uint64_t sum : {sums.count, sums.bytes, sums.events}) {
    cells->push_back(Cell::Number(sum));
  }
}

void AddSpanColumns(std::vector<PrintColumn>* columns) {
  columns->push_back({"share", "SHARE", true, false, "", "share"});
  columns->push_back(FieldColumn("first"));
  columns->push_back(FieldColumn("last"));
}

void AddSpanCells(const Sums& sums, std::uint64_t share, std::vector<Cell>* cells) {
  cells->push_back(Cell::Share(share));
  cells->push_back(MomentCell(sums.first));
  cells->push_back(MomentCell(sums.last));
}

}  // namespace packetdb::host
