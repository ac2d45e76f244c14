// What a caller of Init asks for, checked before any file is touched.
#pragma once

#include <string>

#include "host/record_file/geometry.h"
#include "host/record_file/open.h"
#include "host/record_file/result.h"

namespace packetdb::host {

struct OpenRequest {
  std::string path;
  RecordFormat format;  // capacity: 0 when the caller wants no bound
  Access access = Access::kRead;
  bool create_anew = false;
  bool create_missing = false;
  bool asks_for_none = false;  // the caller wants room for no records: good for no creation
  bool any_format = false;     // takes a file of any magic and record size
};

// The arguments are those of CDbFile::Init. `request` is untouched on failure.
RecordFileResult MakeRequest(const std::string& path, const char* magic, unsigned long record_size,
                             unsigned long max_records, int mode, OpenRequest* request);

}  // namespace packetdb::host
