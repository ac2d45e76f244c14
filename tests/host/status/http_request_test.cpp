#include "host/status/http_request.h"

#include <gtest/gtest.h>

namespace packetdb::host::test {
namespace {

HttpProgress ProgressOf(std::string_view bytes) {
  HttpRequest request{"untouched", "untouched"};
  const HttpProgress progress = ParseHttpRequest(bytes, &request);
  EXPECT_EQ(request.method == "untouched", progress != HttpProgress::kComplete);
  return progress;
}

TEST(HttpRequestTest, IsARequestLineAndHeadersUpToAnEmptyLine) {
  HttpRequest request;
  ASSERT_EQ(ParseHttpRequest("GET /metrics HTTP/1.1\r\nHost: a\r\nX-y:z\r\n\r\n", &request),
            HttpProgress::kComplete);
  EXPECT_EQ(request.method, "GET");
  EXPECT_EQ(request.path, "/metrics");
}

TEST(HttpRequestTest, NeedsNoHeadersAndNoCarriageReturns) {
  EXPECT_EQ(ProgressOf("GET / HTTP/1.0\r\n\r\n"), HttpProgress::kComplete);
  EXPECT_EQ(ProgressOf("GET / HTTP/1.0\n\n"), HttpProgress::kComplete);
}

TEST(HttpRequestTest, KeepsAQueryOutOfThePath) {
  HttpRequest request;
  ASSERT_EQ(ParseHttpRequest("GET /metrics?name=a HTTP/1.1\r\n\r\n", &request),
            HttpProgress::kComplete);
  EXPECT_EQ(request.path, "/metrics");
}

TEST(HttpRequestTest, IgnoresWhatComesBehindIt) {
  EXPECT_EQ(ProgressOf("POST / HTTP/1.1\r\nContent-Length: 4\r\n\r\nbody"),
            HttpProgress::kComplete);
}

TEST(HttpRequestTest, IsIncompleteUpToItsLastByte) {
  const std::string_view whole = "GET /metrics HTTP/1.1\r\nHost: localhost:9090\r\n\r\n";
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(ProgressOf(whole.substr(0, size)), HttpProgress::kIncomplete) << size;
  }
  EXPECT_EQ(ProgressOf(whole), HttpProgress::kComplete);
}

TEST(HttpRequestTest, IsMalformedAsSoonAsALineIs) {
  for (const char* bytes : {
           "\r\n",                                     // no request line
           "GET\r\n",                                  // no target
           "GET /\r\n",                                // no version
           "GET / HTTP/2.0\r\n",                       // another version
           "GET / http/1.1\r\n",                       //
           "GET / HTTP/1.1 \r\n",                      // a blank behind
           " GET / HTTP/1.1\r\n",                      // a blank in front
           "GET  / HTTP/1.1\r\n",                      // two between
           "GET /a b HTTP/1.1\r\n",                    // a blank within
           "GET metrics HTTP/1.1\r\n",                 // not from the root
           "GET http://host/metrics HTTP/1.1\r\n",     // we are no proxy
           "GET * HTTP/1.1\r\n",                       //
           "G(T / HTTP/1.1\r\n",                       // no token
           "GET /\xc3\xa9 HTTP/1.1\r\n",               // not ASCII
           "GET / HTTP/1.1\r\nHost\r\n",               // no colon
           "GET / HTTP/1.1\r\n: a\r\n",                // no name
           "GET / HTTP/1.1\r\nHo st: a\r\n",           // a blank in the name
           "GET / HTTP/1.1\r\nHost : a\r\n",           // and behind it
           "GET / HTTP/1.1\r\nHost: a\r\n folded\r\n"  // a line that goes on
       }) {
    EXPECT_EQ(ProgressOf(bytes), HttpProgress::kMalformed) << bytes;
  }
}

TEST(HttpRequestTest, IsMalformedAtTheFirstControlByte) {
  EXPECT_EQ(ProgressOf(std::string_view("\x16\x03\x01\x02\x00", 5)), HttpProgress::kMalformed)
      << "TLS";
  EXPECT_EQ(ProgressOf(std::string_view("GET /\0", 6)), HttpProgress::kMalformed);
  EXPECT_EQ(ProgressOf("GET /\x7f"), HttpProgress::kMalformed);
  EXPECT_EQ(ProgressOf("GET / HTTP/1.1\r\nA: \x1b[2J"), HttpProgress::kMalformed);
}

}  // namespace
}  // namespace packetdb::host::test
