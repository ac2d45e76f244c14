#include "tests/host/sources/collector.h"

#include "tests/host/sources/show.h"

namespace packetdb::host::test {

void Collector::Take(const LiveEvent& event) {
  std::string text = Show(event.event);
  if (!event.prefix.empty()) text += " prefix '" + std::string(event.prefix) + "'";
  if (event.log_group != 0) text += " group " + std::to_string(event.log_group);
  if (event.mark != 0) text += " mark " + std::to_string(event.mark);
  if (event.uid) text += " uid " + std::to_string(*event.uid);
  events_.push_back(text);
  last_ = event.event;
}

}  // namespace packetdb::host::test
