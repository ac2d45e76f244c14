// Rows in every format there is.
#pragma once

#include <cstdio>
#include <memory>

#include "host/names/names.h"
#include "host/printing/options.h"
#include "host/rows/row.h"

namespace packetdb::host {

class RowPrinter {
 public:
  virtual ~RowPrinter() = default;

  virtual void Print(const Row& row) = 0;
  // Sends what was printed on its way, to whoever follows it.
  virtual void Flush() = 0;
  // Once, behind the last row. What cannot be written stays an error of the stream.
  virtual void Finish() = 0;
};

// Throws PrintError for fields and templates that make no sense. `names` and `out` must outlive the
// printer.
std::unique_ptr<RowPrinter> MakeRowPrinter(const PrintOptions& options, const Names& names,
                                           std::FILE* out);

}  // namespace packetdb::host
