// The library's converter, called for what it does to the files.
#pragma once

#include <string>

#include "host/journals/conversion_files.h"
#include "host/journals/held_file.h"

namespace packetdb::host {

// Why the files may not be what a conversion makes them. It is for people: only the files tell
// whether there was one.
struct ConverterFailure {
  std::string reason;
  int result = 0;  // the code of host/record_file/result.h that is behind it; 0 when none is
};

// Lets the library convert the journal. Afterwards the old file is at the journal's name, or the
// converted one, complete or not, or nothing; and perhaps a temporary file.
ConverterFailure RunLibraryConverter(const ConversionFiles& files, const HeldFile& old);

}  // namespace packetdb::host
