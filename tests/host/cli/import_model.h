// What an import is to make of packets, said naively: captures of packets, the order in which
// several captures are journaled, and the records that come of it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "packetdb/storage.h"
#include "tests/host/sources/packets.h"

namespace packetdb::host::test {

// A UDP packet from 10.0.0.1 to port 53 of 10.0.0.2, which a rule dropped or accepted on its way
// in.
struct Packet {
  std::uint32_t second = 0;  // since 1980
  std::uint32_t microsecond = 0;
  std::uint16_t port = 1000;  // of the source
  std::uint32_t interface = 1;
  bool dropped = true;
  std::uint16_t data = 0;  // bytes behind the UDP header
};

using Packets = std::vector<Packet>;

// A pcap file of netfilter log records.
Bytes CaptureOf(const Packets& packets);

// Of the captures' first packets the oldest, again and again; of several the first capture's.
Packets InOrderOfTime(std::vector<Packets> captures);

// A journal for the packets of imports. Interface 2 is called wan0.
class ModelJournal {
 public:
  ModelJournal(std::uint32_t window, std::size_t capacity) : window_(window), capacity_(capacity) {}

  // An import knows no repeats of what was there before it; its times begin at the newest record.
  void Import(const Packets& packets);

  std::vector<PacketDbItemPacked> Records() const;  // those that the journal keeps
  std::uint64_t moved() const { return moved_; }    // packets of the last import, in time

 private:
  using Identity = std::tuple<std::uint16_t, std::uint32_t, bool>;

  void Journal(const Packet& packet);

  std::uint32_t window_;
  std::size_t capacity_;
  std::vector<PacketDbItemPacked> appended_;
  std::map<Identity, std::size_t> last_;
  std::uint32_t newest_ = 0;
  std::uint64_t moved_ = 0;
};

// Compares all bytes of all records.
void ExpectSameRecords(const std::vector<PacketDbItemPacked>& actual,
                       const std::vector<PacketDbItemPacked>& expected);

}  // namespace packetdb::host::test
