#include "tests/host/record_file/disk.h"
#include "tests/support/record_file_contract.h"

namespace packetdb::contract {

INSTANTIATE_TYPED_TEST_SUITE_P(OnDisk, RecordFileContract, host::Disk);

}  // namespace packetdb::contract
