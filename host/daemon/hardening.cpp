#include "host/daemon/hardening.h"

#include <cerrno>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>

namespace packetdb::host {

namespace {

void Require(int result, const char* what) {
  if (result != 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

}  // namespace

void HardenProcess() {
  umask(0027);
  const rlimit none{0, 0};
  Require(setrlimit(RLIMIT_CORE, &none), "cannot forbid core dumps");
  Require(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "cannot forbid new privileges");
  ForbidInspection();
}

void ForbidInspection() {
  Require(prctl(PR_SET_DUMPABLE, 0, 0, 0, 0), "cannot forbid being looked into");
}

}  // namespace packetdb::host
