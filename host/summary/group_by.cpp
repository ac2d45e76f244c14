#include "host/summary/group_by.h"

#include "host/summary/group_printer.h"

namespace packetdb::host {

void GroupBy::Print(const PrintOptions& options, const Names& names, std::FILE* out) {
  GroupPrinter printer(groups_, share_, options, names, out);
  groups_.Visit([&](const KeyBytes* key, const Sums& sums) { printer.Print(key, sums); });
  printer.Finish();
}

}  // namespace packetdb::host
