// What is read: [[log_group]] and [[capture]].
#include "host/config/key_kinds.h"
#include "host/config/list_section.h"
#include "host/config/name_rules.h"
#include "host/config/sections.h"
#include "host/config/text_rules.h"
#include "host/config/units.h"

namespace packetdb::host {
namespace {

// The header of IPv4 without options; nothing can be told from less.
constexpr std::int64_t kLeastCopied = 20;
constexpr std::int64_t kMostCopied = 32 * kKiB;
// Link header, tags and the longest IPv4 header with ports fit.
constexpr std::int64_t kLeastSnapped = 64;
constexpr std::int64_t kMostSnapped = 256 * kKiB;
constexpr std::int64_t kLeastBuffer = 64 * kKiB;
constexpr std::int64_t kMostBuffer = 512 * kMiB;  // the kernel counts twice of it in an int
constexpr std::int64_t kTickMs = 10;              // of the kernel's flush timer
constexpr std::int64_t kLongestFlush = 10'000;
constexpr std::size_t kLongestFilter = 2000;

}  // namespace

std::unique_ptr<Section> MakeLogGroupSection() {
  using Group = LogGroupSettings;
  std::vector<Key<Group>> keys;
  keys.push_back(NumberKey("group", &Group::group, {0, 65535}, "5",
                           "The number behind `group` in a rule of nftables, behind "
                           "`--nflog-group` in one of iptables.",
                           Effect::kSources));
  keys.back().required = true;
  keys.push_back(UnitKey(kSizeKind, "copy_range", &Group::copy_range, {kLeastCopied, kMostCopied},
                         "128B",
                         "How much of each packet the kernel copies. A rule's `snaplen` may lower "
                         "it. Only headers are read.",
                         Effect::kSources));
  keys.push_back(NumberKey("queue_threshold", &Group::queue_threshold, {1, 65535}, "400",
                           "How many packets the kernel gathers before it hands them over.",
                           Effect::kSources));
  keys.push_back(UnitKey(kDurationKind, "flush_after", &Group::flush_after,
                         {kTickMs, kLongestFlush, 1, kTickMs}, "10ms",
                         "How long a packet waits for others before the kernel hands it over.",
                         Effect::kSources));
  keys.push_back(UnitKey(kSizeKind, "receive_buffer", &Group::receive_buffer,
                         {kLeastBuffer, kMostBuffer}, "32MiB",
                         "The kernel's buffer for what the daemon has not taken yet. "
                         "`packetdb status` shows what the kernel gave.",
                         Effect::kSources));
  return std::make_unique<ListSection<Group>>(
      "log_group",
      "A log group of the packet filter that is read. Where neither a log group nor a capture is "
      "given, group 5 is read, with the defaults.",
      ListTraits<Group>{&Configuration::log_groups, kMostSources, "group", Effect::kSources},
      std::move(keys));
}

std::unique_ptr<Section> MakeCaptureSection() {
  using Capture = CaptureSettings;
  std::vector<Key<Capture>> keys;
  keys.push_back(TextKey("interface", &Capture::interface, InterfaceName(), "The interface.",
                         Effect::kSources));
  keys.back().required = true;
  keys.push_back(UnitKey(
      kSizeKind, "snap_length", &Capture::snap_length, {kLeastSnapped, kMostSnapped}, "128B",
      "How much of each packet is captured. Only headers are read.", Effect::kSources));
  keys.push_back(BooleanKey("promiscuous", &Capture::promiscuous,
                            "Whether packets for others are captured too.", Effect::kSources));
  keys.push_back(TextKey("filter", &Capture::filter, CaptureFilter(kLongestFilter),
                         "What is captured. Everything where it is empty.", Effect::kSources));
  keys.push_back(UnitKey(kSizeKind, "buffer", &Capture::buffer_bytes, {kLeastBuffer, kMostBuffer},
                         "16MiB", "The kernel's buffer for what the daemon has not taken yet.",
                         Effect::kSources));
  return std::make_unique<ListSection<Capture>>(
      "capture", "A network interface that is captured.",
      ListTraits<Capture>{&Configuration::captures, kMostSources, "interface", Effect::kSources},
      std::move(keys));
}

}  // namespace packetdb::host
