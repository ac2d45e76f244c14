#include "host/sources/live_capture_handle.h"

#include <algorithm>
#include <array>
#include <net/if.h>
#include <pcap/pcap.h>

#include "host/sources/link_layer.h"
#include "host/sources/live_source.h"

namespace packetdb::host {
namespace {

// How long the kernel may gather packets before it wakes the reader, in milliseconds.
constexpr int kGatherMilliseconds = 10;
constexpr const char* kAll = "any";

[[noreturn]] void Fail(const LiveCaptureOptions& options, const std::string& reason) {
  throw SourceError("capture of " + options.interface + ": " + reason);
}

// libpcap has devices besides interfaces, say the packet filter's log, which are not ours to offer.
void CheckIsInterface(const LiveCaptureOptions& options) {
  const bool is_all = options.interface == kAll;
  if (!is_all && if_nametoindex(options.interface.c_str()) == 0) {
    Fail(options, "no such interface");
  }
}

int AsInt(std::uint32_t value) { return static_cast<int>(std::min(value, 1U << 30U)); }

PcapHandle Create(const LiveCaptureOptions& options) {
  std::array<char, PCAP_ERRBUF_SIZE> reason{};
  PcapHandle handle(pcap_create(options.interface.c_str(), reason.data()));
  if (!handle) Fail(options, reason.data());
  pcap_set_snaplen(handle.get(), AsInt(options.snap_length));
  pcap_set_promisc(handle.get(), options.promiscuous ? 1 : 0);
  pcap_set_timeout(handle.get(), kGatherMilliseconds);
  pcap_set_buffer_size(handle.get(), AsInt(options.buffer_bytes));
  pcap_set_tstamp_precision(handle.get(), PCAP_TSTAMP_PRECISION_NANO);
  return handle;
}

// What it says is a warning, say that promiscuous mode is not to be had, is no reason to give up.
void Activate(const LiveCaptureOptions& options, pcap* handle) {
  const int status = pcap_activate(handle);
  if (status >= 0) return;
  const std::string what = pcap_statustostr(status);
  const std::string detail = pcap_geterr(handle);
  if (detail.empty() || detail == what) Fail(options, what);
  Fail(options, status == PCAP_ERROR ? detail : what + ": " + detail);
}

std::string LinkTypeName(int link_type) {
  const char* const name = pcap_datalink_val_to_name(link_type);
  const std::string number = std::to_string(link_type);
  return name == nullptr ? number : number + " (" + name + ")";
}

// Of the two pseudo headers that captures of all interfaces may have, the second tells which.
void ChooseLinkType(const LiveCaptureOptions& options, pcap* handle) {
  if (options.interface == kAll) pcap_set_datalink(handle, DLT_LINUX_SLL2);
  const int link_type = pcap_datalink(handle);
  if (FindLinkParser(link_type) == nullptr) {
    Fail(options, "unsupported link type: " + LinkTypeName(link_type));
  }
}

void SetFilter(const LiveCaptureOptions& options, pcap* handle) {
  if (options.filter.empty()) return;
  constexpr int kOptimize = 1;
  bpf_program program = {};
  if (pcap_compile(handle, &program, options.filter.c_str(), kOptimize, PCAP_NETMASK_UNKNOWN) !=
      0) {
    Fail(options, "filter \"" + options.filter + "\": " + pcap_geterr(handle));
  }
  const int result = pcap_setfilter(handle, &program);
  pcap_freecode(&program);
  if (result != 0) Fail(options, std::string("filter: ") + pcap_geterr(handle));
}

void MakeNonBlocking(const LiveCaptureOptions& options, pcap* handle) {
  std::array<char, PCAP_ERRBUF_SIZE> reason{};
  if (pcap_setnonblock(handle, 1, reason.data()) != 0) Fail(options, reason.data());
}

}  // namespace

void PcapCloser::operator()(pcap* handle) const { pcap_close(handle); }

PcapHandle OpenPcap(const LiveCaptureOptions& options) {
  CheckIsInterface(options);
  PcapHandle handle = Create(options);
  Activate(options, handle.get());
  ChooseLinkType(options, handle.get());
  SetFilter(options, handle.get());
  MakeNonBlocking(options, handle.get());
  return handle;
}

}  // namespace packetdb::host
