// csv (RFC 4180), tsv and raw.
#pragma once

#include "host/printing/cell_text.h"
#include "host/printing/output.h"
#include "host/printing/table_printer.h"

namespace packetdb::host {

class DelimitedTable : public TablePrinter {
 public:
  DelimitedTable(const PrintOptions& options, const std::vector<PrintColumn>& columns,
                 std::FILE* out);

  void Add(std::span<const Cell> cells) override;
  void Flush() override { output_.Flush(); }
  void Finish() override { output_.Pass(); }

 private:
  void EndCell(std::size_t start, bool is_last);

  PrintFormat format_;
  CellText cell_text_;
  Output output_;
};

}  // namespace packetdb::host
