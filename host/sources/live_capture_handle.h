// libpcap's handle for an interface, set up and ready to be read.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct pcap;

namespace packetdb::host {

struct LiveCaptureOptions {
  std::string interface = {};       // "any": all of them, and then the direction is told as well
  std::uint32_t snap_length = 128;  // bytes of each packet
  bool promiscuous = false;
  std::string filter = {};                  // in the words of pcap-filter(7); empty: everything
  std::uint32_t buffer_bytes = 16U << 20U;  // of the kernel's ring
};

struct PcapCloser {
  void operator()(pcap* handle) const;
};
using PcapHandle = std::unique_ptr<pcap, PcapCloser>;

// Throws SourceError: see LiveCapture::Open().
PcapHandle OpenPcap(const LiveCaptureOptions& options);

}  // namespace packetdb::host
