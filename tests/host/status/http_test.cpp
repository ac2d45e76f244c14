// Serving over a real socket: whoever is at the other end, it ends.
#include "host/status/http.h"

#include <array>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>

#include "tests/host/bus/support.h"

namespace packetdb::host::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::chrono::milliseconds kSoon(20);
constexpr std::chrono::minutes kLong(1);

// Limits that only a test that fails reaches.
HttpLimits Patient() {
  HttpLimits limits;
  limits.request = limits.answer = limits.goodbye = kLong;
  return limits;
}

// Serves one end of a connection from a thread; its end closes with it.
class Served {
 public:
  explicit Served(const HttpLimits& limits = Patient(), std::string body = "the body\n")
      : body_(std::move(body)), thread_([this, limits] { Serve(limits); }) {}
  ~Served() {
    pair_.one.Close();
    AwaitEnd();
  }
  Served(const Served&) = delete;
  Served& operator=(const Served&) = delete;

  int fd() const { return pair_.one.get(); }
  void Send(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t sent = send(fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent < 0) return;  // refused meanwhile
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }
  void Finish() const { shutdown(fd(), SHUT_WR); }
  // Up to the end of what the server says.
  std::string Receive() const {
    std::string text;
    std::array<char, 4096> part;
    for (ssize_t got = 1; got > 0;) {
      got = recv(fd(), part.data(), part.size(), 0);
      if (got > 0) text.append(part.data(), static_cast<std::size_t>(got));
    }
    return text;
  }
  // Waits for the server to be done.
  void AwaitEnd() {
    if (thread_.joinable()) thread_.join();
  }

 private:
  void Serve(const HttpLimits& limits) {
    const HttpPage pages[] = {
        {"/page", "text/special", [this] { return body_; }},
        {"/broken", "text/plain", []() -> std::string { throw std::runtime_error("broken"); }},
    };
    ServeHttp(pair_.other.get(), pages, limits);
    pair_.other.Close();
  }

  RawPair pair_;
  std::string body_;
  std::thread thread_;
};

std::string AnswerTo(std::string_view request) {
  const Served served;
  served.Send(request);
  served.Finish();
  return served.Receive();
}

TEST(Http, AnswersWithThePage) {
  EXPECT_EQ(AnswerTo("GET /page HTTP/1.1\r\nHost: here\r\n\r\n"),
            "HTTP/1.1 200 OK\r\nContent-Type: text/special\r\nContent-Length: 9\r\n"
            "Connection: close\r\n\r\nthe body\n");
}

TEST(Http, AnswersOnlyWithItsHeadersWhenAskedForThem) {
  EXPECT_THAT(AnswerTo("HEAD /page HTTP/1.1\r\n\r\n"),
              testing::AllOf(HasSubstr("Content-Length: 9\r\n"), EndsWith("\r\n\r\n")));
}

TEST(Http, AnswersWhenTheRequestComesByteByByte) {
  const Served served;
  for (const char byte : std::string("GET /page HTTP/1.1\r\n\r\n")) served.Send({&byte, 1});
  EXPECT_THAT(served.Receive(), StartsWith("HTTP/1.1 200 "));
}

TEST(Http, AnswersWhileTheClientKeepsItsEndOpen) {
  HttpLimits limits = Patient();
  limits.goodbye = kSoon;
  const Served served(limits);
  served.Send("GET /page HTTP/1.1\r\n\r\n");
  EXPECT_THAT(served.Receive(), EndsWith("the body\n"));
}

TEST(Http, RefusesOtherPaths) {
  EXPECT_THAT(AnswerTo("GET /other HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 Not Found\r\n"));
  EXPECT_THAT(AnswerTo("GET /page/ HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 "));
  EXPECT_THAT(AnswerTo("GET /page/../page HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 "));
}

TEST(Http, RefusesOtherMethodsAndSaysWhichItTakes) {
  const std::string answer = AnswerTo("POST /page HTTP/1.1\r\nContent-Length: 2\r\n\r\nab");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 405 Method Not Allowed\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nAllow: GET, HEAD\r\n"));
}

TEST(Http, RefusesWhatIsNoRequest) {
  EXPECT_THAT(AnswerTo("hello\r\n"), StartsWith("HTTP/1.1 400 Bad Request\r\n"));
  EXPECT_THAT(AnswerTo(std::string("\x16\x03\x01\0", 4)), StartsWith("HTTP/1.1 400 "));
}

TEST(Http, RefusesHalfARequest) {
  EXPECT_THAT(AnswerTo("GET /page HTTP/1.1\r\n"), StartsWith("HTTP/1.1 400 "));
}

TEST(Http, RefusesARequestBeyondItsBound) {
  const std::string begin = "GET /page HTTP/1.1\r\nA: ";
  EXPECT_THAT(AnswerTo(begin + std::string(8192 - begin.size() - 4, 'x') + "\r\n\r\n"),
              StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(AnswerTo(begin + std::string(8192 - begin.size() - 3, 'x') + "\r\n\r\n"),
              StartsWith("HTTP/1.1 431 "));
  EXPECT_THAT(AnswerTo(std::string(100000, 'x')), StartsWith("HTTP/1.1 431 "));
}

TEST(Http, SaysThatAPageFailed) {
  const std::string answer = AnswerTo("GET /broken HTTP/1.1\r\n\r\n");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 500 Internal Server Error\r\n"));
  EXPECT_THAT(answer, testing::Not(HasSubstr("broken"))) << "that is for the log";
}

TEST(Http, SaysNothingToWhoSaysNothing) {
  EXPECT_EQ(AnswerTo(""), "");
  HttpLimits limits = Patient();
  limits.request = kSoon;
  const Served silent(limits);
  EXPECT_EQ(silent.Receive(), "");
}

TEST(Http, GivesUpOnARequestThatDoesNotEnd) {
  HttpLimits limits = Patient();
  limits.request = kSoon;
  limits.goodbye = kSoon;
  const Served served(limits);
  served.Send("GET /page HTTP/1.1\r\nA: ");
  EXPECT_THAT(served.Receive(), StartsWith("HTTP/1.1 408 "));
}

TEST(Http, GivesUpOnAClientThatTakesNothing) {
  HttpLimits limits = Patient();
  limits.answer = kSoon;
  limits.goodbye = kSoon;
  Served served(limits, std::string(std::size_t{16} << 20U, 'x'));
  served.Send("GET /page HTTP/1.1\r\n\r\n");
  served.AwaitEnd();
  EXPECT_LT(served.Receive().size(), std::size_t{16} << 20U);
}

TEST(Http, TakesNothingAmissWhenTheClientVanishes) {
  for (const char* request : {"", "GET", "GET /page HTTP/1.1\r\n\r\n"}) {
    const Served served(Patient(), std::string(std::size_t{16} << 20U, 'x'));
    served.Send(request);
  }
}

TEST(Http, ServesALargePageWhole) {
  const std::string body(std::size_t{16} << 20U, 'x');
  const Served served(Patient(), body);
  served.Send("GET /page HTTP/1.1\r\n\r\n");
  served.Finish();
  EXPECT_THAT(served.Receive(), EndsWith("\r\n\r\n" + body));
}

}  // namespace
}  // namespace packetdb::host::test
