// Whether a file is ours to change.
#pragma once

#include <string>

#include "host/record_file/descriptor.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// What somebody else could have put at the path, or can change while we write, is not written to:
// kForeignOwner unless the open file belongs to this process's user, or
// this is the superuser and the folder is its own or the file's owner's; kWritableByOthers when its
// mode lets others write; kLinkedElsewhere when it has other names, and kUnsettled when the path
// does not lead to it any more or its names change, unless its folder is one that nobody else can
// put names into.
RecordFileResult RequireOurs(const std::string& path, const Descriptor& file);

// Whether nobody but us, and the superuser, can put names into the folder of `path`: kForeignOwner
// or kWritableByOthers when somebody can.
RecordFileResult RequireOurFolder(const std::string& path);
bool IsOurFolder(const std::string& path);

}  // namespace packetdb::host
