// The bits of the mode that CDbFile::Init takes; platform/record_file.h says what the first three
// do.
#pragma once

namespace packetdb::host::mode {

inline constexpr int kRead = 0;
inline constexpr int kWrite = 1;
inline constexpr int kCreateAnew = 2;
inline constexpr int kCreateMissing = 4;
// Our host's own: refuses kCreateAnew beside it. The library rebuilds journals of earlier formats
// in a file that it creates anew, with the mode that it was given: with this bit it cannot,
// whatever is put at the path between a look at the format and the opening.
inline constexpr int kNeverAnew = 8;

}  // namespace packetdb::host::mode
