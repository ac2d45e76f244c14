#include "host/config/section.h"

#include <fmt/format.h>

#include "host/config/sections.h"
#include "host/config/spelling.h"
#include "host/config/written.h"

namespace packetdb::host {
namespace {

// The keys of our tables need no quotes; somebody else's may hold anything.
std::string Named(const std::string& key) {
  constexpr std::size_t kLongestShown = 64;
  if (key.size() > kLongestShown) return fmt::format("with a name of {} bytes", key.size());
  const std::string quoted = Quoted(key);
  return "'" + quoted.substr(1, quoted.size() - 2) + "'";
}

std::string Advice(const std::string& key, const std::vector<std::string>& known) {
  if (const auto nearest = NearestWord(key, known)) {
    return fmt::format("did you mean '{}'?", *nearest);
  }
  if (const std::string title = TitleOfSectionWith(key); !title.empty()) {
    return fmt::format("it belongs {}", title);
  }
  return fmt::format("there are {}", fmt::join(known, ", "));
}

}  // namespace

std::string UnknownKeyText(const std::string& key, const std::string& title,
                           const std::vector<std::string>& known) {
  return fmt::format("unknown key {}{}{}; {}", Named(key), title.empty() ? "" : " in ", title,
                     Advice(key, known));
}

}  // namespace packetdb::host
