// Rows to be summed up, and what is printed of them.
#pragma once

#include <string>
#include <vector>

#include "tests/host/cli/captured.h"
#include "tests/host/printing/sample_rows.h"

namespace packetdb::host::test {

// One that was dropped from 10.0.0.`host` to 192.168.1.1:`port` by TCP in a second since 1980, with
// so many packets of 60 bytes.
Row RowFrom(std::uint32_t host, std::uint16_t port, std::uint32_t packets,
            std::uint32_t seconds = 0);

// What a summary that has its options prints of rows.
template <typename Summary, typename Options>
std::string PrintedSummary(const Options& options, const std::vector<Row>& rows,
                           const PrintOptions& print, const Names& names = SampleNames()) {
  Summary summary(options);
  for (const Row& row : rows) summary.Add(row);
  return Printed([&](std::FILE* out) { summary.Print(print, names, out); });
}

// Any rows, but few enough values that many have the same; the same again for the same seed.
std::vector<Row> RandomRows(std::size_t count, unsigned seed);

}  // namespace packetdb::host::test
