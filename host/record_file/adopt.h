// A conversion builds its result under the journal's name with ".~tmp" behind, removes the old
// journal and renames the result. Whoever dies between these two leaves no journal under its name,
// and a complete one under the other.
#pragma once

#include "host/record_file/descriptor.h"
#include "host/record_file/request.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Renames such a file to the path of the request, where nothing is, if it is ours, was closed, is
// sound, and is of the format that is asked for. `file` is then open and locked. kMissing when
// there is nothing to adopt; kUnsettled when something appears at the path meanwhile.
RecordFileResult AdoptConverted(const OpenRequest& request, Descriptor* file);

}  // namespace packetdb::host
