// The descriptors 0, 1 and 2 of a program.
#pragma once

namespace packetdb::host {

// Opens /dev/null under each of the three descriptors that the program was started without. Else
// the next file it opens, a journal say, would get such a number, and an error message would be
// written into it. The first thing that a program does.
void OpenStandardStreams();

}  // namespace packetdb::host
