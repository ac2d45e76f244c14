// What concerns packetdbd as a whole: the top of the file, [sync], [log].
#include "host/config/key_kinds.h"
#include "host/config/sections.h"
#include "host/config/single_section.h"
#include "host/config/text_rules.h"
#include "host/config/units.h"

namespace packetdb::host {
namespace {

// Journals and their companions have names of at most 31 bytes and a suffix.
constexpr std::size_t kLongestDirectory = 4000;
constexpr std::size_t kLongestFileName = 4095;  // PATH_MAX with its NUL
constexpr std::int64_t kHourMs = 3'600'000;
constexpr std::int64_t kTiB = kMiB << 20;

}  // namespace

std::unique_ptr<Section> MakeTopSection() {
  using Top = Configuration;
  std::vector<Key<Top>> keys;
  keys.push_back(TextKey("directory", &Top::directory,
                         AbsolutePath(kLongestDirectory, "/var/lib/packetdb"),
                         "Where the journals and the rule dictionary are.", Effect::kRestart));
  keys.push_back(TextKey("user", &Top::user, KnownUser(),
                         "Whom to become once everything that takes privileges is open. With \"\" "
                         "the daemon stays who it is.",
                         Effect::kRestart));
  keys.push_back(BooleanKey("intake", &Top::intake,
                            "Whether events are read. With false the daemon only answers queries; "
                            "log groups and captures are checked and left alone.",
                            Effect::kSources));
  keys.push_back(TextKey("nodes_file", &Top::nodes_file,
                         AbsolutePath(kLongestFileName, "/etc/packetdb/nodes.toml", true),
                         "The file that says which networks belong to which nodes.",
                         Effect::kIntake));
  return std::make_unique<SingleSection<Top>>(
      "", "What concerns the daemon as a whole. These keys stand before the first table.",
      Part<Top>(), std::move(keys));
}

std::unique_ptr<Section> MakeSyncSection() {
  using Sync = SyncSettings;
  std::vector<Key<Sync>> keys;
  keys.push_back(UnitKey(kDurationKind, "interval", &Sync::interval, {10, kHourMs}, "1s",
                         "How long what was journaled may wait to be flushed.", Effect::kIntake));
  keys.push_back(UnitKey(kSizeKind, "bytes", &Sync::bytes, {kMiB, kTiB}, "64MiB",
                         "How much may wait to be flushed.", Effect::kIntake));
  return std::make_unique<SingleSection<Sync>>(
      "sync",
      "When journals are flushed to the disk: at whichever comes first. A power cut costs what "
      "came "
      "after the last flush; the death of a process costs nothing.",
      Part<Sync>{&Configuration::sync}, std::move(keys));
}

std::unique_ptr<Section> MakeLogSection() {
  std::vector<Key<LogOptions>> keys;
  keys.push_back(ChoiceKey<LogOptions, LogTarget>(
      "target", &LogOptions::target,
      {{"stderr", LogTarget::kStderr},
       {"journal", LogTarget::kJournal},
       {"syslog", LogTarget::kSyslog}},
      "Where log lines go: to standard error with time and level, there as the system's journal "
      "reads it, or to syslog.",
      Effect::kLog));
  keys.push_back(NumberKey("level", &LogOptions::level, {kLowestLogLevel, kHighestLogLevel}, "3",
                           "How much is logged: 0 nothing, 1 failures, 2 notices, 3 empty results, "
                           "4 queries, 5 traces.",
                           Effect::kLog));
  return std::make_unique<SingleSection<LogOptions>>(
      "log", "The daemon's own log.", Part<LogOptions>{&Configuration::log}, std::move(keys));
}

}  // namespace packetdb::host
