#include "host/cli/status_json.h"

#include <array>

namespace packetdb::host {

namespace {

// Where the rows of a kind are in the object. Kinds of later releases are left out.
struct Place {
  const char* kind;
  const char* key;
  bool is_single;
};

constexpr std::array kPlaces = {
    Place{"daemon", "daemon", true},     Place{"clients", "clients", true},
    Place{"rules", "rules", true},       Place{"source", "sources", false},
    Place{"journal", "journals", false}, Place{"exclusion", "exclusions", false},
    Place{"problem", "problems", false}, Place{"left_out", "left_out", false},
};

OrderedJson WithoutKind(const OrderedJson& row) {
  OrderedJson told = WithTimes(row);
  told.erase("kind");
  return told;
}

}  // namespace

void PrintStatusJson(const ToldRows& rows, std::FILE* out) {
  OrderedJson object;
  for (const Place& place : kPlaces) {
    object[place.key] = place.is_single ? OrderedJson() : OrderedJson::array();
    for (const OrderedJson& row : OfKind(rows, place.kind)) {
      if (place.is_single) {
        object[place.key] = WithoutKind(row);
      } else {
        object[place.key].push_back(WithoutKind(row));
      }
    }
  }
  std::fputs(JsonLine(object).c_str(), out);
}

void PrintJournalsJson(const ToldRows& rows, std::FILE* out) {
  for (const OrderedJson& row : rows) {
    std::fputs(JsonLine(WithTimes(row)).c_str(), out);
  }
}

}  // namespace packetdb::host
