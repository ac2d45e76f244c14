// From a request to an open file, whatever is at the path.
#pragma once

#include "host/record_file/descriptor.h"
#include "host/record_file/request.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Opens, adopts or creates the file at the path of `request`; for writing it is locked. A file that
// is opened for writing has no leftover of a creation beside it.
RecordFileResult OpenOrCreate(const OpenRequest& request, Descriptor* file);

}  // namespace packetdb::host
