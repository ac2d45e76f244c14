#include "host/sources/capture_reader.h"

#include <utility>

namespace packetdb::host {

CaptureReader::CaptureReader(std::string path, CaptureOptions options)
    : file_(std::move(path)),
      options_(std::move(options)),
      parser_(FindLinkParser(file_.link_type())) {
  if (!file_.failure() && parser_ == nullptr) file_.RefuseLinkType();
}

std::optional<Event> CaptureReader::Next() {
  while (const std::optional<CapturedFrame> captured = file_.Next()) {
    auto event = BuildEvent(parser_, captured->frame, captured->time, options_, counters_);
    if (event) return event;
  }
  return std::nullopt;
}

}  // namespace packetdb::host
