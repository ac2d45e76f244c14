// Why a capture could not be read, or not to its end.
#pragma once

#include <string>
#include <string_view>

namespace packetdb::host {

enum class CaptureError {
  kCannotOpen,           // the system refused: missing, no permission, ...
  kDirectory,            // not a file
  kEmpty,                // not even a header
  kNotCapture,           // neither pcap nor pcapng, or its header is damaged
  kUnsupportedLinkType,  // frames that we cannot take apart
  kDamaged,              // cut or garbled behind its header; events before that were delivered
};

// One line for people, in lower case, without a full stop.
std::string_view Text(CaptureError error);

struct CaptureFailure {
  CaptureError error;
  std::string text;  // file, packet number where there is one, what is wrong; one line
};

}  // namespace packetdb::host
