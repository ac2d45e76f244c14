// A target for libFuzzer that is content with libFuzzer's own changes.
#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  packetdb::fuzz::TryInput(data, size);
  return 0;
}
