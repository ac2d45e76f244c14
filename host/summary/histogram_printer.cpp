#include "host/summary/histogram_printer.h"

#include <algorithm>

#include "host/printing/cell_text.h"
#include "host/printing/safe_text.h"
#include "host/printing/table_printer.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kLeastBar = 8;

bool HasBars(PrintFormat format) {
  return format == PrintFormat::kTable || format == PrintFormat::kWide ||
         format == PrintFormat::kTemplate;
}

// What a line is of, for programs: the cells of the fields alone cannot tell no name from others.
const char* KindOf(const HistogramLine& line) {
  if (line.value == kNoValue) return "none";
  return line.value == kOtherValues ? "other" : "value";
}

std::uint64_t LargestSum(const std::vector<HistogramLine>& lines, SumKind kind) {
  std::uint64_t most = 1;
  for (const HistogramLine& line : lines) most = std::max(most, line.sums.Of(kind));
  return most;
}

}  // namespace

HistogramPrinter::HistogramPrinter(const HistogramOptions& histogram, const KeyLayout* layout,
                                   const std::vector<Group>& values, const PrintOptions& options,
                                   const Names& names)
    : histogram_(histogram),
      layout_(layout),
      values_(values),
      options_(options),
      names_(names, options),
      keys_(histogram.by),
      is_for_people_(HasBars(options.format)) {}

void HistogramPrinter::Print(const std::vector<HistogramLine>& lines, std::FILE* out) {
  const auto table = MakeTablePrinter(options_, Columns(), out);
  const std::uint64_t most = LargestSum(lines, histogram_.sort);
  const std::size_t width = is_for_people_ ? BarWidth(lines) : 0;
  for (const HistogramLine& line : lines) {
    std::vector<Cell> cells = CellsOf(line);
    // A bar of nothing is nothing, not the dash of what is not known.
    const std::string bar =
        BarOf(line.sums.Of(histogram_.sort), most, std::max(width, kLeastBar), histogram_.bars);
    if (is_for_people_) cells.push_back(Cell::Text(bar.empty() ? " " : bar));
    table->Add(cells);
  }
  table->Finish();
}

std::vector<PrintColumn> HistogramPrinter::Columns() const {
  std::vector<PrintColumn> columns{{"bin", "BIN", false, false, "bin", "bin_unix"}};
  keys_.AddColumns(&columns);
  if (layout_ != nullptr && !is_for_people_) {
    columns.push_back({"of", "OF", false, false, "of", ""});
  }
  AddSumColumns(&columns);
  if (is_for_people_) columns.push_back({"bar", "", false, false, "", ""});
  return columns;
}

std::vector<Cell> HistogramPrinter::CellsOf(const HistogramLine& line) {
  std::vector<Cell> cells{Cell::Time(static_cast<std::uint64_t>(line.start))};
  if (layout_ != nullptr) AddValueCells(line, &cells);
  AddSumCells(line.sums, &cells);
  return cells;
}

void HistogramPrinter::AddValueCells(const HistogramLine& line, std::vector<Cell>* cells) {
  if (line.value < values_.size()) {
    const Group& group = values_[line.value];
    keys_.AddCells(layout_->RowOf(group.key.data()), group.sums.last, &names_, cells);
  } else {
    const bool is_told = is_for_people_ && line.value == kOtherValues;
    cells->resize(cells->size() + histogram_.by.size(), is_told ? Cell::Text("other") : Cell());
  }
  if (!is_for_people_) cells->push_back(Cell::Text(KindOf(line)));
}

// What the other columns leave of the terminal.
std::size_t HistogramPrinter::BarWidth(const std::vector<HistogramLine>& lines) {
  if (options_.width == 0) return histogram_.bar_width;
  const std::vector<PrintColumn> columns = Columns();
  std::vector<std::size_t> widths;
  for (const PrintColumn& column : columns) widths.push_back(WidthOf(column.head));
  CellText cell_text(options_.utc);
  for (const HistogramLine& line : lines) {
    const std::vector<Cell> cells = CellsOf(line);
    for (std::size_t i = 0; i < cells.size(); ++i) {
      std::string text;
      cell_text.AppendForPeople(cells[i], &text);
      widths[i] = std::max(widths[i], WidthOf(text));
    }
  }
  std::size_t others = 0;
  for (std::size_t i = 0; i + 1 < widths.size(); ++i) others += widths[i] + 2;
  return options_.width - std::min(options_.width, others);
}

}  // namespace packetdb::host
