// The text of an expression: refused with a place in it, or read, printed, divided and tried on
// rows.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/promise.h"
#include "fuzz/target.h"
#include "host/expression/error.h"
#include "host/expression/explain.h"
#include "host/expression/lexer.h"
#include "host/expression/parser.h"
#include "host/expression/predicate.h"
#include "host/expression/printer.h"
#include "host/expression/split.h"

namespace packetdb::fuzz {
namespace {

using host::Names;
using host::Row;
using host::expression::Division;
using host::expression::ExpressionError;
using host::expression::Node;
using host::expression::Predicate;

constexpr int kRows = 16;

Names KnownNames() {
  Names names;
  names.SetNodes({{"office", 3}, {"a b", 4}, {"7", 9}});
  names.SetRules(host::RuleDictionary::Parse(
      "packetdb-rules 1\nrule 1 1763719200 1 drop 0x0 \"pdb:input:12:drop\" \"\" 7bf626fa\n", ""));
  return names;
}

// Rows that the input itself makes, so that what it names is sometimes met.
Row RowFrom(std::string_view text, int number) {
  Row row;
  char bytes[sizeof row.event] = {};
  for (std::size_t i = 0; i < sizeof bytes && !text.empty(); ++i) {
    const std::size_t at = i * static_cast<std::size_t>(number + 1) % text.size();
    bytes[i] = static_cast<char>(text[at] - (number % 2 == 0 ? '0' : 0));
  }
  std::memcpy(&row.event, bytes, sizeof bytes);
  // As queries ask, and events are: no later than 2038, and of a protocol often met.
  row.event.m_FirstTime %= 1000000000;
  row.event.m_LastTime %= 1000000000;
  row.event.m_Protocol = number % 3 == 0 ? 6 : number % 3 == 1 ? 1 : row.event.m_Protocol;
  row.interface = text.substr(0, static_cast<std::size_t>(number));
  return row;
}

void CheckRefusal(std::string_view text, const ExpressionError& error) {
  Require(error.offset() <= text.size(), "an error is in the text");
  Require(!error.message().empty() && !error.expected().empty(), "an error says what and why");
  const std::string shown = host::expression::Render(text, error, "fuzz");
  Require(std::count(shown.begin(), shown.end(), '\n') == 3 && shown.back() == '\n',
          "an error is three lines");
}

void CheckPrinted(const Node& tree, const Names& names) {
  const std::string printed = host::expression::Print(tree, names);
  if (printed.size() > host::expression::kLongestExpression) return;
  try {
    Require(host::expression::Parse(printed, names) == tree, "what is printed reads the same");
  } catch (const ExpressionError&) {
    // More words than there may be: a value repeats those before it.
    Require(printed.size() > host::expression::kMostTokens, "what is printed can be read");
  }
}

void CheckRows(std::string_view text, const Node& tree) {
  const Predicate whole(tree);
  const Division division = host::expression::Split(tree);
  const Predicate rest(division.rest);
  for (int i = 0; i < kRows; ++i) {
    const Row row = RowFrom(text, i);
    const bool divided = division.query.match(PacketDbItem(&row.event, 0)) &&
                         division.WantsInterface(row.interface) && rest.Matches(row);
    Require(divided == whole.Matches(row), "daemon and rest together are the expression");
  }
}

}  // namespace

void TryInput(const std::uint8_t* data, std::size_t size) {
  static const Names names = KnownNames();
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  Node tree;
  try {
    tree = host::expression::Parse(text, names);
  } catch (const ExpressionError& error) {
    CheckRefusal(text, error);
    return;
  }
  CheckPrinted(tree, names);
  CheckRows(text, tree);
  Require(!host::expression::Explain(host::expression::Split(tree), names).empty(), "explained");
}

}  // namespace packetdb::fuzz
