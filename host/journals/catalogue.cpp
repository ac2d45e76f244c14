#include "host/journals/catalogue.h"

#include <charconv>
#include <fmt/format.h>
#include <string_view>

#include "host/journals/error.h"
#include "host/journals/files.h"
#include "host/journals/names.h"

namespace packetdb::host {

namespace {

constexpr std::string_view kFirstLine = "packetdb-group 1";
constexpr std::string_view kWindow = "window ";
constexpr std::string_view kInterface = "interface ";
constexpr std::size_t kLargestFile = std::size_t{4} << 20;  // about 100,000 interfaces

bool ParseSeconds(std::string_view text, long* seconds) {
  const char* end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, *seconds);
  return parsed.ec == std::errc() && parsed.ptr == end && *seconds >= 0;
}

}  // namespace

Catalogue Catalogue::Load(const std::string& path) {
  Catalogue catalogue(path);
  std::string text;
  if (!ReadSmallFile(path, kLargestFile, &text)) {
    throw JournalError(
        fmt::format("{} is missing: it says which interfaces the journal beside it "
                    "holds; restore it from where the journal came",
                    path));
  }
  catalogue.Parse(text);
  return catalogue;
}

Catalogue Catalogue::LoadOrCreate(const std::string& path, long window) {
  std::string text;
  if (!ReadSmallFile(path, kLargestFile, &text)) {
    CreateSmallFile(path, fmt::format("{}\n{}{}\n", kFirstLine, kWindow, window));
  }
  return Load(path);
}

void Catalogue::KeepOpen() {
  if (!file_.IsOpen()) {
    file_ = GrowingFile(path_);
  }
}

void Catalogue::Add(const std::string& interface) {
  if (interfaces_.count(interface) != 0) {
    return;
  }
  if (!IsInterfaceName(interface)) {
    throw JournalError(fmt::format("'{}' cannot be the name of an interface", interface));
  }
  const std::string line = fmt::format("{}{}\n", kInterface, interface);
  if (whole_bytes_ + line.size() > kLargestFile) {
    throw JournalError(
        fmt::format("{}: no room for interface {}: a group has at most {} bytes of "
                    "names",
                    path_, interface, kLargestFile));
  }
  KeepOpen();
  file_.WriteTail(whole_bytes_, line);
  whole_bytes_ += line.size();
  interfaces_.insert(interface);
}

void Catalogue::Parse(const std::string& text) {
  int number = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos;
       end = text.find('\n', whole_bytes_)) {
    ParseLine(text.substr(whole_bytes_, end - whole_bytes_), ++number);
    whole_bytes_ = end + 1;
  }
  if (number < 2) {
    throw JournalError(fmt::format("{}:{}: the file ends too early", path_, number + 1));
  }
}

void Catalogue::ParseLine(const std::string& line, int number) {
  const std::string_view text(line);
  if (number == 1 && text == kFirstLine) {
    return;
  }
  if (number == 2 && text.starts_with(kWindow) &&
      ParseSeconds(text.substr(kWindow.size()), &window_)) {
    return;
  }
  if (number > 2 && text.starts_with(kInterface) &&
      IsInterfaceName(text.substr(kInterface.size()))) {
    interfaces_.emplace(text.substr(kInterface.size()));
    return;
  }
  throw JournalError(fmt::format("{}:{}: not the catalogue of a group", path_, number));
}

}  // namespace packetdb::host
