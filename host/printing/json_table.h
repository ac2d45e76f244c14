// JSON: one array, or an object a line.
#pragma once

#include "host/printing/cell_text.h"
#include "host/printing/output.h"
#include "host/printing/table_printer.h"

namespace packetdb::host {

// Members that have nothing to say are left out.
class JsonTable : public TablePrinter {
 public:
  JsonTable(const PrintOptions& options, const std::vector<PrintColumn>& columns, std::FILE* out);

  void Add(std::span<const Cell> cells) override;
  void Flush() override { output_.Flush(); }
  void Finish() override;

 private:
  // A column's keys as they are written: `"count":`, empty for none.
  struct Keys {
    std::string text;
    std::string number;
  };

  void AddMembers(const Keys& keys, const Cell& cell);
  void AddValue(const std::string& key, const Cell& cell);

  bool is_array_;
  bool is_first_ = true;
  std::vector<Keys> keys_;
  CellText cell_text_;
  Output output_;
};

}  // namespace packetdb::host
