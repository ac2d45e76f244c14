#include "host/summary/top.h"

#include "host/summary/group_printer.h"

namespace packetdb::host {

void Top::Print(const PrintOptions& options, const Names& names, std::FILE* out) {
  GroupPrinter printer(groups_, options_.sort, options, names, out);
  for (const Group& group : LargestGroups(&groups_, options_.sort, options_.most)) {
    printer.Print(group.key.data(), group.sums);
  }
  printer.Finish();
}

}  // namespace packetdb::host
