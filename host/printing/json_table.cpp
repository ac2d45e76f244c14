#include "host/printing/json_table.h"

#include "host/printing/safe_text.h"

namespace packetdb::host {
namespace {

std::string KeyText(const std::string& key) {
  std::string text;
  if (key.empty()) return text;
  AppendJsonString(key, &text);
  return text + ":";
}

void AppendArray(const std::vector<std::string>& words, std::string* text) {
  text->push_back('[');
  for (const std::string& word : words) {
    if (text->back() != '[') text->push_back(',');
    AppendJsonString(word, text);
  }
  text->push_back(']');
}

// Whether a cell has more to say than its number.
bool HasWords(const Cell& cell) {
  switch (cell.kind) {
    case CellKind::kNamed:
      return !cell.text.empty();
    case CellKind::kText:
    case CellKind::kTime:
    case CellKind::kAddress:
    case CellKind::kList:
      return true;
    default:
      return false;
  }
}

}  // namespace

JsonTable::JsonTable(const PrintOptions& options, const std::vector<PrintColumn>& columns,
                     std::FILE* out)
    : is_array_(options.format == PrintFormat::kJson), cell_text_(options.utc), output_(out) {
  for (const PrintColumn& column : columns) {
    keys_.push_back({KeyText(column.text_key), KeyText(column.number_key)});
  }
}

void JsonTable::Add(std::span<const Cell> cells) {
  std::string& text = output_.text();
  if (is_array_) text.append(is_first_ ? "[\n" : ",\n");
  is_first_ = false;
  text.push_back('{');
  for (std::size_t column = 0; column < cells.size(); ++column) {
    AddMembers(keys_[column], cells[column]);
  }
  if (text.back() == ',') text.pop_back();
  text.append(is_array_ ? "}" : "}\n");
  output_.EndRow();
}

void JsonTable::Finish() {
  if (is_array_) output_.text().append(is_first_ ? "[]\n" : "\n]\n");
  output_.Pass();
}

void JsonTable::AddMembers(const Keys& keys, const Cell& cell) {
  if (cell.kind == CellKind::kNull) return;
  if (!keys.text.empty() && HasWords(cell)) AddValue(keys.text, cell);
  if (!keys.number.empty() && cell.kind != CellKind::kText) {
    output_.text().append(keys.number);
    cell.kind == CellKind::kShare ? AppendShare(cell.number, &output_.text())
                                  : AppendNumber(cell.number, &output_.text());
    output_.text().push_back(',');
  }
}

void JsonTable::AddValue(const std::string& key, const Cell& cell) {
  std::string& text = output_.text();
  text.append(key);
  if (cell.kind == CellKind::kTime || cell.kind == CellKind::kAddress) {
    text.push_back('"');
    cell_text_.AppendForPrograms(cell, &text);
    text.push_back('"');
  } else if (cell.kind == CellKind::kList) {
    AppendArray(cell.words, &text);
  } else {
    AppendJsonString(cell.text, &text);
  }
  text.push_back(',');
}

}  // namespace packetdb::host
