#include "host/sources/capture_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <pcap/pcap.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace packetdb::host {
namespace {

std::string ErrnoText() { return std::generic_category().message(errno); }

// A stream of its own, so that closing it leaves standard input open.
std::FILE* OpenStandardInput() {
  const int copy = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
  std::FILE* const file = copy < 0 ? nullptr : fdopen(copy, "rb");
  if (file == nullptr && copy >= 0) close(copy);
  return file;
}

// pcapng is version 1 for libpcap; the older format starts at 2.
bool IsPcapng(pcap* handle) { return pcap_major_version(handle) == 1; }

// pcap counts unsigned seconds in 32 bits, of which libpcap makes a negative number from 2038 on.
std::int64_t Seconds(pcap* handle, const pcap_pkthdr& header) {
  const std::int64_t seconds = header.ts.tv_sec;
  return IsPcapng(handle) ? seconds : static_cast<std::uint32_t>(seconds);
}

// libpcap passes on what the file says, which may be more than a second, or, multiplied, negative.
std::uint32_t Nanoseconds(const pcap_pkthdr& header) {
  constexpr std::int64_t kMax = 999'999'999;
  const std::int64_t nanoseconds = header.ts.tv_usec;  // because we asked for that precision
  return static_cast<std::uint32_t>(std::clamp(nanoseconds, std::int64_t{0}, kMax));
}

std::string LinkTypeName(int link_type) {
  const char* const name = pcap_datalink_val_to_name(link_type);
  const std::string number = std::to_string(link_type);
  return name == nullptr ? number : number + " (" + name + ")";
}

}  // namespace

void CaptureFile::Closer::operator()(pcap* handle) const { pcap_close(handle); }

void CaptureFile::Closer::operator()(std::FILE* file) const { std::fclose(file); }

CaptureFile::CaptureFile(std::string path) : path_(std::move(path)) {
  if (FilePtr file = OpenFile(); file && IsReadable(file.get())) OpenCapture(std::move(file));
}

CaptureFile::FilePtr CaptureFile::OpenFile() {
  FilePtr file(path_ == "-" ? OpenStandardInput() : std::fopen(path_.c_str(), "rbe"));
  if (!file) Fail(CaptureError::kCannotOpen, ErrnoText());
  return file;
}

// What libpcap would say about these is true, and no help.
bool CaptureFile::IsReadable(std::FILE* file) {
  struct stat status {};
  if (fstat(fileno(file), &status) != 0) {
    Fail(CaptureError::kCannotOpen, ErrnoText());
  } else if (S_ISDIR(status.st_mode)) {
    Fail(CaptureError::kDirectory, "");
  } else if (S_ISREG(status.st_mode) && status.st_size == 0) {
    Fail(CaptureError::kEmpty, "");
  }
  return !failure_;
}

void CaptureFile::OpenCapture(FilePtr file) {
  std::array<char, PCAP_ERRBUF_SIZE> reason{};
  handle_.reset(pcap_fopen_offline_with_tstamp_precision(file.get(), PCAP_TSTAMP_PRECISION_NANO,
                                                         reason.data()));
  if (!handle_) {
    Fail(CaptureError::kNotCapture, reason.data());
    return;
  }
  static_cast<void>(file.release());  // the handle closes it
  link_type_ = pcap_datalink(handle_.get());
}

std::optional<CapturedFrame> CaptureFile::Next() {
  if (!handle_) return std::nullopt;
  pcap_pkthdr* header = nullptr;
  const u_char* bytes = nullptr;
  const int result = pcap_next_ex(handle_.get(), &header, &bytes);
  if (result != 1) {
    if (result != PCAP_ERROR_BREAK) {
      Fail(CaptureError::kDamaged,
           "packet " + std::to_string(packets_ + 1) + ": " + pcap_geterr(handle_.get()));
    }
    handle_.reset();
    return std::nullopt;
  }
  ++packets_;
  // The file may claim that the packet was shorter than what it holds of it.
  const std::size_t wire_length = std::max(header->caplen, header->len);
  return CapturedFrame{{ByteView(bytes, header->caplen), wire_length},
                       {Seconds(handle_.get(), *header), Nanoseconds(*header)}};
}

void CaptureFile::RefuseLinkType() {
  Fail(CaptureError::kUnsupportedLinkType, LinkTypeName(link_type_));
  handle_.reset();
}

void CaptureFile::Fail(CaptureError error, const std::string& detail) {
  std::string text = path_ + ": " + std::string(Text(error));
  if (!detail.empty()) text += ": " + detail;
  failure_ = CaptureFailure{error, std::move(text)};
}

}  // namespace packetdb::host
