// How wide the columns of a table are.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/printing/cells.h"

namespace packetdb::host {

// As wide as what they hold; where that is more than `terminal` columns, those that may be cut give
// of theirs, the widest first, until it fits or they are no wider than their heads and a few
// characters. `terminal` is 0 where nothing is to be cut.
std::vector<std::size_t> FittedWidths(const std::vector<PrintColumn>& columns,
                                      std::vector<std::size_t> widths, std::size_t terminal);

}  // namespace packetdb::host
