// docs/output.md lists the fields as the command knows them.
#include <gmock/gmock.h>

#include "host/printing/fields.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

std::string KeysOf(const PrintColumn& column) {
  const bool has_both = !column.text_key.empty() && !column.number_key.empty();
  if (!has_both || column.text_key == column.number_key) {
    return "`" + (column.text_key.empty() ? column.number_key : column.text_key) + "`";
  }
  return "`" + column.text_key + "`, `" + column.number_key + "`";
}

TEST(OutputPage, ListsEveryFieldInItsOrder) {
  const std::string page = ReadText(PACKETDB_SOURCE_DIR "/docs/output.md");
  std::string rows;
  for (const Field& field : RowFields()) {
    const PrintColumn column = ColumnOf(field);
    rows += "| `" + column.name + "` | " + column.head + " | " + field.meaning + " | " +
            KeysOf(column) + " |\n";
  }
  EXPECT_THAT(page, testing::HasSubstr("|---|---|---|---|\n" + rows + "\n"));
}

}  // namespace
}  // namespace packetdb::host::test
