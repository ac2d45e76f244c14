#include "host/status/http_request.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace packetdb::host {
namespace {

// RFC 9110, 5.6.2: what methods and the names of headers are made of.
bool IsTokenByte(char c) {
  const bool is_letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  const bool is_digit = c >= '0' && c <= '9';
  return is_letter || is_digit || (c != '\0' && std::strchr("!#$%&'*+-.^_`|~", c) != nullptr);
}

bool IsToken(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsTokenByte);
}

bool IsTarget(std::string_view text) {
  return text.starts_with('/') &&
         std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7F'; });
}

bool IsVersion(std::string_view text) { return text == "HTTP/1.1" || text == "HTTP/1.0"; }

// A TLS handshake, say: there is no need to wait for more of it.
bool HasControlBytes(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < ' ' && c != '\r' && c != '\n' && c != '\t') || byte == 0x7F;
  });
}

// Takes the first line off; none while its end has not come.
std::optional<std::string_view> TakeLine(std::string_view* rest) {
  const std::size_t end = rest->find('\n');
  if (end == std::string_view::npos) return std::nullopt;
  std::string_view line = rest->substr(0, end);
  rest->remove_prefix(end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

bool ParseRequestLine(std::string_view line, HttpRequest* request) {
  const std::size_t first = line.find(' ');
  const std::size_t last = line.rfind(' ');
  if (first == last) return false;
  const std::string_view method = line.substr(0, first);
  const std::string_view target = line.substr(first + 1, last - first - 1);
  if (!IsToken(method) || !IsTarget(target) || !IsVersion(line.substr(last + 1))) return false;
  request->method = method;
  request->path = target.substr(0, target.find('?'));
  return true;
}

// Without the continuation lines of old, which begin with a blank.
bool IsHeader(std::string_view line) {
  return IsToken(line.substr(0, line.find(':'))) && line.find(':') != std::string_view::npos;
}

}  // namespace

HttpProgress ParseHttpRequest(std::string_view received, HttpRequest* request) {
  if (HasControlBytes(received)) return HttpProgress::kMalformed;
  HttpRequest read;
  std::optional<std::string_view> line = TakeLine(&received);
  if (line && !ParseRequestLine(*line, &read)) return HttpProgress::kMalformed;
  while (line) {
    line = TakeLine(&received);
    if (line && line->empty()) {
      *request = read;
      return HttpProgress::kComplete;
    }
    if (line && !IsHeader(*line)) return HttpProgress::kMalformed;
  }
  return HttpProgress::kIncomplete;
}

}  // namespace packetdb::host
