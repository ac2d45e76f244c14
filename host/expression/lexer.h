// From the text of an expression to its tokens.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace packetdb::host::expression {

// Nobody writes these by hand; what a program composes may ask in several queries.
inline constexpr std::size_t kLongestExpression = 10000;  // bytes
inline constexpr std::size_t kMostTokens = 4096;

struct Token {
  enum class Kind {
    kWord,    // a word, a number, an address: what has no blank and none of the marks
    kQuoted,  // never a word of the language
    kMark,    // ( ) [ ] , = != < <= > >=
    kEnd,
  };

  Kind kind = Kind::kEnd;
  std::string text;  // without quotes; && || ! == are and, or, not, =
  std::size_t offset = 0;
  std::size_t length = 0;  // of what stands in the expression

  bool Is(Kind wanted, std::string_view wanted_text) const {
    return kind == wanted && text == wanted_text;
  }
};

// The last is of kEnd. In quotes, ' or ", a backslash goes before a quote and before itself, and
// \xhh is any byte. Throws ExpressionError.
std::vector<Token> Tokens(std::string_view expression);

// In quotes if it has to be, so that Tokens makes one token of it; `is_word` says whether it would
// be read as something else without them.
std::string Quoted(std::string_view text, bool is_word);

}  // namespace packetdb::host::expression
