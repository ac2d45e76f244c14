#include "host/daemon/privileges.h"

#include <cerrno>
#include <grp.h>
#include <initializer_list>
#include <memory>
#include <sys/capability.h>
#include <sys/prctl.h>
#include <system_error>
#include <unistd.h>

namespace packetdb::host {

namespace {

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void Require(int result, const char* what) {
  if (result != 0) {
    Fail(what);
  }
}

struct FreeCapabilities {
  void operator()(cap_t set) const { cap_free(set); }
};
using Capabilities = std::unique_ptr<_cap_struct, FreeCapabilities>;

Capabilities Checked(cap_t set) {
  if (set == nullptr) {
    Fail("cannot look at capabilities");
  }
  return Capabilities(set);
}

void Take(const Capabilities& set, const char* what) { Require(cap_set_proc(set.get()), what); }

// Copies what is kept of the permitted ones.
Capabilities Kept(Keep keep) {
  const Capabilities have = Checked(cap_get_proc());
  Capabilities kept = Checked(cap_init());
  if (keep == Keep::kNothing) {
    return kept;
  }
  for (const cap_value_t capability : {CAP_NET_ADMIN, CAP_NET_RAW}) {
    cap_flag_value_t permitted = CAP_CLEAR;
    cap_get_flag(have.get(), capability, CAP_PERMITTED, &permitted);
    cap_set_flag(kept.get(), CAP_PERMITTED, 1, &capability, permitted);
  }
  return kept;
}

// What an executed program could get. Nobody but a holder of CAP_SETPCAP may lower it; others never
// execute anything with new privileges anyway.
void DropBoundingSet() {
  for (int capability = 0; CAP_IS_SUPPORTED(capability); ++capability) {
    if (cap_drop_bound(capability) != 0) {
      return;
    }
  }
}

// The permitted ones in effect, or none.
void SetEffective(bool on) {
  Capabilities set = Checked(cap_get_proc());
  cap_clear_flag(set.get(), CAP_EFFECTIVE);
  for (int capability = 0; on && CAP_IS_SUPPORTED(capability); ++capability) {
    cap_flag_value_t permitted = CAP_CLEAR;
    cap_get_flag(set.get(), capability, CAP_PERMITTED, &permitted);
    cap_set_flag(set.get(), CAP_EFFECTIVE, 1, &capability, permitted);
  }
  Take(set, "cannot put capabilities into effect");
}

}  // namespace

void BecomeUser(const Identity& identity) {
  Require(setgroups(identity.groups.size(), identity.groups.data()),
          "cannot take the groups of the user");
  Require(setresgid(identity.gid, identity.gid, identity.gid), "cannot become the user's group");
  Require(prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0), "cannot keep capabilities");
  Require(setresuid(identity.uid, identity.uid, identity.uid), "cannot become the user");
  Require(prctl(PR_SET_KEEPCAPS, 0, 0, 0, 0), "cannot keep capabilities");
  SetEffective(true);
}

void LimitCapabilities(Keep keep) {
  DropBoundingSet();
  Require(cap_reset_ambient(), "cannot drop ambient capabilities");
  Take(Kept(keep), "cannot drop capabilities");
}

RaisedCapabilities::RaisedCapabilities() { SetEffective(true); }

RaisedCapabilities::~RaisedCapabilities() {
  try {
    SetEffective(false);
  } catch (const std::system_error&) {
    _exit(1);  // lowering cannot fail; where it does, nothing may go on with them
  }
}

}  // namespace packetdb::host
