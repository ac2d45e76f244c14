// What packetdbd is told: the values of its configuration, checked, with every default filled in.
// docs/configuration.md describes the files that they come from.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "host/log/log.h"
#include "host/sources/prefix.h"

namespace packetdb::host {

// A netfilter log group that is read.
struct LogGroupSettings {
  std::uint16_t group = 0;
  // Bytes of each packet that the kernel copies; a rule's snaplen may lower it.
  std::uint32_t copy_range = 128;
  // The kernel sends when so many packets have gathered, or so long after the first.
  std::uint32_t queue_threshold = 400;
  std::chrono::milliseconds flush_after{10};  // the kernel counts hundredths of a second
  std::uint32_t receive_buffer = 32U << 20U;  // bytes asked for; the kernel tells what it gave

  bool operator==(const LogGroupSettings&) const = default;
};

// A network interface that is captured.
struct CaptureSettings {
  std::string interface;
  std::uint32_t snap_length = 128;  // bytes of each packet
  bool promiscuous = false;
  std::string filter;                       // in the words of pcap-filter(7); empty: everything
  std::uint32_t buffer_bytes = 16U << 20U;  // the kernel's ring

  bool operator==(const CaptureSettings&) const = default;
};

// A journal, and which events go there: the first journal that an event fits takes it.
struct JournalSettings {
  std::string name = "all";
  std::optional<int> capacity;         // records; none: as the journal has it, else the default
  std::optional<long> window_seconds;  // of merging; none: as the journal has it, else the default
  std::vector<std::string> interfaces = {"*"};  // names with * and ?; one has to fit
  std::vector<std::uint16_t> log_groups;        // empty: any source; else only these

  bool operator==(const JournalSettings&) const = default;
};

// What a log prefix means.
struct RuleSettings {
  std::string prefix;      // with * for any text and ? for any byte
  std::uint32_t code = 0;  // event code, 1 to 1999
  Verdict verdict = Verdict::kNone;
  std::uint32_t flags = 0;  // further bits of m_Flags, of those from kFirstUserFlag on
  std::string text;         // what people shall read beside a row of this rule

  bool operator==(const RuleSettings&) const = default;
};

// Events that are kept out of the journals. Every condition given has to hold.
struct ExclusionSettings {
  enum class Action {
    kCount,  // packets and bytes are counted under the exclusion's name
    kDrop,   // the source's excluded events are one more, and that is all
  };
  std::string name;
  Action action = Action::kCount;
  std::string prefix;  // with * and ?; empty: any
  // Of either end, IPv4 in host byte order, both included.
  struct Addresses {
    std::uint32_t first = 0;
    std::uint32_t last = 0xFFFFFFFF;

    bool operator==(const Addresses&) const = default;
  };
  std::vector<Addresses> addresses;  // empty: any
  struct Ports {
    std::uint16_t first = 0;
    std::uint16_t last = 0xFFFF;

    bool operator==(const Ports&) const = default;
  };
  std::vector<Ports> ports;             // of either end; empty: any
  std::vector<std::uint8_t> protocols;  // empty: any

  bool operator==(const ExclusionSettings&) const = default;
};

// A network whose addresses belong to a node.
struct NodeSettings {
  std::uint32_t network = 0;  // IPv4, host byte order, no bits below the prefix
  std::uint8_t prefix_length = 0;
  std::uint32_t id = 0;  // for m_SrcId and m_DstId; not 0
  std::string name;

  bool operator==(const NodeSettings&) const = default;
};

struct SocketSettings {
  std::string path = "/run/packetdb/socket";
  mode_t mode = 0660;
  std::string group;                       // by name; empty: that of the process
  std::vector<std::string> allowed_users;  // checked by peer credentials; empty: whoever connects

  bool operator==(const SocketSettings&) const = default;
};

struct MetricsSettings {
  std::string socket = "/run/packetdb/metrics";  // empty: none
  std::uint16_t loopback_port = 0;               // 0: none

  bool operator==(const MetricsSettings&) const = default;
};

// What one client may cost.
struct LimitSettings {
  int connections = 64;          // at a time
  int connections_per_user = 8;  // root has no limit of its own
  int message_kib = 1024;        // of a message, 64 to 16384
  int columns = 64;              // of a message
  int idle_seconds = 60;         // between two queries
  int header_seconds = 10;       // for a whole message
  int stalled_seconds = 30;      // for a client that takes nothing of its answer
  int query_seconds = 60;        // of work for one query
  int memory_mib = 1024;         // of one connection's process; 0: no limit
  int rows = 1000000;            // of an answer to anyone but root; 0: no limit

  bool operator==(const LimitSettings&) const = default;
};

struct SyncSettings {
  std::chrono::milliseconds interval{1000};
  std::uint64_t bytes = std::uint64_t{64} << 20U;

  bool operator==(const SyncSettings&) const = default;
};

struct Configuration {
  std::string directory = "/var/lib/packetdb";  // of the journals
  std::string user;    // to become once everything privileged is open; empty: stay who we are
  bool intake = true;  // false: nothing is read, and there are no log groups and no captures
  SocketSettings socket;
  MetricsSettings metrics;
  LimitSettings limits;
  SyncSettings sync;
  LogOptions log{LogTarget::kStderr, kDefaultLogLevel, "packetdbd"};
  std::vector<LogGroupSettings> log_groups;
  std::vector<CaptureSettings> captures;
  std::vector<JournalSettings> journals = {JournalSettings()};
  std::vector<RuleSettings> rules;  // in the order in which they are tried
  std::vector<ExclusionSettings> exclusions;
  std::map<std::string, std::uint32_t> event_names;  // defaults included
  std::map<std::string, std::uint32_t> flag_names;   // one bit each; defaults included
  std::string nodes_file;                            // empty: none
  std::vector<NodeSettings> nodes;                   // as read from it

  bool operator==(const Configuration&) const = default;
};

// More of them are refused.
inline constexpr std::size_t kMostSources = 64;  // log groups and captures together
inline constexpr std::size_t kMostJournals = 64;
inline constexpr std::size_t kMostExclusions = 64;
inline constexpr std::size_t kMostRules = 4096;
inline constexpr std::size_t kMostNodes = 100000;

// What is read when the configuration names no source.
inline constexpr std::uint16_t kDefaultLogGroup = 5;

// Bits of m_Flags that are left for names of the administrator's own.
inline constexpr int kFirstUserFlag = 25;
inline constexpr int kLastUserFlag = 31;

}  // namespace packetdb::host
