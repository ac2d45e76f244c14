// The exact text of every format for the same rows.
#include <gmock/gmock.h>

#include "tests/host/journals/support.h"
#include "tests/host/printing/sample_rows.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kEveryFormat[] = {"table", "wide",   "csv", "tsv",
                                        "json",  "ndjson", "raw", "template={iface} {rule}"};

// Lines too long for a source: tests/host/printing/golden.
std::string Golden(const std::string& format) {
  return ReadText(PACKETDB_SOURCE_DIR "/tests/host/printing/golden/" + format + ".txt");
}

std::string Empty(const std::string& format) {
  return PrintedRows({}, SampleOptions(format), Names());
}

std::string OfFields(const std::string& format, std::vector<std::string> fields) {
  const TimeZone zone("CET-1");
  PrintOptions options = SampleOptions(format);
  options.fields = std::move(fields);
  return PrintedRows({SampleRows()[0], SampleRows()[4]}, options, SampleNames());
}

TEST(Formats, TableHasWhatPeopleLookForFirst) {
  EXPECT_EQ(PrintedSamples("table"), Golden("table"));
}

TEST(Formats, WideHasEveryField) { EXPECT_EQ(PrintedSamples("wide"), Golden("wide")); }

TEST(Formats, CsvHasEveryFieldWhereNoneIsChosen) {
  EXPECT_EQ(PrintedSamples("csv"), Golden("csv"));
}

TEST(Formats, CsvQuotesCommasAndQuotesAndEndsLinesAsItsStandardSays) {
  EXPECT_EQ(OfFields("csv", {"last", "src", "dst_port", "event", "flags", "iface", "duration"}),
            "last,src,dst_port,event,flags,iface,duration\r\n"
            "1980-01-01T01:01:01+01:00,10.0.0.7,443,dropped,in+dropped,,61\r\n"
            "2116-02-07T07:28:15+01:00,255.255.255.255,443,\\xc2\\x9b31mred,in+dropped,"
            "\"a,\"\"b\"\"\\tc\\x1b]0;x\\x07\",100000\r\n");
}

TEST(Formats, TsvHasNoTabsAndLineFeedsButItsOwn) {
  EXPECT_EQ(OfFields("tsv", {"count", "dst_node", "rule", "rule_text", "iface"}),
            "count\tdst_node\trule\trule_text\tiface\n"
            "3\t0\t\t\t\n"
            "4294967295\t\\x1b[2J\\xff\\\\\ta\\nb\\x1b[31m \t\\xe2\\x80\\xaeevil\t"
            "a,\"b\"\\tc\\x1b]0;x\\x07\n");
}

TEST(Formats, RawHasNumbersAsTheyAreStored) {
  EXPECT_EQ(PrintedSamples("raw"),
            "315532800\t315532861\t3\t180\t6\t167772167\t40000\t0\t3232235777\t443\t0\t-\t-\t1\t"
            "33\t-\n"
            "315532800\t315532861\t3\t180\t1\t167772167\t0\t3\t3232235777\t0\t0\t3\t1\t40\t18\t"
            "wan\n"
            "315532800\t315532861\t3\t180\t17\t167772167\t0\t3\t3232235777\t0\t0\t-\t-\t2\t323\t"
            "wan\n"
            "315532800\t315532861\t3\t180\t253\t167772167\t40000\t0\t3232235777\t0\t0\t-\t-\t1999\t"
            "2147487232\t-\n"
            "4610400095\t4610500095\t4294967295\t4294967295\t6\t4294967295\t40000\t0\t4294967295\t"
            "443\t4294967295\t-\t-\t4294967295\t1057\ta,\"b\"\\tc\\x1b]0;x\\x07\n");
}

