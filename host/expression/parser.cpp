#include "host/expression/parser.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <utility>

#include "host/config/spelling.h"
#include "host/expression/error.h"
#include "host/expression/grammar.h"
#include "host/expression/lexer.h"
#include "host/expression/values.h"
#include "host/sources/event.h"

namespace packetdb::host::expression {
namespace {

constexpr const char* kCondition = "a condition such as host 10.0.0.7";
constexpr const char* kBehindQualifier = "host, net, port, portrange, node or an address";

// What goes before a value, and holds for a value behind it that has none of its own.
struct Qualifiers {
  const Word* word = FindWord("host");
  Side side = Side::kEither;
  std::uint8_t transport = 0;
};

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

bool IsTransport(std::uint8_t protocol) {
  return protocol == 6 || protocol == 17 || protocol == 132;
}

Term ProtocolTerm(std::uint8_t number) {
  return {Field::kProtocol, Side::kEither, 0, {{{{number, number}}, ""}}};
}

Term FlagTerm(std::uint32_t bit) { return {Field::kFlag, Side::kEither, 0, {{{{bit, bit}}, ""}}}; }

bool MayBeCalledIn(Field field) { return field == Field::kFlag || field == Field::kDirection; }

// Names that somebody gave, and so may be words of the language.
bool HasNames(Field field) {
  return field == Field::kEvent || field == Field::kFlag || field == Field::kNode ||
         field == Field::kRule || field == Field::kInterface;
}

class Parser {
 public:
  Parser(std::vector<Token> tokens, const Names& names)
      : tokens_(std::move(tokens)), names_(names) {}

  Node Whole() {
    if (Peek().kind == Token::Kind::kEnd) return And({});
    Node node = Alternatives();
    if (Peek().kind != Token::Kind::kEnd) Unexpected("and, or, or the end");
    return node;
  }

 private:
  const Token& Peek(std::size_t ahead = 0) const {
    return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
  }
  Token Take() {
    const Token& token = Peek();
    ++at_;
    return token;
  }
  bool IsWord(std::string_view word, std::size_t ahead = 0) const {
    return Peek(ahead).Is(Token::Kind::kWord, word);
  }
  bool IsMark(std::string_view mark, std::size_t ahead = 0) const {
    return Peek(ahead).Is(Token::Kind::kMark, mark);
  }

  [[noreturn]] void Fail(const Token& token, const std::string& message, std::string expected,
                         std::string suggestion = "") const {
    throw ExpressionError(token.offset, token.length, message, std::move(expected),
                          std::move(suggestion));
  }
  [[noreturn]] void Unexpected(std::string expected) const;

  Node Alternatives();
  Node Conjunction();
  Node Negation();
  Node Group();
  Node Condition();
  Node BareValue();

  void Deeper() {
    if (++depth_ > kDeepest) {
      Fail(Peek(), "the expression is nested too deeply",
           fmt::format("{} levels at most", kDeepest));
    }
  }

  std::optional<Node> Alone();
  Qualifiers ReadQualifiers();
  Side ReadSide();
  void CheckQualifiers(const Qualifiers& read, const Token& first, bool has_side) const;
  Node Test(const Qualifiers& qualifiers);
  Node Compared(const Qualifiers& qualifiers, const Token& mark);
  std::vector<Value> List(const Word& word);
  Value OneValue(const Word& word);
  std::vector<Value> Values(const Word& word);

  static Node TermOf(const Qualifiers& qualifiers, std::vector<Value> values) {
    return MakeTerm(
        {qualifiers.word->field, qualifiers.side, qualifiers.transport, std::move(values)});
  }

