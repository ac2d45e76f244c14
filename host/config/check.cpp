#include "host/config/check.h"

#include <fmt/format.h>
#include <string_view>

#include "host/log/escape.h"

namespace packetdb::host {
namespace {

void Count(std::size_t count, std::string_view one, std::string_view many, std::string& text) {
  if (count == 0) return;
  text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, count == 1 ? one : many);
}

}  // namespace

std::string SumUp(const Configuration& configuration) {
  std::string text;
  Count(configuration.log_groups.size(), "log group", "log groups", text);
  Count(configuration.captures.size(), "capture", "captures", text);
  if (text.empty()) text = "nothing is read";
  Count(configuration.journals.size(), "journal", "journals", text);
  Count(configuration.rules.size(), "rule", "rules", text);
  Count(configuration.exclusions.size(), "exclusion", "exclusions", text);
  Count(configuration.nodes.size(), "network of a node", "networks of nodes", text);
  return text;
}

ConfigurationCheck CheckConfiguration(const ConfigurationPlaces& places,
                                      const Surroundings& surroundings) {
  try {
    const Configuration configuration = LoadConfiguration(places, surroundings);
    return {true,
            {fmt::format("{}: the configuration is right: {}", EscapeForLog(places.file),
                         SumUp(configuration))}};
  } catch (const ConfigurationError& error) {
    ConfigurationCheck check;
    check.lines.reserve(error.problems().size());
    for (const std::string& problem : error.problems()) {
      check.lines.push_back(EscapeForLog(problem));
    }
    return check;
  }
}

}  // namespace packetdb::host