TEST(Formats, JsonIsOneArray) {
  EXPECT_EQ(OfFields("json", {"last", "proto", "rule"}),
            "[\n"
            R"({"last_seen":"1980-01-01T01:01:01+01:00","last_seen_unix":315532861,)"
            R"("protocol":"tcp","protocol_number":6},)"
            "\n"
            R"({"last_seen":"2116-02-07T07:28:15+01:00","last_seen_unix":4610500095,)"
            R"("protocol":"tcp","protocol_number":6,"rule":"a\nb\u001b[31m "})"
            "\n]\n");
}

TEST(Formats, NdjsonIsAnObjectALine) {
  EXPECT_EQ(OfFields("ndjson", {"dst_node", "event_code", "iface"}),
            R"({"dst_node":0,"event_code":1})"
            "\n"
            R"({"dst_node_name":"\u001b[2J�\\","dst_node":4294967295,"event_code":4294967295,)"
            R"("iface":"a,\"b\"\tc\u001b]0;x\u0007"})"
            "\n");
}

TEST(Formats, TemplateIsALineEach) {
  EXPECT_EQ(OfFields("template={src:<16}|{count:>12}|{dst_port:^9}|{{{verdict}}}\\t{event}", {}),
            "10.0.0.7        |           3|  https  |{dropped}\tdropped\n"
            "255.255.255.255 |  4294967295|  https  |{dropped}\t\\xc2\\x9b31mred\n");
}

TEST(Formats, OfNothingAreHeadsAndBrackets) {
  EXPECT_THAT(Empty("table"), StartsWith("FIRST SEEN  LAST SEEN  COUNT"));
  EXPECT_THAT(Empty("csv"), StartsWith("first,last,count,bytes,verdict,"));
  EXPECT_THAT(Empty("tsv"), StartsWith("first\tlast\tcount\tbytes\tverdict\t"));
  EXPECT_EQ(Empty("json"), "[]\n");
  EXPECT_EQ(Empty("ndjson"), "");
  EXPECT_EQ(Empty("raw"), "");
  EXPECT_EQ(Empty("template={src}"), "");
}

TEST(Formats, LetNoControlCharacterOutOfANameReachATerminal) {
  for (const char* format : kEveryFormat) {
    for (const char c : PrintedSamples(format)) {
      const bool is_layout = c == '\n' || c == '\t' || c == '\r';
      EXPECT_TRUE(is_layout || static_cast<unsigned char>(c) >= 0x20) << format;
    }
    EXPECT_THAT(PrintedSamples(format), testing::Not(HasSubstr("\xc2\x9b"))) << format;
    EXPECT_THAT(PrintedSamples(format), testing::Not(HasSubstr("\xe2\x80\xae"))) << format;
  }
}

TEST(Formats, HaveNoNamesForNumbersWhenTheyAreNumeric) {
  PrintOptions options =
      SampleOptions("template={proto} {dst_port} {destination} {event} {flags} {dst_node} {rule}");
  options.numeric = true;
  EXPECT_EQ(PrintedRows({SampleRows()[4]}, options, SampleNames()),
            "6 443 255.255.255.255:443 4294967295 0x21 4294967295 2\n");
}

TEST(Formats, HaveTimesInUtcWhenAsked) {
  const TimeZone zone("CET-1");
  PrintOptions options = SampleOptions("template={first}");
  EXPECT_EQ(PrintedRows({DroppedRow()}, options, Names()), "1980-01-01 01:00:00\n");
  options.utc = true;
  EXPECT_EQ(PrintedRows({DroppedRow()}, options, Names()), "1980-01-01 00:00:00Z\n");
  options = SampleOptions("csv");
  options.fields = {"first"};
  options.utc = true;
  EXPECT_EQ(PrintedRows({DroppedRow()}, options, Names()), "first\r\n1980-01-01T00:00:00Z\r\n");
}

TEST(Formats, ColourVerdictsForPeople) {
  PrintOptions options = SampleOptions("template={verdict:>8}|");
  options.colour = true;
  EXPECT_EQ(PrintedRows(SampleRows(), options, Names()),
            " \x1b[31mdropped\x1b[0m|\n\x1b[32maccepted\x1b[0m|\n\x1b[33mrejected\x1b[0m|\n"
            "       -|\n \x1b[31mdropped\x1b[0m|\n");
}

}  // namespace
}  // namespace packetdb::host::test
