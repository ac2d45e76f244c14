// A report in which nothing is missing, and one in which all is that may be.
#pragma once

#include "host/status/report.h"

namespace packetdb::host::test {

// Every number of it is another one.
DaemonReport FullReport();

DaemonReport EmptyReport();

}  // namespace packetdb::host::test
