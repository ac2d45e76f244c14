#include "host/printing/cell_text.h"

#include <fmt/format.h>
#include <iterator>

#include "host/printing/address_text.h"
#include "host/printing/safe_text.h"

namespace packetdb::host {
namespace {

void AppendWords(const Cell& cell, std::string* text) {
  bool is_first = true;
  for (const std::string& word : cell.words) {
    if (!is_first) text->push_back('+');
    AppendSafe(word, text);
    is_first = false;
  }
}

bool SaysNothing(const Cell& cell) {
  return cell.kind == CellKind::kNull || (cell.kind == CellKind::kList && cell.words.empty()) ||
         (cell.kind == CellKind::kText && cell.text.empty());
}

}  // namespace

void AppendNumber(std::uint64_t number, std::string* text) {
  const fmt::format_int digits(number);
  text->append(digits.data(), digits.size());
}

void AppendShare(std::uint64_t ten_thousandths, std::string* text) {
  fmt::format_to(std::back_inserter(*text), "{}.{:04}", ten_thousandths / 10000,
                 ten_thousandths % 10000);
}

// What people and programs are told alike.
void CellText::AppendAlike(const Cell& cell, std::string* text) {
  switch (cell.kind) {
    case CellKind::kText:
      return AppendSafe(cell.text, text);
    case CellKind::kAddress:
      return AppendAddress(static_cast<std::uint32_t>(cell.number), text);
    case CellKind::kList:
      return AppendWords(cell, text);
    case CellKind::kNamed:
      if (!cell.text.empty()) return AppendSafe(cell.text, text);
      [[fallthrough]];
    default:
      AppendNumber(cell.number, text);
  }
}

void CellText::AppendForPeople(const Cell& cell, std::string* text) {
  if (SaysNothing(cell)) {
    text->push_back('-');
  } else if (cell.kind == CellKind::kTime) {
    times_.Append(static_cast<std::int64_t>(cell.number), text);
  } else if (cell.kind == CellKind::kDuration) {
    text->append(DurationText(cell.number));
  } else if (cell.kind == CellKind::kShare) {
    fmt::format_to(std::back_inserter(*text), "{}.{:02}%", cell.number / 100, cell.number % 100);
  } else {
    AppendAlike(cell, text);
  }
}

void CellText::AppendForPrograms(const Cell& cell, std::string* text) {
  if (SaysNothing(cell)) return;
  if (cell.kind == CellKind::kTime) {
    times_.AppendRfc3339(static_cast<std::int64_t>(cell.number), text);
  } else if (cell.kind == CellKind::kShare) {
    AppendShare(cell.number, text);
  } else {
    AppendAlike(cell, text);
  }
}

void CellText::AppendStored(const Cell& cell, std::string* text) {
  if (cell.kind == CellKind::kNull || (cell.kind == CellKind::kText && cell.text.empty())) {
    text->push_back('-');
  } else if (cell.kind == CellKind::kText) {
    AppendSafe(cell.text, text);
  } else {
    AppendNumber(cell.number, text);
  }
}

}  // namespace packetdb::host
