// How a netfilter log group is to be read.
#pragma once

#include <chrono>
#include <cstdint>

namespace packetdb::host {

struct LogGroupOptions {
  std::uint16_t group = 0;
  // Bytes of each packet that the kernel copies, up to 65531; 0 stands for all. A rule may lower
  // it.
  std::uint32_t copy_range = 128;
  // The kernel sends when so many packets have gathered, or so long after the first. It counts
  // hundredths of a second, of which there is at least one.
  std::uint32_t queue_threshold = 400;
  std::chrono::milliseconds flush_after{10};
  // Bytes asked for; what the kernel gives is in LiveCounters::buffer_bytes.
  std::uint32_t receive_buffer = 32U << 20U;
  // Room for what the kernel sends at a time. It gathers records in 128 KiB, which its allocator
  // rounds up and then uses. What has no room is counted as malformed, and its records as lost.
  std::uint32_t largest_datagram = 256U << 10U;
};

}  // namespace packetdb::host
