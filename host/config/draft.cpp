#include "host/config/draft.h"

namespace packetdb::host {

Place ElementPlaces::Of(std::string_view key) const {
  for (const auto& [name, place] : keys) {
    if (name == key) return place;
  }
  return element;
}

Place Draft::PlaceOf(std::string_view key) const {
  const auto found = keys.find(key);
  return found == keys.end() ? Place() : found->second;
}

}  // namespace packetdb::host
