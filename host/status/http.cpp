#include "host/status/http.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>

#include "host/bus/deadline.h"
#include "host/log/log.h"
#include "host/status/http_request.h"

namespace packetdb::host {
namespace {

struct Answer {
  std::string_view status;
  std::string_view content_type = "text/plain; charset=utf-8";
  std::string_view more_headers;
  std::string body;
};

// False when the time is over.
bool Await(int fd, short events, Deadline& deadline) {
  pollfd waited = {fd, events, 0};
  int ready = poll(&waited, 1, deadline.RemainingForPoll());
  while (ready < 0 && errno == EINTR) ready = poll(&waited, 1, deadline.RemainingForPoll());
  return ready > 0;
}

bool MayBeTriedAgain(int error) { return error == EAGAIN || error == EINTR; }

enum class Received { kRequest, kMalformed, kTooLong, kTooLate, kNothing };

// What has come so far: kNothing while more is to come.
Received Judge(std::string_view bytes, const HttpLimits& limits, HttpRequest* request) {
  switch (ParseHttpRequest(bytes, request)) {
    case HttpProgress::kComplete:
      return Received::kRequest;
    case HttpProgress::kMalformed:
      return Received::kMalformed;
    default:
      return bytes.size() >= limits.request_bytes ? Received::kTooLong : Received::kNothing;
  }
}

Received Receive(int fd, const HttpLimits& limits, HttpRequest* request) {
  Deadline deadline(limits.request);
  std::string bytes;
  std::array<char, 1024> part;
  while (Await(fd, POLLIN, deadline)) {
    const std::size_t room = std::min(part.size(), limits.request_bytes - bytes.size());
    const ssize_t got = recv(fd, part.data(), room, MSG_DONTWAIT);
    if (got < 0 && MayBeTriedAgain(errno)) continue;
    if (got < 0) return Received::kNothing;
    if (got == 0) return bytes.empty() ? Received::kNothing : Received::kMalformed;
    bytes.append(part.data(), static_cast<std::size_t>(got));
    const Received received = Judge(bytes, limits, request);
    if (received != Received::kNothing) return received;
  }
  return bytes.empty() ? Received::kNothing : Received::kTooLate;
}

Answer Failure(std::string_view status, std::string_view more_headers = {}) {
  Answer answer;
  answer.status = status;
  answer.more_headers = more_headers;
  answer.body = fmt::format("{}\n", status);
  return answer;
}

Answer AnswerWith(const HttpPage& page) {
  try {
    Answer answer;
    answer.status = "200 OK";
    answer.content_type = page.content_type;
    answer.body = page.body();
    return answer;
  } catch (const std::exception& error) {
    WriteLog(kFailureLevel, fmt::format("cannot serve {}: {}", page.path, error.what()));
    return Failure("500 Internal Server Error");
  }
}

Answer AnswerTo(const HttpRequest& request, std::span<const HttpPage> pages) {
  const auto page = std::find_if(pages.begin(), pages.end(), [&request](const HttpPage& candidate) {
    return candidate.path == request.path;
  });
  if (page == pages.end()) return Failure("404 Not Found");
  if (request.method != "GET" && request.method != "HEAD") {
    return Failure("405 Method Not Allowed", "Allow: GET, HEAD\r\n");
  }
  return AnswerWith(*page);
}

Answer Refusal(Received received) {
  switch (received) {
    case Received::kTooLong:
      return Failure("431 Request Header Fields Too Large");
    case Received::kTooLate:
      return Failure("408 Request Timeout");
    default:
      return Failure("400 Bad Request");
  }
}

std::string BytesOf(const Answer& answer, bool with_body) {
  return fmt::format(
      "HTTP/1.1 {}\r\nContent-Type: {}\r\nContent-Length: {}\r\n{}Connection: close\r\n\r\n{}",
      answer.status, answer.content_type, answer.body.size(), answer.more_headers,
      with_body ? answer.body : std::string());
}

void Send(int fd, std::string_view bytes, std::chrono::milliseconds limit) {
  Deadline deadline(limit);
  while (!bytes.empty() && Await(fd, POLLOUT, deadline)) {
    const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0 && !MayBeTriedAgain(errno)) return;
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

// Closing while bytes wait that nobody read would take the answer back from a client that has not
// read it yet.
void SayGoodbye(int fd, std::chrono::milliseconds limit) {
  constexpr std::size_t kMostDropped = std::size_t{1} << 20U;
  if (shutdown(fd, SHUT_WR) != 0) return;
  Deadline deadline(limit);
  std::array<char, 4096> dropped;
  std::size_t total = 0;
  while (total < kMostDropped && Await(fd, POLLIN, deadline)) {
    const ssize_t got = recv(fd, dropped.data(), dropped.size(), MSG_DONTWAIT);
    if (got == 0 || (got < 0 && !MayBeTriedAgain(errno))) return;
    total += got > 0 ? static_cast<std::size_t>(got) : 0;
  }
}

}  // namespace

void ServeHttp(int fd, std::span<const HttpPage> pages, const HttpLimits& limits) {
  try {
    HttpRequest request;
    const Received received = Receive(fd, limits, &request);
    if (received == Received::kNothing) return;
    const Answer answer =
        received == Received::kRequest ? AnswerTo(request, pages) : Refusal(received);
    Send(fd, BytesOf(answer, request.method != "HEAD"), limits.answer);
    SayGoodbye(fd, limits.goodbye);
  } catch (const std::exception& error) {
    WriteLog(kFailureLevel, fmt::format("cannot answer a request for metrics: {}", error.what()));
  }
}

}  // namespace packetdb::host
