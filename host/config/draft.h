// A configuration while its files are being read.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/config/configuration.h"
#include "host/config/document.h"

namespace packetdb::host {

// Where an element of a list stands, and its keys.
struct ElementPlaces {
  Place element;
  std::vector<std::pair<std::string, Place>> keys;

  // Of the key; of the element where it has none of that name.
  Place Of(std::string_view key) const;
};

struct Draft {
  Configuration configuration;
  // Of each list, element by element as in the configuration.
  std::map<std::string, std::vector<ElementPlaces>, std::less<>> elements;
  // Of each list, what must be there once only, and where it is.
  std::map<std::string, std::unordered_map<std::string, Place>, std::less<>> identities;
  std::set<std::string> full;  // the lists that have more elements than may be
  // Of single keys ("socket.path"), where they were given last.
  std::map<std::string, Place, std::less<>> keys;

  Place PlaceOf(std::string_view key) const;
};

}  // namespace packetdb::host
