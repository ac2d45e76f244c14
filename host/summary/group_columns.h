// How groups are printed: the columns of their keys and of their sums.
#pragma once

#include <cstdint>
#include <vector>

#include "host/printing/cells.h"
#include "host/printing/fields.h"
#include "host/summary/groups.h"

namespace packetdb::host {

// The column of a row's field by its name, with which summaries agree.
PrintColumn FieldColumn(std::string_view name);

// The columns and cells of the fields by which rows are grouped.
class KeyColumns {
 public:
  explicit KeyColumns(const KeyFields& fields);

  void AddColumns(std::vector<PrintColumn>* columns) const;
  // Of a row that has nothing but the fields. A rule is called what its number meant when the
  // newest of the group's events was last seen.
  void AddCells(const Row& row, std::uint32_t last_seconds, FieldNames* names,
                std::vector<Cell>* cells) const;

 private:
  std::vector<const Field*> fields_;
};

// count, bytes, events.
void AddSumColumns(std::vector<PrintColumn>* columns);
void AddSumCells(const Sums& sums, std::vector<Cell>* cells);

// share, first, last.
void AddSpanColumns(std::vector<PrintColumn>* columns);
void AddSpanCells(const Sums& sums, std::uint64_t share, std::vector<Cell>* cells);

}  // namespace packetdb::host
