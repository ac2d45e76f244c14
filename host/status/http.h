// Serves one request of HTTP on a connected stream socket, to whoever is at the other end.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace packetdb::host {

struct HttpLimits {
  std::chrono::milliseconds request{10000};  // for all of the request to come
  std::chrono::milliseconds answer{30000};   // for all of the answer to be taken
  std::chrono::milliseconds goodbye{1000};   // for the client to close after it
  std::size_t request_bytes = 8192;          // request line and headers
};

struct HttpPage {
  std::string_view path;
  std::string_view content_type;
  std::function<std::string()> body;  // what it throws is answered with 500
};

// Answers GET and HEAD with one of the pages, anything else with 400, 404, 405, 408 or 431, and is
// done: a connection serves one request. Never throws, whatever comes and whoever goes; somebody
// who sends nothing gets nothing. `fd` stays open and is the caller's to close.
void ServeHttp(int fd, std::span<const HttpPage> pages, const HttpLimits& limits);

}  // namespace packetdb::host
