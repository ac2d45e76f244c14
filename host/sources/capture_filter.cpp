#include "host/sources/capture_filter.h"

#include <pcap/pcap.h>
#include <utility>

#include "host/sources/live_capture_handle.h"

namespace packetdb::host {
namespace {

// What live captures have, the most frequent first: each has words of its own.
constexpr int kLinkTypes[] = {DLT_EN10MB, DLT_RAW, DLT_LINUX_SLL2, DLT_LINUX_SLL};

std::optional<std::string> WhyNot(const std::string& text, int link_type) {
  constexpr int kSnapLength = 65535;
  constexpr int kOptimize = 1;
  const PcapHandle handle(pcap_open_dead(link_type, kSnapLength));
  if (!handle) return "no memory";
  bpf_program program = {};
  if (pcap_compile(handle.get(), &program, text.c_str(), kOptimize, PCAP_NETMASK_UNKNOWN) != 0) {
    return pcap_geterr(handle.get());
  }
  pcap_freecode(&program);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> WhyNotCaptureFilter(const std::string& text) {
  std::optional<std::string> first;
  for (const int link_type : kLinkTypes) {
    std::optional<std::string> why = WhyNot(text, link_type);
    if (!why) return std::nullopt;
    if (!first) first = std::move(why);
  }
  return first;
}

}  // namespace packetdb::host
