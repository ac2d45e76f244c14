#include "bench/record_file/machine.h"

#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <lmdb.h>
#include <sqlite3.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "bench/support/scratch.h"

namespace packetdb::bench {
namespace {

std::string ProcessorName() {
  std::ifstream file("/proc/cpuinfo");
  const std::string wanted = "model name";
  for (std::string line; std::getline(file, line);) {
    const std::size_t colon = line.find(": ");
    if (line.rfind(wanted, 0) == 0 && colon != std::string::npos) return line.substr(colon + 2);
  }
  return "unknown";
}

std::string Kernel() {
  struct utsname name = {};
  return uname(&name) == 0 ? fmt::format("{} {}", name.sysname, name.release) : "unknown";
}

// Of the last minute: much more than nothing at the beginning of a run spoils its figures.
std::string Load() {
  double load = 0;
  return getloadavg(&load, 1) == 1 ? fmt::format("{:.2f}", load) : "unknown";
}

}  // namespace

Facts MachineFacts(const std::string& folder) {
  return {
      {"processor", fmt::format("{}, {} online", ProcessorName(), sysconf(_SC_NPROCESSORS_ONLN))},
      {"kernel", Kernel()},
      {"file system", FileSystemOf(folder)},
      {"load at the beginning", Load()},
      {"compiler", __VERSION__},
      {"SQLite", sqlite3_libversion()},
      {"LMDB", fmt::format("{}.{}.{}", MDB_VERSION_MAJOR, MDB_VERSION_MINOR, MDB_VERSION_PATCH)},
  };
}

}  // namespace packetdb::bench
