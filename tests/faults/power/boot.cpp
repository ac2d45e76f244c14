#include "tests/faults/power/boot.h"

namespace packetdb::faults {

bool PretendOtherBoot(const std::string& /*path*/) { return false; }

void FlushOften() {}

}  // namespace packetdb::faults
