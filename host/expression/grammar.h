// The words of the language: what the parser takes, and what people are told of it.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/expression/tree.h"

namespace packetdb::host::expression {

enum class Role {
  kCondition,  // takes a value, and has a field
  kAlone,      // a condition by itself
  kQualifier,  // goes before conditions: src, dst
  kJoin,       // and, or, not, in, mask
};

struct Word {
  std::string_view word;
  Role role = Role::kCondition;
  Field field = Field::kAddress;  // of kCondition
  bool compares = false;          // takes < <= > >=
  std::string_view takes;         // what goes behind it; empty where nothing does
  std::string_view help;
  std::string_view example;  // an expression
};

// In the order in which they are told. Of several words with one field, the first is the one that
// is printed. Names of protocols are conditions as well, and are not among them.
std::span<const Word> Words();
// Null when there is none.
const Word* FindWord(std::string_view word);
const Word& WordOf(Field field);

// A number of a protocol whose name is a condition.
std::optional<std::uint8_t> BareProtocol(std::string_view word);

// Everything that has a meaning without quotes, for suggestions and for completion.
std::vector<std::string> AllWords();

// Why a word of other filters is none here; empty when it is not known either.
std::string_view WhyNoWord(std::string_view word);

// The table of the words, a line each, in Markdown.
std::string WordTable();

}  // namespace packetdb::host::expression
