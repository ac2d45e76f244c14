#include "host/printing/table_printer.h"

#include "host/printing/aligned_table.h"
#include "host/printing/delimited_table.h"
#include "host/printing/json_table.h"
#include "host/printing/template_table.h"

namespace packetdb::host {

std::unique_ptr<TablePrinter> MakeTablePrinter(const PrintOptions& options,
                                               const std::vector<PrintColumn>& columns,
                                               std::FILE* out) {
  switch (options.format) {
    case PrintFormat::kCsv:
    case PrintFormat::kTsv:
    case PrintFormat::kRaw:
      return std::make_unique<DelimitedTable>(options, columns, out);
    case PrintFormat::kJson:
    case PrintFormat::kNdjson:
      return std::make_unique<JsonTable>(options, columns, out);
    case PrintFormat::kTemplate:
      return std::make_unique<TemplateTable>(options, columns, out);
    default:
      return std::make_unique<AlignedTable>(options, columns, out);
  }
}

}  // namespace packetdb::host
