#include "host/printing/aligned_table.h"

#include <algorithm>

#include "host/printing/colours.h"
#include "host/printing/column_widths.h"
#include "host/printing/safe_text.h"

namespace packetdb::host {

AlignedTable::AlignedTable(const PrintOptions& options, const std::vector<PrintColumn>& columns,
                           std::FILE* out)
    : columns_(columns),
      terminal_(options.width),
      has_colour_(options.colour),
      cell_text_(options.utc),
      output_(out) {
  Line head;
  for (const PrintColumn& column : columns) head.push_back({column.head});
  waiting_.push_back(std::move(head));
}

void AlignedTable::Add(std::span<const Cell> cells) {
  constexpr std::size_t kDeciding = 1000;  // rows
  Line line(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    cell_text_.AppendForPeople(cells[i], &line[i].text);
    line[i].colour = cells[i].colour;
  }
  if (!widths_.empty()) return Print(line);
  waiting_.push_back(std::move(line));
  if (waiting_.size() > kDeciding) Settle();
}

void AlignedTable::Flush() {
  if (widths_.empty()) Settle();
  output_.Flush();
}

void AlignedTable::Finish() {
  if (widths_.empty()) Settle();
  output_.Pass();
}

void AlignedTable::Settle() {
  std::vector<std::size_t> widths(columns_.size());
  for (const Line& line : waiting_) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], WidthOf(line[i].text));
    }
  }
  widths_ = FittedWidths(columns_, std::move(widths), terminal_);
  for (const Line& line : waiting_) Print(line);
  waiting_.clear();
}

void AlignedTable::Print(const Line& line) {
  std::string& text = output_.text();
  for (std::size_t i = 0; i < line.size(); ++i) {
    const bool is_cut = terminal_ != 0 && columns_[i].may_be_cut;
    const std::string shown = is_cut ? CutTo(widths_[i], line[i].text) : line[i].text;
    const std::size_t width = WidthOf(shown);
    const std::size_t padding = widths_[i] - std::min(widths_[i], width);
    const bool is_last = i + 1 == line.size();
    if (columns_[i].is_right) text.append(padding, ' ');
    AppendColoured(shown, has_colour_ ? line[i].colour : Colour::kNone, &text);
    // Nothing stands behind the last column that a blank could keep away.
    if (!columns_[i].is_right && !is_last) text.append(padding, ' ');
    text.append(is_last ? "\n" : "  ");
  }
  output_.EndRow();
}

}  // namespace packetdb::host
