#include "host/cli/question.h"

#include <algorithm>
#include <fmt/format.h>

#include "host/cli/parse_number.h"
#include "host/cli/usage_error.h"
#include "host/cli/words.h"
#include "host/expression/error.h"
#include "host/expression/grammar.h"
#include "host/expression/lexer.h"
#include "host/expression/parser.h"
#include "host/expression/query_form.h"
#include "host/expression/values.h"
#include "host/times/span.h"
#include "host/times/time_error.h"

namespace packetdb::host {

namespace {

using expression::Node;
using expression::Token;

// The first word is a journal's name unless an expression can begin with it.
bool IsName(const std::string& word) {
  try {
    const std::vector<Token> tokens = expression::Tokens(word);
    return tokens.size() == 2 && tokens[0].kind == Token::Kind::kWord &&
           !expression::IsPlainlyValue(tokens[0]) &&
           expression::FindWord(tokens[0].text) == nullptr &&
           !expression::BareProtocol(tokens[0].text);
  } catch (const expression::ExpressionError&) {
    return false;  // the whole expression tells where it goes wrong
  }
}

// "event a or event b" of "a,b", in parentheses.
std::string AnyOf(const char* word, const std::vector<std::string>& values) {
  std::vector<std::string> terms;
  for (const std::string& value : values) {
    const bool is_word = expression::FindWord(value) != nullptr;
    terms.push_back(fmt::format("{} {}", word, expression::Quoted(value, is_word)));
  }
  return fmt::format("({})", fmt::join(terms, " or "));
}

bool IsNumber(const std::string& text) {
  return ParseNumber(text, INT32_MIN, UINT32_MAX).has_value();
}

bool AreNumbers(const std::vector<std::string>& values) {
  return std::all_of(values.begin(), values.end(), IsNumber);
}

// Names among the events make all of them a matter of the expression, groups included.
std::string TakeNamedEvents(Criteria* criteria) {
  const std::vector<std::string> values = SplitAtCommas(criteria->events);
  if (criteria->events.empty() || AreNumbers(values)) {
    return "";
  }
  criteria->events.clear();
  std::vector<std::string> terms;
  for (const std::string& value : values) {
    terms.push_back(AnyOf(value.starts_with('-') ? "group" : "event", {value}));
  }
  return fmt::format("({})", fmt::join(terms, " or "));
}

// Flags with names of the administrator's own, each with `prefix` before it.
void TakeNamedFlags(std::string* list, const char* prefix, std::vector<std::string>* terms) {
  if (list->empty()) {
    return;
  }
  std::vector<std::string> plain;
  for (const std::string& value : SplitAtCommas(*list)) {
    if (FlagBit(value) || IsNumber(value) || value.empty()) {
      plain.push_back(value);
    } else {
      terms->push_back(prefix + AnyOf("flag", {value}));
    }
  }
  *list = fmt::format("{}", fmt::join(plain, ","));
}

std::string TakeNamed(const QuestionOptions& options, Criteria* criteria) {
  std::vector<std::string> terms;
  if (const std::string events = TakeNamedEvents(criteria); !events.empty()) {
    terms.push_back(events);
  }
  TakeNamedFlags(&criteria->flags, "", &terms);
  TakeNamedFlags(&criteria->not_flags, "not ", &terms);
  if (!options.interfaces.empty()) {
    terms.push_back(AnyOf("iface", options.interfaces));
  }
  if (!options.nodes.empty()) {
    terms.push_back(AnyOf("node", options.nodes));
  }
  return fmt::format("{}", fmt::join(terms, " and "));
}

void SetLast(const QuestionOptions& options, std::int64_t now, Criteria* criteria) {
  if (options.last.empty()) {
    return;
  }
  if (!criteria->since.empty()) {
    throw UsageError("--last and --since both say when to begin: give one of them");
  }
  try {
    criteria->since = fmt::format("@{}", std::max<std::int64_t>(now - ParseSpan(options.last), 0));
  } catch (const TimeError& error) {
    throw UsageError(error.what());
  }
}

void SetDirection(const QuestionOptions& options, Criteria* criteria) {
  if (options.direction == "both") {
    criteria->both_directions = true;
  } else if (!options.direction.empty()) {
    throw UsageError(fmt::format("'{}' is not a direction to ask in: give both, or leave --dir out",
                                 options.direction));
  }
}

Node ParsedOrUsage(const std::string& text, const Names& names) {
  try {
    return expression::Parse(text, names);
  } catch (const expression::ExpressionError& error) {
    throw UnreadableExpression(expression::Render(text, error, "packetdb query"));
  }
}

// Whether it lets every record pass that is of its times.
bool IsOpen(const Query& query) {
  return expression::IsEverything(expression::ExpressionOf(query));
}

// What is no criterion: which journal, when, and how many.
void CopyFrame(const Query& from, Query* to) {
  std::copy(std::begin(from.m_Interface), std::end(from.m_Interface), std::begin(to->m_Interface));
  to->m_TimeStart = from.m_TimeStart;
  to->m_TimeEnd = from.m_TimeEnd;
  to->m_RecCount = from.m_RecCount;
}

}  // namespace

Question ReadQuestion(const QuestionOptions& options, bool has_names, std::int64_t now) {
  Question question;
  std::vector<std::string> words = options.words;
  question.name = options.journal;
  if (has_names && options.journal.empty()) {
    question.name = kDefaultJournal;
    if (!words.empty() && IsName(words.front())) {
      question.name = words.front();
      words.erase(words.begin());
    }
  }
  question.expression = fmt::format("{}", fmt::join(words, " "));
  Criteria criteria = options.criteria;
  criteria.name = has_names ? question.name : kDefaultJournal;
  SetLast(options, now, &criteria);
  SetDirection(options, &criteria);
  question.named = TakeNamed(options, &criteria);
  question.criteria = MakeQuery(criteria, now);
  return question;
}

Plan MakePlan(const Question& question, const Names& names) {
  Plan plan;
  plan.division = expression::Split(expression::And(
      {ParsedOrUsage(question.named, names), ParsedOrUsage(question.expression, names)}));
  if (IsOpen(question.criteria)) {
    plan.query = plan.division.query;
    CopyFrame(question.criteria, &plan.query);
  } else {
    plan.query = question.criteria;
    plan.tests_query = !IsOpen(plan.division.query);
  }
  return plan;
}

bool Plan::Takes(const Row& row) const {
  return division.WantsInterface(row.interface) &&
         (!tests_query || division.query.match(PacketDbItem(&row.event, 0)));
}

}  // namespace packetdb::host
