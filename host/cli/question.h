// What is asked of a journal: from the words and options of a command to criteria and an
// expression.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/cli/criteria.h"
#include "host/expression/split.h"
#include "host/expression/tree.h"
#include "host/names/names.h"
#include "host/rows/row.h"

namespace packetdb::host {

struct QuestionOptions {
  std::vector<std::string> words;  // [JOURNAL] [EXPRESSION]
  std::string journal;             // by --journal: then all words are the expression
  Criteria criteria;               // its name is not looked at
  std::string last;                // a span: since that long ago
  std::vector<std::string> interfaces;
  std::vector<std::string> nodes;
  std::string direction;  // "both" or nothing
};

// What can be said without knowing what numbers are called.
struct Question {
  std::string name;        // of the journal or interface
  Query criteria;          // with name, times and limit
  std::string expression;  // in the words of the command line
  std::string named;       // what the options say by names, as an expression; may be empty
};

inline constexpr char kDefaultJournal[] = "all";

// Throws UsageError. `has_names`: journals are asked for by name; a file's only one has none.
Question ReadQuestion(const QuestionOptions& options, bool has_names, std::int64_t now);

// Who tests what. A query has room for one criterion of a kind: when options give criteria, the
// daemon gets these, and what an expression would have it test is tested here.
struct Plan {
  Query query;  // for the daemon, with name, times and limit
  expression::Division division;
  bool tests_query = false;  // the division's query is tested here

  // Of a row that `query` selects: whether it is wanted, but for the division's rest.
  bool Takes(const Row& row) const;
  bool NeedsNoTest() const {
    return !tests_query && expression::IsEverything(division.rest) &&
           expression::IsEverything(division.interfaces);
  }
};

// Throws UnreadableExpression.
Plan MakePlan(const Question& question, const Names& names);

}  // namespace packetdb::host
