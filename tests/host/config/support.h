// Configurations as texts, on a system of the tests' own.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/config/configuration.h"
#include "host/config/surroundings.h"

namespace packetdb::host::test {

// A system with the users root and packetdb and the group packetdb, where every file has this text,
// and every text is a filter but "tcp and".
Surroundings SmallSystem(std::string file_text = "");

// What the text configures. A refusal fails the test with its problems.
Configuration Read(std::string_view text);
// What is wrong with the text, whose file is called "c.toml".
std::vector<std::string> ProblemsOf(std::string_view text);
// The one thing that is wrong with it; all of them in lines when there are several.
std::string ProblemOf(std::string_view text);

// As Read and ProblemOf, for a file of nodes that is called "/n.toml".
Configuration ReadNodes(const std::string& text);
std::string ProblemOfNodes(const std::string& text);

std::string ReadFile(const std::string& path);

}  // namespace packetdb::host::test
