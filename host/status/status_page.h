// What the processes of packetdbd know of one another: counters in memory that they share.
//
// The page is made before the first of them is forked and lives as long as the daemon, over reloads
// and over the deaths of query processes. Each counter has one writer, the process that its comment
// names, and any number of readers; all are relaxed, because no two of them have to agree to the
// packet at the same moment. Counters only grow. A row belongs to the source or journal of its name
// from its first use on.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "host/config/configuration.h"

namespace packetdb::host {

// One writer: no read-modify-write that could be interrupted by another is needed.
class Counter {
 public:
  void Add(std::uint64_t amount) {
    value_.store(value_.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
  }
  void Set(std::uint64_t value) { value_.store(value, std::memory_order_relaxed); }
  std::uint64_t Get() const { return value_.load(std::memory_order_relaxed); }

 private:
  std::atomic<std::uint64_t> value_{0};
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

inline constexpr std::size_t kStatusNameSize = 48;  // with its NUL

// Room for as many reasons and remarks as the sources have (host/sources/counters.h).
inline constexpr std::size_t kMostReasons = 32;

// A log group ("nflog:5") or a captured interface ("capture:eth0"). Written by intake.
struct SourceStatus {
  std::array<char, kStatusNameSize> name{};
  Counter received;          // records that reached us
  Counter journaled;         // of them, events that went into a journal
  Counter excluded;          // of them, kept out by an exclusion
  Counter unrouted;          // of them, events that no journal takes
  Counter lost_overrun;      // the kernel's buffer was full: gaps in the sequence, or its own count
  Counter lost_before_read;  // dropped by the interface before the kernel's ring, where it tells
  Counter overruns;          // times that the kernel reported a full buffer
  Counter foreign;           // messages that did not come from the kernel
  Counter malformed;         // messages that could not be taken apart
  Counter batches;           // receives that brought something
  Counter buffer_bytes;      // effective size of the kernel's buffer
  Counter last_sequence;     // of the newest record, plus one; 0: not known yet
  std::array<Counter, kMostReasons> skipped;  // by SkipReason
  std::array<Counter, kMostReasons> remarks;  // by Remark
};

// Written by intake.
struct JournalStatus {
  std::array<char, kStatusNameSize> name{};
  Counter events;          // journaled since the start of the daemon
  Counter packets;         // sum of their counts
  Counter bytes;           // sum of their sizes
  Counter adjusted_times;  // events moved up so that times never go back
  Counter first_next;      // sequence number of the next record when the daemon started
  Counter failed;          // events that the journal refused
};

// Written by intake.
struct ExclusionStatus {
  std::array<char, kStatusNameSize> name{};
  Counter packets;
  Counter bytes;
};

// Written by intake.
struct RuleStatus {
  Counter known;       // prefixes in the rule dictionary
  Counter unnumbered;  // events journaled without their rule's number: the dictionary had no room,
                       // or could not be written
  Counter forgotten;   // times that too many prefixes or interfaces were seen to be remembered
};

// Written by the query process (its server, not the processes of connections).
struct QueryStatus {
  Counter connections;    // taken
  Counter refused_user;   // not allowed to connect
  Counter refused_limit;  // too many of one user
  Counter died;           // processes of connections that ended by a signal
  Counter active;         // now
};

// Written by the supervising process.
struct DaemonStatus {
  Counter started_unix;      // seconds
  Counter started_boottime;  // seconds of CLOCK_BOOTTIME: uptime over clock steps
  Counter reloads;
  Counter failed_reloads;
  Counter query_restarts;
  Counter intake_restarts;  // by reloads
  Counter last_event_unix;  // intake: when the newest event was journaled
  Counter log_level;        // that all processes follow; goes up and down
  // The moment up to which captured packets belong to the intake process that hands over; Unix
  // time.
  Counter handover_seconds;
  Counter handover_nanoseconds;
  Counter intake_beats;  // intake: turns of its loop
  Counter query_beats;   // query process: turns of its loop
};

struct StatusPage {
  DaemonStatus daemon;
  QueryStatus query;
  std::array<SourceStatus, kMostSources> sources;
  std::array<JournalStatus, kMostJournals> journals;
  std::array<ExclusionStatus, kMostExclusions> exclusions;
  RuleStatus rules;
};

}  // namespace packetdb::host
