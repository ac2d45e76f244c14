#include "host/log/standard_streams.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace packetdb::host {

void OpenStandardStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) {
      continue;
    }
    // The lowest free number is this one: those below it are open by now. No O_CLOEXEC: these three
    // are meant to be passed on.
    if (open("/dev/null", O_RDWR) != descriptor) {  // NOLINT(android-cloexec-open): see above
      std::abort();  // nowhere to report to, and going on could destroy a file
    }
  }
}

}  // namespace packetdb::host
