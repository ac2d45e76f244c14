// Prints the sample rows in the format that is its argument: for formats.py.
#include <cstdio>

#include "tests/host/printing/sample_rows.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: print_samples FORMAT\n", stderr);
    return 2;
  }
  const std::string text = packetdb::host::test::PrintedSamples(argv[1]);
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() ? 0 : 1;
}
