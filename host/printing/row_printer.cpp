#include "host/printing/row_printer.h"

#include "host/printing/fields.h"
#include "host/printing/table_printer.h"

namespace packetdb::host {
namespace {

std::vector<PrintColumn> ColumnsOf(const std::vector<const Field*>& fields) {
  std::vector<PrintColumn> columns;
  columns.reserve(fields.size());
  for (const Field* field : fields) columns.push_back(ColumnOf(*field));
  return columns;
}

class FieldPrinter : public RowPrinter {
 public:
  FieldPrinter(const PrintOptions& options, const Names& names, std::FILE* out)
      : fields_(ChosenFields(options)),
        names_(names, options),
        table_(MakeTablePrinter(options, ColumnsOf(fields_), out)),
        cells_(fields_.size()) {}

  void Print(const Row& row) override {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      cells_[i] = fields_[i]->cell(row.event, row, names_);
    }
    table_->Add(cells_);
  }
  void Flush() override { table_->Flush(); }
  void Finish() override { table_->Finish(); }

 private:
  std::vector<const Field*> fields_;
  FieldNames names_;
  std::unique_ptr<TablePrinter> table_;
  std::vector<Cell> cells_;  // of one row
};

}  // namespace

std::unique_ptr<RowPrinter> MakeRowPrinter(const PrintOptions& options, const Names& names,
                                           std::FILE* out) {
  return std::make_unique<FieldPrinter>(options, names, out);
}

}  // namespace packetdb::host
