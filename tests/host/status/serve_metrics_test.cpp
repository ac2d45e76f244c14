#include "host/status/serve_metrics.h"

#include <array>
#include <gmock/gmock.h>
#include <sys/socket.h>

#include "host/journals/group_writer.h"
#include "host/status/metrics.h"
#include "host/status/shared_page.h"
#include "tests/host/bus/support.h"
#include "tests/host/journals/support.h"
#include "tests/host/sources/temp_dir.h"
#include "tests/host/status/prometheus_text.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;

class MetricsOverHttp : public testing::Test {
 protected:
  // The request fits into the socket, and so does the answer.
  std::string AnswerTo(const std::string& request) const {
    const RawPair pair;
    EXPECT_EQ(send(pair.one.get(), request.data(), request.size(), 0),
              static_cast<ssize_t>(request.size()));
    EXPECT_EQ(shutdown(pair.one.get(), SHUT_WR), 0);
    ServeMetrics(pair.other.get(), page_.get(), directory_.Path());
    std::string answer;
    std::array<char, 65536> part;
    for (ssize_t got = 1; got > 0;) {
      got = recv(pair.one.get(), part.data(), part.size(), 0);
      if (got > 0) answer.append(part.data(), static_cast<std::size_t>(got));
    }
    return answer;
  }

  const TempDir directory_;
  const StatusPagePtr page_ = MakeStatusPage();
};

TEST_F(MetricsOverHttp, AreThoseOfThePageAndOfTheJournals) {
  FindOrAddRow(page_->sources, "nflog:5")->received.Set(77);
  GroupWriter(
      {.directory = directory_.Path(), .group = "lan", .capacity = 10, .window_seconds = 60})
      .Add(EventFrom(1, 100), "eth0");
  const std::string answer = AnswerTo("GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
  const auto families = ReadPrometheusText(answer.substr(answer.find("\r\n\r\n") + 4));
  EXPECT_EQ(ValueIn(families, "packetdb_events_received_total", {{"source", "nflog:5"}}), 77);
  EXPECT_EQ(ValueIn(families, "packetdb_journal_records", {{"journal", "lan"}}), 1);
}

TEST_F(MetricsOverHttp, AreNamedByTheRoot) {
  EXPECT_THAT(AnswerTo("GET / HTTP/1.1\r\n\r\n"), HasSubstr("/metrics"));
}

TEST_F(MetricsOverHttp, AreToldWithoutJournals) {
  EXPECT_THAT(AnswerTo("GET /metrics HTTP/1.0\r\n\r\n"), HasSubstr("packetdb_build_info{"));
}

}  // namespace
}  // namespace packetdb::host::test
