// Prints the lines of a histogram.
#pragma once

#include <cstdio>
#include <vector>

#include "host/summary/group_columns.h"
#include "host/summary/histogram.h"
#include "host/summary/histogram_lines.h"

namespace packetdb::host {

class HistogramPrinter {
 public:
  // `values` holds the largest values of the fields, whose keys have `layout`; null where rows are
  // in bins only. All must outlive it.
  HistogramPrinter(const HistogramOptions& histogram, const KeyLayout* layout,
                   const std::vector<Group>& values, const PrintOptions& options,
                   const Names& names);

  // Throws PrintError for a template that makes no sense.
  void Print(const std::vector<HistogramLine>& lines, std::FILE* out);

 private:
  std::vector<PrintColumn> Columns() const;
  std::vector<Cell> CellsOf(const HistogramLine& line);
  void AddValueCells(const HistogramLine& line, std::vector<Cell>* cells);
  std::size_t BarWidth(const std::vector<HistogramLine>& lines);

  const HistogramOptions& histogram_;
  const KeyLayout* layout_;
  const std::vector<Group>& values_;
  const PrintOptions& options_;
  FieldNames names_;
  KeyColumns keys_;
  bool is_for_people_;
};

}  // namespace packetdb::host
