// Several captures as one stream of events, oldest first.
#pragma once

#include <cstddef>
#include <optional>
#include <queue>
#include <vector>

#include "host/sources/capture_reader.h"

namespace packetdb::host {

// Of the files' next events the oldest is delivered; of several as old as each other, the one of
// the file that was named first. Within a file events keep their order, even where its times go
// back. A file that fails drops out and the others go on.
class MergedCaptures {
 public:
  // Reads the first event of each.
  explicit MergedCaptures(std::vector<CaptureReader> readers);

  // Empty when no file has any left.
  std::optional<Event> Next();

  // In the order in which they were named; for their counters and failures.
  const std::vector<CaptureReader>& readers() const { return readers_; }
  // The sum over all files.
  CaptureCounters counters() const;
  // Of the files that failed so far, in the order in which they were named.
  std::vector<CaptureFailure> failures() const;

 private:
  struct Head {
    Event event;
    std::size_t reader;
  };
  struct Later {
    bool operator()(const Head& a, const Head& b) const;
  };

  void Refill(std::size_t reader);

  std::vector<CaptureReader> readers_;
  std::priority_queue<Head, std::vector<Head>, Later> heads_;
};

}  // namespace packetdb::host
