// How a record file says that it is not of the format that was asked for.
#pragma once

namespace packetdb {

// The platform contract's code for a sound file of another magic or record size.
inline constexpr int kOtherFormat = -6;

}  // namespace packetdb
