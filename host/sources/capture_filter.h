// Whether a text is a filter of captures, without an interface to capture.
#pragma once

#include <optional>
#include <string>

namespace packetdb::host {

// Why no capture of ours would take the text for a filter of pcap-filter(7), in libpcap's words;
// none where one would. Names of hosts are looked up.
std::optional<std::string> WhyNotCaptureFilter(const std::string& text);

}  // namespace packetdb::host
