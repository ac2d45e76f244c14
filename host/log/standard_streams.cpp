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
    // The lowest free number is this one: those below it are open by now. The copy is passed on to
    // children, as these three are meant to be.
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null != descriptor || fcntl(null, F_SETFD, 0) != 0) {
      std::abort();  // nowhere to report to, and going on could destroy a file
    }
  }
}

}  // namespace packetdb::host
