// A capture file, pcap or pcapng, in either byte order, as a sequence of frames.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "host/sources/bytes.h"
#include "host/sources/capture_error.h"
#include "host/sources/event.h"

struct pcap;  // libpcap's handle

namespace packetdb::host {

struct CapturedFrame {
  Frame frame;  // valid until the next call
  PacketTime time;
};

// libpcap reads; its bounds are what keeps a hostile file from costing memory. With libpcap 1.10
// the buffer starts at no more than 2 KiB for pcap, whatever snapshot length the header claims, and
// grows with the packets to 256 KiB, above which a packet is refused; a pcapng block above 16 MiB
// is refused.
class CaptureFile {
 public:
  // Opens `path`, or standard input for "-". See failure().
  explicit CaptureFile(std::string path);

  const std::string& path() const { return path_; }
  const std::optional<CaptureFailure>& failure() const { return failure_; }
  // One of libpcap's DLT_ values; -1 when the file is not open.
  int link_type() const { return link_type_; }

  // Empty at the end, and when the file cannot be read any further: failure() tells which.
  std::optional<CapturedFrame> Next();

  // Gives up on a file whose link type nobody can take apart.
  void RefuseLinkType();

 private:
  struct Closer {
    void operator()(pcap* handle) const;
    void operator()(std::FILE* file) const;
  };
  using FilePtr = std::unique_ptr<std::FILE, Closer>;

  FilePtr OpenFile();
  bool IsReadable(std::FILE* file);
  void OpenCapture(FilePtr file);
  void Fail(CaptureError error, const std::string& detail);

  std::string path_;
  std::unique_ptr<pcap, Closer> handle_;
  int link_type_ = -1;
  std::uint64_t packets_ = 0;
  std::optional<CaptureFailure> failure_;
};

}  // namespace packetdb::host
