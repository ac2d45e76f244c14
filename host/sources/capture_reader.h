// The events in a capture file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/sources/capture_file.h"
#include "host/sources/counters.h"
#include "host/sources/event_builder.h"

namespace packetdb::host {

class CaptureReader {
 public:
  // Opens `path`, or standard input for "-". A file that cannot be used gives no event, and
  // failure() says at once why.
  CaptureReader(std::string path, CaptureOptions options);

  // The next event, in the order of the file. Empty at the end, and where the file is damaged:
  // failure() tells which.
  std::optional<Event> Next();

  const std::optional<CaptureFailure>& failure() const { return file_.failure(); }
  const CaptureCounters& counters() const { return counters_; }
  const std::string& path() const { return file_.path(); }

 private:
  CaptureFile file_;
  CaptureOptions options_;
  LinkParser parser_;
  CaptureCounters counters_;
};

}  // namespace packetdb::host
