#include "host/config/text_rules.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace packetdb::host {
namespace {

using Why = std::optional<std::string>;

Why WhyNotOfLength(const std::string& text, std::size_t shortest, std::size_t longest) {
  if (text.size() < shortest) return "it is empty";
  if (text.size() > longest) return fmt::format("it has {} bytes", text.size());
  return std::nullopt;
}

Why WhyNotPlain(const std::string& text, std::size_t shortest, std::size_t longest) {
  if (HasControl(text)) return "there is a control character in it";
  return WhyNotOfLength(text, shortest, longest);
}

Why WhyNotPath(const std::string& text, std::size_t longest) {
  if (auto why = WhyNotPlain(text, 1, longest)) return why;
  if (text.front() != '/') return "it does not begin with '/'";
  return std::nullopt;
}

Why WhyNotUser(const std::string& name, const Reading& reading) {
  if (HasControl(name) || !reading.surroundings.has_user(name)) return "there is no such user";
  return std::nullopt;
}

}  // namespace

bool HasControl(const std::string& text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
  });
}

TextRule PlainText(std::size_t shortest, std::size_t longest, std::string example) {
  return {fmt::format("a text of {} to {} bytes", shortest, longest), std::move(example),
          [shortest, longest](const std::string& text, const Reading&) {
            return WhyNotPlain(text, shortest, longest);
          }};
}

TextRule CaptureFilter(std::size_t longest) {
  return {
      fmt::format("a filter as in pcap-filter(7) of at most {} bytes, or \"\" for none", longest),
      "tcp port 443", [longest](const std::string& text, const Reading& reading) -> Why {
        if (text.empty()) return std::nullopt;
        if (auto why = WhyNotPlain(text, 1, longest)) return why;
        return reading.surroundings.why_no_filter(text);
      }};
}

TextRule AbsolutePath(std::size_t longest, std::string example, bool may_be_empty) {
  return {fmt::format("an absolute path of at most {} bytes{}", longest,
                      may_be_empty ? ", or \"\" for none" : ""),
          std::move(example), [longest, may_be_empty](const std::string& text, const Reading&) {
            return may_be_empty && text.empty() ? std::nullopt : WhyNotPath(text, longest);
          }};
}

TextRule KnownUser() {
  return {"the name of a user of this system, or \"\"", "packetdb",
          [](const std::string& text, const Reading& reading) {
            return text.empty() ? std::nullopt : WhyNotUser(text, reading);
          }};
}

TextRule KnownUsers() { return {"a list of names of users of this system", "root", WhyNotUser}; }

TextRule KnownGroup() {
  return {"the name of a group of this system, or \"\"", "packetdb",
          [](const std::string& text, const Reading& reading) -> Why {
            if (text.empty()) return std::nullopt;
            if (HasControl(text) || !reading.surroundings.has_group(text)) {
              return "there is no such group";
            }
            return std::nullopt;
          }};
}

}  // namespace packetdb::host
