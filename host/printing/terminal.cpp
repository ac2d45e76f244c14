#include "host/printing/terminal.h"

#include <cstdlib>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "host/printing/options.h"

namespace packetdb::host {
namespace {

std::string_view Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

std::size_t TerminalWidth(std::FILE* out) {
  winsize size{};
  if (isatty(fileno(out)) == 0 || ioctl(fileno(out), TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

bool WantsColour(std::string_view when, std::FILE* out) {
  if (when == "always") return true;
  if (when == "never") return false;
  if (when != "auto") {
    throw PrintError(
        fmt::format("'{}' is not when to use colours: give auto, always or never", when));
  }
  return isatty(fileno(out)) != 0 && Environment("NO_COLOR").empty() &&
         Environment("TERM") != "dumb";
}

}  // namespace packetdb::host
