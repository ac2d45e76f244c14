#include "host/daemon/admission.h"

#include <algorithm>

namespace packetdb::host {

namespace {

constexpr uid_t kRoot = 0;

}  // namespace

Admittance Admission::Judge(std::optional<uid_t> user) const {
  if (user == kRoot) {
    return Admittance::kAdmitted;
  }
  if (!allowed_.empty() && !(user && allowed_.contains(*user))) {
    return Admittance::kUserNotAllowed;
  }
  const auto of_user = std::count_if(open_.begin(), open_.end(),
                                     [&](const auto& each) { return each.second == user; });
  return of_user >= limits_.connections_per_user ? Admittance::kTooManyOfUser
                                                 : Admittance::kAdmitted;
}

bool Admission::IsFull() const {
  return open_.size() >= static_cast<std::size_t>(limits_.connections);
}

void Admission::Begin(pid_t process, std::optional<uid_t> user) { open_.emplace(process, user); }

bool Admission::End(pid_t process) { return open_.erase(process) != 0; }

}  // namespace packetdb::host
