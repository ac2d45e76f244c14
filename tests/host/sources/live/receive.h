// Reading a live source until a test has what it waits for.
#pragma once

#include <cstdint>
#include <functional>

#include "host/sources/live_source.h"

namespace packetdb::host::test {

// Receives whenever the source is readable. False: nothing came for a long time.
bool ReceiveUntil(LiveSource& source, EventSink& sink, const std::function<bool()>& done);

// Records that came or are known to be lost.
std::uint64_t Accounted(const LiveSource& source);

// Until so many are accounted for.
bool ReceiveAll(LiveSource& source, EventSink& sink, std::uint64_t count);

// Counts events and their bytes.
class Totals final : public EventSink {
 public:
  void Take(const LiveEvent& event) override {
    ++events;
    bytes += event.event.item.m_PacketSize;
  }
  std::uint64_t events = 0;
  std::uint64_t bytes = 0;
};

}  // namespace packetdb::host::test
