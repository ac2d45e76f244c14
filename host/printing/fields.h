// The fields of a row: what can be printed of it, under which name, and how.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/printing/cells.h"
#include "host/printing/field_cells.h"
#include "host/printing/options.h"

namespace packetdb::host {

struct Field {
  const char* name;
  const char* head;
  const char* meaning;  // one line, for help
  bool is_right;
  bool may_be_cut;
  const char* text_key;  // of JSON, see PrintColumn; both empty: the field's name
  const char* number_key;
  Cell (*cell)(const CDrvErrorItemV4& event, const Row& row, FieldNames& names);
};

// All, in the order in which they are printed where nobody says otherwise.
std::span<const Field> RowFields();

// The fields that the options ask for: those that they or their template name, or those of the
// format. Throws PrintError for one that there is not.
std::vector<const Field*> ChosenFields(const PrintOptions& options);

// "src,dst,count" as names. Throws PrintError for a name that no field has, and for none.
std::vector<std::string> ParseFields(std::string_view list);

PrintColumn ColumnOf(const Field& field);

}  // namespace packetdb::host
