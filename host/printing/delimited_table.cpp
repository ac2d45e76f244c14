#include "host/printing/delimited_table.h"

#include "host/printing/safe_text.h"

namespace packetdb::host {
namespace {

// What begins at `start` becomes a field that may hold anything.
void Quote(std::size_t start, std::string* text) {
  for (std::size_t at = text->find('"', start); at != std::string::npos;) {
    text->insert(at, 1, '"');
    at = text->find('"', at + 2);
  }
  text->insert(start, 1, '"');
  text->push_back('"');
}

}  // namespace

DelimitedTable::DelimitedTable(const PrintOptions& options, const std::vector<PrintColumn>& columns,
                               std::FILE* out)
    : format_(options.format), cell_text_(options.utc), output_(out) {
  if (format_ == PrintFormat::kRaw) return;
  for (const PrintColumn& column : columns) {
    const std::size_t start = output_.text().size();
    AppendSafe(column.name, &output_.text());
    EndCell(start, &column == &columns.back());
  }
}

void DelimitedTable::Add(std::span<const Cell> cells) {
  for (const Cell& cell : cells) {
    const std::size_t start = output_.text().size();
    format_ == PrintFormat::kRaw ? CellText::AppendStored(cell, &output_.text())
                                 : cell_text_.AppendForPrograms(cell, &output_.text());
    EndCell(start, &cell == &cells.back());
  }
  output_.EndRow();
}

void DelimitedTable::EndCell(std::size_t start, bool is_last) {
  std::string& text = output_.text();
  const bool is_csv = format_ == PrintFormat::kCsv;
  if (is_csv && text.find_first_of(",\"", start) != std::string::npos) Quote(start, &text);
  if (!is_last) {
    text.push_back(is_csv ? ',' : '\t');
  } else {
    text.append(is_csv ? "\r\n" : "\n");
  }
}

}  // namespace packetdb::host
