// What no key can tell by itself: whether the parts of a configuration go together.
#pragma once

#include "host/config/draft.h"
#include "host/config/problems.h"

namespace packetdb::host {

// [events] and [flags]: that nothing has two names. Before the defaults are filled in.
void CheckNames(const Draft& draft, Problems& problems);

// Everything else. When the defaults are there.
void CheckTogether(const Draft& draft, Problems& problems);

}  // namespace packetdb::host
