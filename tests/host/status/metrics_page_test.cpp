// docs/metrics.md lists the metrics that there are, as they are, and no others.
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "host/status/metrics.h"
#include "host/status/reason_words.h"

namespace packetdb::host::test {
namespace {

std::vector<std::string> PageLines() {
  std::ifstream file(PACKETDB_SOURCE_DIR "/docs/metrics.md");
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// "| `name` | gauge | `a`, `b` | help |"
std::string RowOf(const MetricFamily& family) {
  std::string labels;
  for (const char c : family.labels) labels += c == ',' ? std::string("`, `") : std::string(1, c);
  if (!labels.empty()) labels = '`' + labels + '`';
  return "| `" + std::string(family.name) + "` | " + std::string(family.type) + " | " + labels +
         (labels.empty() ? "| " : " | ") + std::string(family.help) + " |";
}

TEST(MetricsPage, ListsEveryMetricAndNoOther) {
  std::vector<std::string> expected;
  for (const MetricFamily& family : AllMetrics()) expected.push_back(RowOf(family));
  std::vector<std::string> listed;
  for (const std::string& line : PageLines()) {
    if (line.starts_with("| `packetdb_")) listed.push_back(line);
  }
  EXPECT_THAT(listed, testing::ElementsAreArray(expected));
}

template <class Reason>
void ExpectListed(std::size_t count) {
  const std::vector<std::string> lines = PageLines();
  for (std::size_t i = 0; i < count; ++i) {
    const auto reason = static_cast<Reason>(i);
    const std::string row =
        "| `" + std::string(Word(reason)) + "` | " + std::string(Text(reason)) + " |";
    EXPECT_THAT(lines, testing::Contains(row));
  }
}

TEST(MetricsPage, ListsEveryReason) { ExpectListed<SkipReason>(kSkipReasons); }

TEST(MetricsPage, ListsEveryRemark) { ExpectListed<Remark>(kRemarks); }

}  // namespace
}  // namespace packetdb::host::test
