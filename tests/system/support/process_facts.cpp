#include "tests/system/support/process_facts.h"

#include <fstream>
#include <sstream>

namespace packetdb::host::test {

std::string Told(pid_t process, const std::string& file, const std::string& words) {
  std::ifstream lines("/proc/" + std::to_string(process) + "/" + file);
  std::string value;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(words)) {
      std::istringstream(line.substr(words.size())) >> value;
    }
  }
  return value;
}

}  // namespace packetdb::host::test
