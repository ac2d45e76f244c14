// What people choose about how a table is printed.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/printing/service_names.h"

namespace packetdb::host {

// A choice that makes no sense: what() says in one line what was given, why it cannot be, and what
// can.
class PrintError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

enum class PrintFormat { kTable, kWide, kCsv, kTsv, kJson, kNdjson, kRaw, kTemplate };

struct PrintOptions {
  PrintFormat format = PrintFormat::kTable;
  std::string template_text;        // of kTemplate
  std::vector<std::string> fields;  // of rows; empty: those of the format
  bool numeric = false;             // numbers only, no names for them
  bool utc = false;                 // times in UTC; otherwise local ones
  bool colour = false;
  std::size_t width = 0;  // columns of the terminal; 0: none, and nothing is ever cut
  const ServiceNames* services = nullptr;  // null: those of the system; must outlive the printer
};

// Takes "table", "csv" and so on, or "template=" with the template behind it, which is not looked
// at before something is printed. Throws PrintError.
void SetFormat(std::string_view text, PrintOptions* options);

// The words that SetFormat takes, for help and errors.
std::string FormatWords();

}  // namespace packetdb::host
