// The record file in memory keeps the contract that every record file keeps.
#include "tests/support/record_file_contract.h"

#include <string>

#include "tests/support/record_file.h"

namespace packetdb::contract {

struct MemoryWorld {
  MemoryWorld() { packetdb::test::Files().Reset(); }
  std::string NewPath() { return "/file" + std::to_string(++paths_); }

 private:
  int paths_ = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(InMemory, RecordFileContract, MemoryWorld);

}  // namespace packetdb::contract
