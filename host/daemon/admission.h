// Who may connect, and how often at a time.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <sys/types.h>

#include "host/config/configuration.h"

namespace packetdb::host {

enum class Admittance { kAdmitted, kUserNotAllowed, kTooManyOfUser };

// Root is always allowed and has no limit of its own: it could read the journals anyway.
class Admission {
 public:
  // An empty set of users allows all.
  Admission(const LimitSettings& limits, std::set<uid_t> allowed)
      : limits_(limits), allowed_(std::move(allowed)) {}

  // Of a user who is about to be served by a process; nobody when the kernel does not tell who it
  // is, which only an empty set allows.
  Admittance Judge(std::optional<uid_t> user) const;
  // While this is so, no more connections are taken; they wait.
  bool IsFull() const;

  void Begin(pid_t process, std::optional<uid_t> user);
  // False when it serves no connection that was admitted.
  bool End(pid_t process);
  std::size_t open() const { return open_.size(); }
  const std::map<pid_t, std::optional<uid_t>>& processes() const { return open_; }

 private:
  LimitSettings limits_;
  std::set<uid_t> allowed_;
  std::map<pid_t, std::optional<uid_t>> open_;
};

}  // namespace packetdb::host