  std::vector<Token> tokens_;
  const Names& names_;
  std::size_t at_ = 0;
  int depth_ = 0;
  std::optional<Qualifiers> repeated_;  // of the last condition that a bare value may follow
};

void Parser::Unexpected(std::string expected) const {
  const Token& token = Peek();
  if (token.kind == Token::Kind::kEnd) {
    Fail(token, "the expression ends too early", std::move(expected));
  }
  if (token.kind == Token::Kind::kMark) {
    Fail(token, fmt::format("'{}' is out of place", token.text), std::move(expected));
  }
  const bool is_word = token.kind == Token::Kind::kWord &&
                       (FindWord(token.text) != nullptr || BareProtocol(token.text));
  const std::string_view why = WhyNoWord(token.text);
  const std::string message =
      is_word ? fmt::format("'{}' is out of place", token.text)
              : fmt::format("'{}' is no word here{}{}", token.text, why.empty() ? "" : ": ", why);
  const bool may_mean_another = !is_word && why.empty() && token.kind == Token::Kind::kWord;
  Fail(token, message, std::move(expected),
       may_mean_another ? NearestWord(Lower(token.text), AllWords()).value_or("") : "");
}

Node Parser::Alternatives() {
  std::vector<Node> children;
  children.push_back(Conjunction());
  while (IsWord("or")) {
    Take();
    children.push_back(Conjunction());
  }
  return Or(std::move(children));
}

Node Parser::Conjunction() {
  std::vector<Node> children;
  children.push_back(Negation());
  while (IsWord("and")) {
    Take();
    children.push_back(Negation());
  }
  return And(std::move(children));
}

Node Parser::Negation() {
  if (IsWord("not")) {
    Deeper();
    Take();
    Node negated = Not(Negation());
    --depth_;
    return negated;
  }
  return IsMark("(") ? Group() : Condition();
}

Node Parser::Group() {
  Deeper();
  Take();
  Node node = Alternatives();
  if (!IsMark(")")) Unexpected("and, or, or )");
  Take();
  --depth_;
  return node;
}

// The conditions that take no value. A protocol or `ip` may be a qualifier of what follows instead.
std::optional<Node> Parser::Alone() {
  const Token& token = Peek();
  if (token.kind != Token::Kind::kWord) return std::nullopt;
  const Token& next = Peek(1);
  const bool side_follows = IsWord("src", 1) || IsWord("dst", 1);
  if (const auto protocol = BareProtocol(token.text)) {
    const bool qualifies = side_follows || IsWord("port", 1) || IsWord("portrange", 1);
    if (qualifies) return std::nullopt;
    repeated_.reset();
    return MakeTerm(ProtocolTerm(*protocol));
  }
  if (token.text == "ip") {
    const Word* const word = next.kind == Token::Kind::kWord ? FindWord(next.text) : nullptr;
    if (side_follows || (word != nullptr && word->role == Role::kCondition) ||
        IsPlainlyValue(next)) {
      return std::nullopt;
    }
    return And({});
  }
  if (token.text == "inbound") return MakeTerm(FlagTerm(kFlagIn));
  if (token.text == "outbound") return MakeTerm(FlagTerm(kFlagOut));
  return std::nullopt;
}

Node Parser::Condition() {
  if (auto alone = Alone()) {
    Take();
    return std::move(*alone);
  }
  const Token& token = Peek();
  if (token.kind == Token::Kind::kMark || token.kind == Token::Kind::kEnd) Unexpected(kCondition);
  const Word* const word = token.kind == Token::Kind::kWord ? FindWord(token.text) : nullptr;
  const bool is_protocol = token.kind == Token::Kind::kWord && BareProtocol(token.text).has_value();
  if (word == nullptr && !is_protocol) return BareValue();
  if (word != nullptr && word->role == Role::kJoin) Unexpected(kCondition);
  return Test(ReadQualifiers());
}

// Behind `host a or`, `b` means `host b`. An address needs nothing before it.
Node Parser::BareValue() {
  const std::size_t begin = at_;
  const Token token = Peek();
  const Qualifiers qualifiers = repeated_.value_or(Qualifiers{});
  try {
    return TermOf(qualifiers, Values(*qualifiers.word));
  } catch (const ExpressionError&) {
    if (repeated_ && IsPlainlyValue(token)) throw;
    at_ = begin;
    Unexpected(kCondition);
  }
}

Side Parser::ReadSide() {
  const bool is_source = Take().text == "src";
  const char* const other = is_source ? "dst" : "src";
  const bool joined = (IsWord("or") || IsWord("and")) && IsWord(other, 1);
  if (!joined) return is_source ? Side::kSource : Side::kDestination;
  const bool both = Take().text == "and";
  Take();
  return both ? Side::kBoth : Side::kEither;
}

Qualifiers Parser::ReadQualifiers() {
  Qualifiers read;
  const Token first = Peek();
  if (const auto protocol = BareProtocol(first.text)) {
    if (!IsTransport(*protocol)) {
      Fail(first, fmt::format("records keep no ports of '{}'", first.text),
           "tcp, udp or sctp before src, dst, port and portrange");
    }
    read.transport = *protocol;
    Take();
  } else if (IsWord("ip")) {
    Take();
  }
  const bool has_side = IsWord("src") || IsWord("dst");
  if (has_side) read.side = ReadSide();
  const Word* const word = Peek().kind == Token::Kind::kWord ? FindWord(Peek().text) : nullptr;
  if (word != nullptr && word->role == Role::kCondition) {
    read.word = word;
    CheckQualifiers(read, first, has_side);
    Take();
  } else {
    CheckQualifiers(read, first, has_side);
    if (!IsPlainlyValue(Peek()) && !IsMark("(") && !IsMark("[") && !IsWord("in")) {
      Unexpected(kBehindQualifier);
    }
  }
  return read;
}

void Parser::CheckQualifiers(const Qualifiers& read, const Token& first, bool has_side) const {
  if (read.transport != 0 && read.word->field != Field::kPort) {
    Fail(Peek(), fmt::format("'{}' does not go with '{}'", first.text, read.word->word),
         "port or portrange");
  }
  if (has_side && !HasSides(read.word->field)) {
    Fail(Peek(), fmt::format("'{}' has no source and destination", read.word->word),
         kBehindQualifier);
  }
}

// What stands behind the words of a condition.
Node Parser::Test(const Qualifiers& qualifiers) {
  repeated_ = qualifiers;
  if (IsMark("(")) return Group();  // whose values these qualifiers are for
  if (IsWord("not") && IsWord("in", 1)) {
    Take();
    return Not(TermOf(qualifiers, Values(*qualifiers.word)));
  }
  for (const char* mark : {"=", "!=", "<", "<=", ">", ">="}) {
    if (IsMark(mark)) return Compared(qualifiers, Take());
  }
  return TermOf(qualifiers, Values(*qualifiers.word));
}

Node Parser::Compared(const Qualifiers& qualifiers, const Token& mark) {
  const Word& word = *qualifiers.word;
  if (mark.text == "=") return TermOf(qualifiers, Values(word));
  // A bare value behind this could mean the comparison or the word alone.
  repeated_.reset();
  if (mark.text == "!=") return Not(TermOf(qualifiers, Values(word)));
  if (!word.compares) {
    Fail(mark, fmt::format("'{}' does not go with '{}'", mark.text, word.word),
         "=, !=, in or a value");
  }
  if (Peek().kind == Token::Kind::kMark || Peek().kind == Token::Kind::kEnd) {
    Unexpected(std::string(word.takes));
  }
  std::vector<Value> values;
  values.push_back(ReadBound(word, mark.text, Take(), names_));
  return TermOf(qualifiers, std::move(values));
}

std::vector<Value> Parser::Values(const Word& word) {
  const bool is_name = MayBeCalledIn(word.field) && !IsMark("[", 1);
  if (IsWord("in") && !is_name) {
    Take();
    if (!IsMark("[")) Unexpected("[VALUE ...]");
  }
  if (IsMark("[")) return List(word);
  std::vector<Value> values;
  if (word.word == "net" && IsWord("mask", 1)) {
    const Token address = Take();
    Take();
    if (Peek().kind == Token::Kind::kEnd) Unexpected("a mask such as 255.0.0.0");
    values.push_back(ReadMasked(address, Take()));
  } else {
    values.push_back(OneValue(word));
  }
  return values;
}

std::vector<Value> Parser::List(const Word& word) {
  Take();
  std::vector<Value> values;
  while (!IsMark("]")) {
    if (IsMark(",") && !values.empty()) Take();
    values.push_back(OneValue(word));
  }
  Take();
  if (values.empty()) {
    --at_;
    Fail(Peek(), "nothing is in an empty list", std::string(word.takes));
  }
  return values;
}

Value Parser::OneValue(const Word& word) {
  const Token& token = Peek();
  if (token.kind == Token::Kind::kEnd || token.kind == Token::Kind::kMark) {
    Unexpected(std::string(word.takes));
  }
  const bool is_word = token.kind == Token::Kind::kWord && FindWord(token.text) != nullptr;
  if (is_word && !(MayBeCalledIn(word.field) && token.text == "in")) {
    Fail(token, fmt::format("'{}' is no value of '{}'", token.text, word.word),
         fmt::format("{}{}", word.takes,
                     HasNames(word.field) ? "; in quotes, if that is its name" : ""));
  }
  return ReadValue(word, Take(), names_);
}

}  // namespace

Node Parse(std::string_view expression, const Names& names) {
  return Parser(Tokens(expression), names).Whole();
}

}  // namespace packetdb::host::expression
