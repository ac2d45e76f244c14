// Why packets gave no event, as words for programs. Text() in host/sources/counters.h is for
// people.
#pragma once

#include <string_view>

#include "host/sources/counters.h"

namespace packetdb::host {

// Lower case with underscores. Dashboards rely on them: a word stays as it is.
std::string_view Word(SkipReason reason);
std::string_view Word(Remark remark);

}  // namespace packetdb::host
