// Tables for people: a head, and columns as wide as what they hold.
#pragma once

#include "host/printing/cell_text.h"
#include "host/printing/output.h"
#include "host/printing/table_printer.h"

namespace packetdb::host {

// The first rows decide how wide a column is. What is wider further on pushes its line to the
// right; only on a terminal it is cut, where it may be.
class AlignedTable : public TablePrinter {
 public:
  AlignedTable(const PrintOptions& options, const std::vector<PrintColumn>& columns,
               std::FILE* out);

  void Add(std::span<const Cell> cells) override;
  void Flush() override;
  void Finish() override;

 private:
  struct Shown {
    std::string text;
    Colour colour = Colour::kNone;
  };
  using Line = std::vector<Shown>;

  void Settle();
  void Print(const Line& line);

  std::vector<PrintColumn> columns_;
  std::size_t terminal_;
  bool has_colour_;
  CellText cell_text_;
  Output output_;
  std::vector<Line> waiting_;        // until the widths are known; the head first
  std::vector<std::size_t> widths_;  // empty until then
};

}  // namespace packetdb::host
