// Prints tables in every format there is.
#pragma once

#include <cstdio>
#include <memory>
#include <span>
#include <vector>

#include "host/printing/cells.h"
#include "host/printing/options.h"

namespace packetdb::host {

// Rows are printed as they come, in bounded memory. What cannot be written stays an error of the
// stream, as std::ferror tells.
class TablePrinter {
 public:
  virtual ~TablePrinter() = default;

  // As many cells as there are columns.
  virtual void Add(std::span<const Cell> cells) = 0;
  // Sends what was added on its way, to whoever follows it.
  virtual void Flush() = 0;
  // Once, behind the last row.
  virtual void Finish() = 0;
};

// Prints all of `columns`, at least one, whatever the options have as fields; or, of a template,
// those that it names. Throws PrintError for a template that makes no sense. `out` must outlive the
// printer.
std::unique_ptr<TablePrinter> MakeTablePrinter(const PrintOptions& options,
                                               const std::vector<PrintColumn>& columns,
                                               std::FILE* out);

}  // namespace packetdb::host
