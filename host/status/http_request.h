// A request of HTTP/1.x as far as somebody cares who serves a few pages and closes.
#pragma once

#include <string>
#include <string_view>

namespace packetdb::host {

struct HttpRequest {
  std::string method;  // as it was sent, "GET"
  std::string path;    // "/metrics", without a query
};

enum class HttpProgress {
  kIncomplete,  // so far it is right
  kComplete,
  kMalformed,
};

// Reads the bytes of a request from its beginning, as many as have come: the request line, and
// headers up to an empty line, whose names are looked at and whose values are not. Lines may end
// with CR LF or LF. What comes behind the headers is ignored. `request` is filled when it is
// complete and untouched otherwise.
HttpProgress ParseHttpRequest(std::string_view received, HttpRequest* request);

}  // namespace packetdb::host
