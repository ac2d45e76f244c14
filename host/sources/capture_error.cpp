#include "host/sources/capture_error.h"

namespace packetdb::host {

std::string_view Text(CaptureError error) {
  switch (error) {
    case CaptureError::kCannotOpen:
      return "cannot open";
    case CaptureError::kDirectory:
      return "is a directory";
    case CaptureError::kEmpty:
      return "is empty";
    case CaptureError::kNotCapture:
      return "not a capture file";
    case CaptureError::kUnsupportedLinkType:
      return "unsupported link type";
    case CaptureError::kDamaged:
      return "damaged";
  }
  return "unknown error";
}

}  // namespace packetdb::host
