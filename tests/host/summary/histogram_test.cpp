#include "host/summary/histogram.h"

#include <gtest/gtest.h>

#include "tests/host/summary/summary_rows.h"

namespace packetdb::host::test {
namespace {

class HistogramTest : public testing::Test {
 protected:
  std::string Shown(const std::vector<Row>& rows, const std::string& format) const {
    return PrintedSummary<Histogram>(options_, rows, SampleOptions(format));
  }
  std::string RefusalOf(const std::vector<Row>& rows) const {
    try {
      return Shown(rows, "table");
    } catch (const PrintError& error) {
      return error.what();
    }
  }

  const TimeZone zone_{"UTC0"};
  HistogramOptions options_{.bin_seconds = 300, .by = {}, .bar_width = 8};
  const std::vector<Row> rows_{RowFrom(7, 443, 8, 10), RowFrom(8, 443, 2, 899),
                               RowFrom(9, 22, 2, 600)};
};

TEST_F(HistogramTest, ShowsWhatWasInEachBinAndWhereNothingWas) {
  EXPECT_EQ(Shown(rows_, "table"),
            "BIN                  COUNT  BYTES  EVENTS  \n"
            "1980-01-01 00:00:00      8    480       1  ████████\n"
            "1980-01-01 00:05:00      0      0       0   \n"
            "1980-01-01 00:10:00      4    240       2  ████\n");
}

TEST_F(HistogramTest, HasNumbersWithoutBarsForPrograms) {
  EXPECT_EQ(Shown(rows_, "csv"),
            "bin,count,bytes,events\r\n"
            "1980-01-01T00:00:00+00:00,8,480,1\r\n"
            "1980-01-01T00:05:00+00:00,0,0,0\r\n"
            "1980-01-01T00:10:00+00:00,4,240,2\r\n");
  EXPECT_EQ(Shown({rows_[0]}, "ndjson"),
            R"({"bin":"1980-01-01T00:00:00+00:00","bin_unix":315532800,"count":8,"bytes":480,)"
            R"("events":1})"
            "\n");
}

TEST_F(HistogramTest, HasTheLargestValuesOfAFieldAndTheRestTogether) {
  options_.by = ParseKeyFields("src");
  options_.most_values = 1;
  options_.bars = BarStyle::kAscii;
  EXPECT_EQ(Shown(rows_, "table"),
            "BIN                  SRC       COUNT  BYTES  EVENTS  \n"
            "1980-01-01 00:00:00  10.0.0.7      8    480       1  ########\n"
            "1980-01-01 00:05:00  -             0      0       0   \n"
            "1980-01-01 00:10:00  other         4    240       2  ####\n");
  EXPECT_EQ(Shown(rows_, "raw"),
            "315532800\t167772167\tvalue\t8\t480\t1\n"
            "315533100\t-\tnone\t0\t0\t0\n"
            "315533400\t-\tother\t4\t240\t2\n");
}

TEST_F(HistogramTest, BarsAreOfTheSumThatIsAskedFor) {
  options_.sort = SumKind::kEvents;
  EXPECT_EQ(Shown(rows_, "template={bar}"), "████\n \n████████\n");
}

TEST_F(HistogramTest, FillsTheTerminal) {
  PrintOptions print = SampleOptions("table");
  print.width = 60;
  const std::string text = PrintedSummary<Histogram>(options_, {rows_[0]}, print);
  EXPECT_EQ(text.substr(text.find('\n') + 1),
            "1980-01-01 00:00:00      8    480       1  █████████████████\n");
}

TEST_F(HistogramTest, RowBelongsToTheBinInWhichItWasFirstSeen) {
  Row row = RowFrom(7, 443, 8, 299);
  row.event.m_LastTime = 900;
  EXPECT_EQ(Shown({row}, "template={bin} {count}"), "1980-01-01 00:00:00 8\n");
}

TEST_F(HistogramTest, DaysBeginAtMidnightOfTheClocksThatAreShown) {
  options_.bin_seconds = 86400;
  const TimeZone zone("<+0545>-5:45");
  const Row late = RowFrom(7, 443, 1, 20 * 3600);
  EXPECT_EQ(Shown({late}, "template={bin}"), "1980-01-02 00:00:00\n");
  options_.utc = true;
  PrintOptions print = SampleOptions("template={bin}");
  print.utc = true;
  EXPECT_EQ(PrintedSummary<Histogram>(options_, {late}, print), "1980-01-01 00:00:00Z\n");
}

TEST_F(HistogramTest, TooManyBinsAreRefusedWithOneThatFits) {
  options_.bin_seconds = 1;
  options_.most_bins = 100;
  EXPECT_EQ(RefusalOf(rows_),
            "bins of 1 s are 890 from the first row to the last, and 100 is the most: take bins of "
            "10s, or a shorter time");
  options_.bin_seconds = 10;
  EXPECT_TRUE(RefusalOf(rows_).starts_with("BIN")) << RefusalOf(rows_);
}

TEST_F(HistogramTest, IsTheSameHoweverFewGroupsFitIntoMemory) {
  options_.bin_seconds = 6 * 3600;
  options_.by = ParseKeyFields("iface,dport");
  const std::vector<Row> rows = RandomRows(2000, 6);
  const std::string right = Shown(rows, "raw");
  options_.most_keys = 5;
  EXPECT_EQ(Shown(rows, "raw"), right);
}

TEST_F(HistogramTest, OfNoRowsIsAHeadOnly) {
  EXPECT_EQ(Shown({}, "csv"), "bin,count,bytes,events\r\n");
}

TEST(ParseBinTest, TakesSpansThatAreNotNothing) {
  EXPECT_EQ(ParseBin("5m"), 300);
  EXPECT_THROW(ParseBin("0s"), PrintError);
  EXPECT_THROW(ParseBin("five"), PrintError);
}

}  // namespace
}  // namespace packetdb::host::test
