// From a token behind a word to a value of the word's field.
#pragma once

#include "host/expression/grammar.h"
#include "host/expression/lexer.h"
#include "host/expression/tree.h"
#include "host/names/names.h"

namespace packetdb::host::expression {

// Each throws ExpressionError at the token.
Value ReadValue(const Word& word, const Token& token, const Names& names);
// What satisfies a comparison with the token: `mark` is one of < <= > >=.
Value ReadBound(const Word& word, std::string_view mark, const Token& token, const Names& names);
// ADDRESS mask MASK
Value ReadMasked(const Token& address, const Token& mask);

// Whether a token that is no word of the language can only be a value: it begins as an address or
// a number does, or is in quotes.
bool IsPlainlyValue(const Token& token);

}  // namespace packetdb::host::expression
