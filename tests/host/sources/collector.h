// Takes what a live source gives, as text.
#pragma once

#include <string>
#include <vector>

#include "host/sources/live_source.h"

namespace packetdb::host::test {

class Collector final : public EventSink {
 public:
  void Take(const LiveEvent& event) override;

  // "eth0 10.0.0.1:1000 > ... at 5", and behind it what is not 0, empty or missing of prefix,
  // group, mark and uid: " prefix 'in: ' group 5 mark 7 uid 1000".
  const std::vector<std::string>& events() const { return events_; }
  const Event& last() const { return last_; }

 private:
  std::vector<std::string> events_;
  Event last_;
};

}  // namespace packetdb::host::test
