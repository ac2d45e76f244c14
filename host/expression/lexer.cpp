#include "host/expression/lexer.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <iterator>
#include <optional>
#include <utility>

#include "host/expression/error.h"

namespace packetdb::host::expression {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kNoWord = " \t\r\n\v\f()[],=!<>&|'\"";

struct Mark {
  std::string_view written;
  Token::Kind kind;
  std::string_view text;
};

// A longer one before one that it begins with.
constexpr std::array kMarks = {
    Mark{"&&", Token::Kind::kWord, "and"}, Mark{"||", Token::Kind::kWord, "or"},
    Mark{"==", Token::Kind::kMark, "="},   Mark{"!=", Token::Kind::kMark, "!="},
    Mark{"<=", Token::Kind::kMark, "<="},  Mark{">=", Token::Kind::kMark, ">="},
    Mark{"<", Token::Kind::kMark, "<"},    Mark{">", Token::Kind::kMark, ">"},
    Mark{"=", Token::Kind::kMark, "="},    Mark{"!", Token::Kind::kWord, "not"},
    Mark{"(", Token::Kind::kMark, "("},    Mark{")", Token::Kind::kMark, ")"},
    Mark{"[", Token::Kind::kMark, "["},    Mark{"]", Token::Kind::kMark, "]"},
    Mark{",", Token::Kind::kMark, ","},
};

std::optional<unsigned int> HexDigit(char c) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::size_t digit = kDigits.find(c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c);
  if (digit == std::string_view::npos) return std::nullopt;
  return static_cast<unsigned int>(digit);
}

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}

  Token Next() {
    at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
    begin_ = at_;
    if (at_ == text_.size()) return Made(Token::Kind::kEnd, "");
    const char first = text_[at_];
    if (first == '\'' || first == '"') return QuotedToken(first);
    for (const Mark& mark : kMarks) {
      if (!text_.substr(at_).starts_with(mark.written)) continue;
      at_ += mark.written.size();
      return Made(mark.kind, std::string(mark.text));
    }
    return WordToken();
  }

 private:
  Token Made(Token::Kind kind, std::string text) const {
    return {kind, std::move(text), begin_, at_ - begin_};
  }

  Token WordToken() {
    at_ = std::min(text_.find_first_of(kNoWord, at_), text_.size());
    if (at_ == begin_) {
      throw ExpressionError(begin_, 1, fmt::format("a single '{}'", text_[begin_]),
                            fmt::format("{0}{0}", text_[begin_]));
    }
    return Made(Token::Kind::kWord, std::string(text_.substr(begin_, at_ - begin_)));
  }

  Token QuotedToken(char quote) {
    std::string content;
    for (++at_; at_ < text_.size(); ++at_) {
      if (text_[at_] == quote) {
        ++at_;
        return Made(Token::Kind::kQuoted, std::move(content));
      }
      content += text_[at_] == '\\' ? Escaped() : text_[at_];
    }
    throw ExpressionError(begin_, 1, "this quote has no end", fmt::format("a {} behind it", quote));
  }

  // What a backslash means with what follows it; stays on the last byte of that.
  char Escaped() {
    const std::string_view rest = text_.substr(at_ + 1);
    if (!rest.empty() && (rest[0] == '\\' || rest[0] == '\'' || rest[0] == '"')) {
      ++at_;
      return rest[0];
    }
    if (rest.size() >= 3 && rest[0] == 'x') {
      const auto high = HexDigit(rest[1]);
      const auto low = HexDigit(rest[2]);
      if (high && low) {
        at_ += 3;
        return static_cast<char>(*high << 4U | *low);
      }
    }
    throw ExpressionError(at_, 1, "a backslash that means nothing here",
                          "a quote, a backslash or xhh behind it");
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t begin_ = 0;  // of the token
};

}  // namespace

std::vector<Token> Tokens(std::string_view expression) {
  if (expression.size() > kLongestExpression) {
    throw ExpressionError(kLongestExpression, 1, "the expression is too long",
                          fmt::format("{} bytes at most", kLongestExpression));
  }
  Lexer lexer(expression);
  std::vector<Token> tokens;
  do {
    tokens.push_back(lexer.Next());
    if (tokens.size() > kMostTokens + 1) {
      throw ExpressionError(tokens.back().offset, tokens.back().length,
                            "the expression has too many words",
                            fmt::format("{} words at most", kMostTokens));
    }
  } while (tokens.back().kind != Token::Kind::kEnd);
  return tokens;
}

std::string Quoted(std::string_view text, bool is_word) {
  const auto is_odd = [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c >= 0x7F; };
  const bool needs = is_word || text.empty() || text.front() == '\\' ||
                     text.find_first_of(kNoWord) != std::string_view::npos ||
                     std::any_of(text.begin(), text.end(), is_odd);
  if (!needs) return std::string(text);
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') {
      quoted += {'\\', c};
    } else if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F) {
      fmt::format_to(std::back_inserter(quoted), "\\x{:02x}", static_cast<unsigned char>(c));
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

}  // namespace packetdb::host::expression
