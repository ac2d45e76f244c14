#include "tests/host/config/support.h"

#include <fmt/format.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <utility>

#include "host/config/load.h"

namespace packetdb::host::test {
namespace {

constexpr const char* kWithNodes = "nodes_file = \"/n.toml\"\n";

std::string Joined(const std::vector<std::string>& lines) {
  return fmt::format("{}", fmt::join(lines, "\n"));
}

Configuration ReadOn(std::string_view text, const Surroundings& surroundings) {
  try {
    return ParseConfiguration(text, "c.toml", surroundings);
  } catch (const ConfigurationError& error) {
    ADD_FAILURE() << Joined(error.problems());
    return {};
  }
}

std::vector<std::string> ProblemsOn(std::string_view text, const Surroundings& surroundings) {
  try {
    ParseConfiguration(text, "c.toml", surroundings);
  } catch (const ConfigurationError& error) {
    return error.problems();
  }
  return {};
}

}  // namespace

Surroundings SmallSystem(std::string file_text) {
  return {[](const std::string& name) { return name == "root" || name == "packetdb"; },
          [](const std::string& name) { return name == "packetdb"; },
          [](const std::string& filter) {
            return filter == "tcp and" ? std::optional<std::string>("syntax error") : std::nullopt;
          },
          [file_text = std::move(file_text)](const std::string&, std::size_t) {
            return TextFile{file_text, "", false};
          }};
}

Configuration Read(std::string_view text) { return ReadOn(text, SmallSystem()); }

std::vector<std::string> ProblemsOf(std::string_view text) {
  return ProblemsOn(text, SmallSystem());
}

std::string ProblemOf(std::string_view text) { return Joined(ProblemsOf(text)); }

Configuration ReadNodes(const std::string& text) { return ReadOn(kWithNodes, SmallSystem(text)); }

std::string ProblemOfNodes(const std::string& text) {
  return Joined(ProblemsOn(kWithNodes, SmallSystem(text)));
}

std::string ReadFile(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  if (!file) ADD_FAILURE() << "cannot read " << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace packetdb::host::test
