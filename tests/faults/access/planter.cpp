#include "tests/faults/access/planter.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace packetdb::faults {
namespace {

void Make(const Planted& plant, const std::string& path) {
  switch (plant.what) {
    case Plant::kSymbolicLink:
      if (symlink(plant.target.c_str(), path.c_str()) != 0) return;
      break;
    case Plant::kHardLink:
      if (link(plant.target.c_str(), path.c_str()) != 0) return;
      break;
    case Plant::kFifo:
      if (mkfifo(path.c_str(), 0666) != 0) return;
      break;
  }
}

int Rename(const std::string& from, const std::string& to, unsigned int how) {
  return renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), how);
}

// Whatever fails, fails because the other process was faster; the next turn begins anew.
void Turn(const std::string& name, const std::string& beside, const Planted& plant) {
  Make(plant, beside);
  if (Rename(beside, name, RENAME_EXCHANGE) == 0) {
    if (Rename(beside, name, RENAME_EXCHANGE) != 0) Rename(beside, name, RENAME_NOREPLACE);
  } else if (Rename(beside, name, RENAME_NOREPLACE) == 0) {
    Rename(name, beside, 0);
  }
  unlink(beside.c_str());
}

[[noreturn]] void Work(const std::string& name, const std::vector<Planted>& plants) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const std::string beside = name + ".planted";
  for (;;) {
    for (const Planted& plant : plants) Turn(name, beside, plant);
  }
}

}  // namespace

Planter::Planter(const std::string& name, const std::vector<Planted>& plants) : process_(fork()) {
  if (process_ < 0) throw std::runtime_error("no process to plant");
  if (process_ == 0) Work(name, plants);
}

Planter::~Planter() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

}  // namespace packetdb::faults
