// A TOML file as a tree of values that know where they stand. The library that reads TOML is known
// to nobody but the source of this header.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/config/problems.h"

namespace packetdb::host {

struct Node;
struct Entry;

using List = std::vector<Node>;
struct Table {
  std::vector<Entry> entries;  // in no particular order
  const Entry* Find(std::string_view name) const;
};
// A value of a kind that no key takes: its name for people, with an article.
struct OtherValue {
  std::string_view kind;
};

struct Node {
  Place place;
  std::variant<OtherValue, bool, std::int64_t, std::string, List, Table> value;
};

struct Entry {
  std::string name;
  Place place;  // of the name
  Node node;
};

// Deeper than anything that a key takes, and bounds what the walk over a tree needs of the stack.
inline constexpr int kDeepestNesting = 8;
inline constexpr std::size_t kLongestLine = 2048;  // bytes

// The tree of a text. Nothing when the text is no TOML or has a line that is too long, a control
// character or too deep a nesting: that is then among the problems, of all but the last kind the
// first place only.
std::optional<Node> ParseDocument(std::string_view text, std::size_t file, Problems& problems);

}  // namespace packetdb::host
