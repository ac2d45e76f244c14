// Prints groups: their keys, their sums, and how much of all that is.
#pragma once

#include <cstdio>
#include <memory>

#include "host/printing/table_printer.h"
#include "host/summary/group_columns.h"

namespace packetdb::host {

class GroupPrinter {
 public:
  // Shares are of the sum of that kind over all groups. All must outlive it. Throws PrintError for
  // a template that makes no sense.
  GroupPrinter(const Groups& groups, SumKind kind, const PrintOptions& options, const Names& names,
               std::FILE* out);

  void Print(const KeyBytes* key, const Sums& sums);
  void Finish() { table_->Finish(); }

 private:
  const Groups& groups_;
  SumKind kind_;
  FieldNames names_;
  KeyColumns keys_;
  std::unique_ptr<TablePrinter> table_;
};

}  // namespace packetdb::host
