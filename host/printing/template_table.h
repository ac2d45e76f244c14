// A line for each row, after a template.
#pragma once

#include "host/printing/cell_text.h"
#include "host/printing/output.h"
#include "host/printing/table_printer.h"
#include "host/printing/template.h"

namespace packetdb::host {

class TemplateTable : public TablePrinter {
 public:
  // Throws PrintError for a field that is no column.
  TemplateTable(const PrintOptions& options, const std::vector<PrintColumn>& columns,
                std::FILE* out);

  void Add(std::span<const Cell> cells) override;
  void Flush() override { output_.Flush(); }
  void Finish() override { output_.Pass(); }

 private:
  void AddField(const TemplatePart& part, const Cell& cell);

  std::vector<TemplatePart> parts_;
  std::vector<std::size_t> columns_;  // of each part but the last
  bool has_colour_;
  CellText cell_text_;
  Output output_;
};

}  // namespace packetdb::host
