#include "host/printing/aligned_table.h"

#include <gmock/gmock.h>

#include "tests/host/cli/captured.h"
#include "tests/host/printing/sample_rows.h"

namespace packetdb::host::test {
namespace {

const std::vector<PrintColumn> kColumns = {{"name", "NAME", false, true, "name", ""},
                                           {"sum", "SUM", true, false, "", "sum"},
                                           {"note", "NOTE", false, true, "note", ""}};

std::vector<Cell> Line(const std::string& name, std::uint64_t sum, const std::string& note) {
  return {Cell::Text(name), Cell::Number(sum), Cell::Text(note)};
}

std::string Narrow(std::size_t width, const std::vector<std::vector<Cell>>& rows) {
  PrintOptions options;
  options.width = width;
  return PrintedTable(kColumns, rows, options);
}

TEST(AlignedTables, AreAsWideAsWhatTheyHold) {
  EXPECT_EQ(Narrow(0, {Line("a", 1, "x"), Line("long name", 1234, "much longer note")}),
            "NAME        SUM  NOTE\n"
            "a             1  x\n"
            "long name  1234  much longer note\n");
}

TEST(AlignedTables, AreCutToFitATerminalTheWidestFirst) {
  EXPECT_EQ(Narrow(30, {Line("0123456789abc", 12, "0123456789abcdefghi")}),
            "NAME         SUM  NOTE\n"
            "0123456789…   12  0123456789a…\n");
}

TEST(AlignedTables, AreNeverCutWhereThereIsNoTerminal) {
  const std::string long_name(500, 'x');
  EXPECT_THAT(Narrow(0, {Line(long_name, 1, long_name)}),
              testing::HasSubstr(long_name + "    1  " + long_name + "\n"));
}

TEST(AlignedTables, CutNoNumbersHoweverNarrowTheTerminal) {
  EXPECT_EQ(Narrow(10, {Line("0123456789abc", 1234567890123, "short")}),
            "NAME                SUM  NOTE\n"
            "0123456…  1234567890123  short\n");
}

TEST(AlignedTables, CountCharactersAndNotBytes) {
  EXPECT_EQ(Narrow(0, {Line("größe", 1, ""), Line("12345", 2, "")}),
            "NAME   SUM  NOTE\n"
            "größe    1  -\n"
            "12345    2  -\n");
}

TEST(AlignedTables, LetLaterRowsOverflowWithoutLoss) {
  std::vector<std::vector<Cell>> rows(1000, Line("a", 1, "x"));
  rows.push_back(Line("a late one", 1, "x"));
  EXPECT_THAT(Narrow(0, rows), testing::EndsWith("\na       1  x\na late one    1  x\n"));
}

TEST(AlignedTables, HaveTheirWidthsFromWhatWasThereWhenTheyWereFlushed) {
  const std::string text = Printed([](std::FILE* out) {
    const auto printer = MakeTablePrinter(PrintOptions(), kColumns, out);
    printer->Flush();
    printer->Add(Line("wider", 1, "x"));
    printer->Finish();
  });
  EXPECT_EQ(text, "NAME  SUM  NOTE\nwider    1  x\n");
}

}  // namespace
}  // namespace packetdb::host::test
