// Who is served, and what that may cost: [socket], [metrics], [limits].
#include <charconv>
#include <fmt/format.h>
#include <limits>
#include <variant>

#include "host/config/key_kinds.h"
#include "host/config/sections.h"
#include "host/config/single_section.h"
#include "host/config/text_rules.h"
#include "host/config/units.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kLongestSocketPath = 107;  // sun_path with its NUL
constexpr std::int64_t kSecondMs = 1000;
constexpr std::int64_t kDayMs = 86'400'000;
constexpr std::int64_t kMostMemory = kMiB << 20;

using Socket = SocketSettings;
using Limits = LimitSettings;

std::optional<Refusal> ReadMode(const Node& node, const Reading&, Socket& socket) {
  const auto* const text = std::get_if<std::string>(&node.value);
  if (text == nullptr) return Refuse(node);
  unsigned int mode = 0;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, mode, 8);
  if (error != std::errc() || stop != end || mode > 0777) return Refuse(node);
  socket.mode = mode;
  return std::nullopt;
}

Key<Socket> ModeKey() {
  return {"mode",
          "the octal digits of a mode up to 0777, as a text",
          "\"0660\"",
          "The mode of the socket: who may connect.",
          Effect::kRestart,
          "",
          false,
          ReadMode,
          [](const Socket& socket, const Configuration&) {
            return fmt::format("\"{:04o}\"", socket.mode);
          }};
}

Key<Limits> CountKey(std::string name, int Limits::*member, const NumberRange& range,
                     std::string help) {
  return NumberKey(std::move(name), member, range, std::to_string(range.highest / 2),
                   std::move(help), Effect::kQuery);
}

Key<Limits> TimeKey(std::string name, int Limits::*member, std::string help) {
  return UnitKey(kDurationKind, std::move(name), member, {kSecondMs, kDayMs, kSecondMs, kSecondMs},
                 "30s", std::move(help), Effect::kQuery);
}

std::vector<Key<Limits>> LimitKeys() {
  std::vector<Key<Limits>> keys;
  keys.push_back(CountKey("connections", &Limits::connections, {1, 4096},
                          "Connections that are served at a time; more of them wait."));
  keys.push_back(CountKey("connections_per_user", &Limits::connections_per_user, {1, 4096},
                          "Of them, those of one user. Root has no limit of its own."));
  keys.push_back(UnitKey(kSizeKind, "message_size", &Limits::message_kib,
                         {64 * kKiB, 16 * kMiB, kKiB, kKiB}, "1MiB", "The longest message.",
                         Effect::kQuery));
  keys.push_back(CountKey("columns", &Limits::columns, {1, 64}, "The most columns of a message."));
  keys.push_back(TimeKey("idle_time", &Limits::idle_seconds, "How long a client may say nothing."));
  keys.push_back(
      TimeKey("message_time", &Limits::header_seconds, "How long a message may take to arrive."));
  keys.push_back(TimeKey("stalled_time", &Limits::stalled_seconds,
                         "How long a client may take nothing of its answer."));
  keys.push_back(
      TimeKey("query_time", &Limits::query_seconds, "How long the work for a query may take."));
  keys.push_back(UnitKey(kSizeKind, "memory", &Limits::memory_mib, {0, kMostMemory, kMiB, kMiB},
                         "1GiB", "What a connection may use of memory; \"0B\" for no limit.",
                         Effect::kQuery));
  keys.push_back(CountKey("rows", &Limits::rows, {0, std::numeric_limits<std::int32_t>::max()},
                          "The most rows of an answer to anyone but root; 0 for no limit."));
  keys.back().example = "1000000";
  return keys;
}

}  // namespace

std::unique_ptr<Section> MakeSocketSection() {
  std::vector<Key<Socket>> keys;
  keys.push_back(TextKey("path", &Socket::path,
                         AbsolutePath(kLongestSocketPath, "/run/packetdb/socket"),
                         "Where clients connect.", Effect::kRestart));
  keys.push_back(ModeKey());
  keys.push_back(TextKey("group", &Socket::group, KnownGroup(),
                         "The group of the socket; with \"\" that of the daemon.",
                         Effect::kRestart));
  keys.push_back(TextListKey("allowed_users", &Socket::allowed_users, KnownUsers(),
                             "Who may connect, beside root. Where it is empty, whoever the mode "
                             "lets.",
                             Effect::kQuery));
  return std::make_unique<SingleSection<Socket>>("socket", "Where queries are answered.",
                                                 Part<Socket>{&Configuration::socket},
                                                 std::move(keys));
}

std::unique_ptr<Section> MakeMetricsSection() {
  using Metrics = MetricsSettings;
  std::vector<Key<Metrics>> keys;
  keys.push_back(TextKey("socket", &Metrics::socket,
                         AbsolutePath(kLongestSocketPath, "/run/packetdb/metrics", true),
                         "A Unix socket on which metrics are to be had.", Effect::kRestart));
  keys.push_back(NumberKey("loopback_port", &Metrics::loopback_port, {0, 65535}, "9469",
                           "A TCP port on 127.0.0.1 on which they are too; 0 for none.",
                           Effect::kRestart));
  return std::make_unique<SingleSection<Metrics>>("metrics", "Metrics, as Prometheus reads them.",
                                                  Part<Metrics>{&Configuration::metrics},
                                                  std::move(keys));
}

std::unique_ptr<Section> MakeLimitSection() {
  return std::make_unique<SingleSection<Limits>>("limits", "What one client may cost.",
                                                 Part<Limits>{&Configuration::limits}, LimitKeys());
}

}  // namespace packetdb::host
