// The reader that judges the metrics is worth as much as what it refuses.
#include "tests/host/status/prometheus_text.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

constexpr char kHead[] = "# HELP a_total Some help.\n# TYPE a_total counter\n";

TEST(PrometheusText, IsReadWithItsLabels) {
  const auto families = ReadPrometheusText(std::string(kHead) +
                                           "a_total{x=\"1\",y=\"a\\\\b\\\"c\\nd\"} 5\n"
                                           "# HELP b Other help.\n# TYPE b gauge\nb -1.5e3\n");
  ASSERT_EQ(families.size(), 2U);
  EXPECT_EQ(families[0].type, "counter");
  EXPECT_EQ(families[0].help, "Some help.");
  EXPECT_EQ(ValueIn(families, "a_total", {{"x", "1"}, {"y", "a\\b\"c\nd"}}), 5);
  EXPECT_EQ(ValueIn(families, "b"), -1500);
  EXPECT_THROW(ValueIn(families, "b", {{"x", "1"}}), PrometheusError);
}

TEST(PrometheusText, IsRefusedWhereItIsNotRight) {
  const char* const bodies[] = {
      "a_total 5",                                    // no end
      "a_total{x=\"1\"} 5\na_total{x=\"1\"} 6\n",     // a sample twice
      "a_total{x=\"1\"} 5\na_total{y=\"1\"} 6\n",     // other labels
      "a_total{x=\"1\",x=\"2\"} 5\n",                 // a label twice
      "a_total{X=\"1\"} 5\n",                         // upper case
      "a_total{x=1} 5\n",                             // not quoted
      "a_total{x=\"1} 5\n",                           // no end of the value
      "a_total{x=\"\\t\"} 5\n",                       // unknown escape
      "a_total{x=\"\xff\"} 5\n",                      // not UTF-8
      "a_total\n",                                    // no value
      "a_total five\n",                               // no number
      "a_total  5\n",                                 // two blanks
      "b 5\n",                                        // of another family
      "a_total 5\n\n",                                // an empty line
      "a_total 5\n# a remark\n",                      // a remark
      "a_total 5\n# HELP a_total Again.\n",           // the family twice
      "a_total 5\n# HELP b Help.\n",                  // no samples
      "a_total 5\n# HELP b Help.\nb 1\n",             // no type
      "a_total 5\n# HELP b Help.\n# TYPE c gauge\n",  // the type of another
      "a_total 5\n# HELP b Help.\n# TYPE b counter\nb 1\n",
      "a_total 5\n# HELP b_total Help.\n# TYPE b_total gauge\nb_total 1\n",
  };
  for (const char* body : bodies) {
    EXPECT_THROW(ReadPrometheusText(std::string(kHead) + body), PrometheusError) << body;
  }
}

}  // namespace
}  // namespace packetdb::host::test
