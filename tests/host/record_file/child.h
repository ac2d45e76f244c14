// Something done in a forked process, so that it may give up rights or die.
#pragma once

#include <functional>

namespace packetdb::host {

// The value that `act` returns in a child process; fails the test and returns 256 when the child
// dies instead.
int InChild(const std::function<int()>& act);

// Makes this process (a child) an ordinary user's for good; false when that failed. The superuser
// becomes nobody, anybody else stays who he is.
bool BecomeOrdinaryUser();

}  // namespace packetdb::host
