#include "host/printing/template_table.h"

#include <algorithm>

#include "host/printing/colours.h"
#include "host/printing/field_names.h"
#include "host/printing/safe_text.h"

namespace packetdb::host {
namespace {

std::size_t PaddingBefore(char alignment, std::size_t padding) {
  if (alignment == '>') return padding;
  return alignment == '^' ? padding / 2 : 0;
}

}  // namespace

TemplateTable::TemplateTable(const PrintOptions& options, const std::vector<PrintColumn>& columns,
                             std::FILE* out)
    : parts_(ParseTemplate(options.template_text)),
      has_colour_(options.colour),
      cell_text_(options.utc),
      output_(out) {
  std::vector<std::string> names;
  names.reserve(columns.size());
  for (const PrintColumn& column : columns) names.push_back(column.name);
  for (const TemplatePart& part : parts_) {
    if (!part.name.empty()) columns_.push_back(PlaceOfName(part.name, names));
  }
}

void TemplateTable::Add(std::span<const Cell> cells) {
  for (std::size_t i = 0; i < columns_.size(); ++i) AddField(parts_[i], cells[columns_[i]]);
  output_.text().append(parts_.back().before);
  output_.text().push_back('\n');
  output_.EndRow();
}

void TemplateTable::AddField(const TemplatePart& part, const Cell& cell) {
  std::string shown;
  cell_text_.AppendForPeople(cell, &shown);
  const std::size_t width = WidthOf(shown);
  const std::size_t padding = part.width - std::min(part.width, width);
  const std::size_t before = PaddingBefore(part.alignment, padding);
  std::string& text = output_.text();
  text.append(part.before);
  text.append(before, ' ');
  AppendColoured(shown, has_colour_ ? cell.colour : Colour::kNone, &text);
  text.append(padding - before, ' ');
}

}  // namespace packetdb::host
