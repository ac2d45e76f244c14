#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "tests/system/support/program.h"

namespace packetdb::host::test {

namespace {

// From "pid (name) state parent ..."; the name may hold anything. 0 when the process is gone.
pid_t ParentIn(const std::string& stat) {
  const std::size_t name_end = stat.rfind(')');
  if (name_end == std::string::npos) {
    return 0;
  }
  std::istringstream fields(stat.substr(name_end + 1));
  std::string state;
  pid_t parent = 0;
  fields >> state >> parent;
  return parent;
}

bool IsNumber(const std::string& text) {
  return text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

std::vector<pid_t> ChildrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (!IsNumber(name)) {
      continue;
    }
    std::ifstream file(entry.path() / "stat");
    const std::string stat{std::istreambuf_iterator<char>(file), {}};
    if (ParentIn(stat) == parent) {
      children.push_back(static_cast<pid_t>(std::stoi(name)));
    }
  }
  return children;
}

}  // namespace packetdb::host::test
