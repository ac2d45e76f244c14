// Rows to be printed, and what comes of it.
#pragma once

#include <string>
#include <vector>

#include "host/names/names.h"
#include "host/printing/options.h"
#include "host/printing/table_printer.h"
#include "host/rows/row.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {

// A TCP packet from 10.0.0.7:40000 to 192.168.1.1:443 that was dropped on its way in, three times,
// from the first second of 1980 on.
Row DroppedRow();

// One of each kind: the above; ICMP; a later fragment; an event, a verdict, a rule and bits without
// names; and one that hostile names are about, with the greatest of all numbers.
std::vector<Row> SampleRows();

// Nodes, events and rules of the sample rows; some of them have names that would do something to a
// terminal.
Names SampleNames();

// In UTC, with "https" for 443 and no other port.
PrintOptions SampleOptions(const std::string& format);

std::string PrintedRows(const std::vector<Row>& rows, const PrintOptions& options,
                        const Names& names);
std::string PrintedSamples(const std::string& format);
std::string PrintedTable(const std::vector<PrintColumn>& columns,
                         const std::vector<std::vector<Cell>>& rows, const PrintOptions& options);

}  // namespace packetdb::host::test
