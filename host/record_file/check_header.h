// The rules of the header page, each with the place where it is broken.
#pragma once

#include <cstdint>

#include "host/record_file/check.h"
#include "host/record_file/header.h"
#include "host/record_file/layout.h"

namespace packetdb::host {

// Whether the first `got` bytes of a file are a header page of this layout, perhaps a damaged one:
// results as those of CheckRecordFile.
RecordFileResult RecogniseHeader(const HeaderPage& header, std::uint64_t got);

// Checks a recognised header of a file of `length` bytes. True when its numbers agree with one
// another and can be used, `geometry` being what they say; the file may be shorter than that.
bool CheckHeader(const HeaderPage& header, std::uint64_t got, std::uint64_t length,
                 const FindingSink& sink, Geometry* geometry);

// The length of a file that this header asks for where its numbers are sane; of a file without a
// bound, which has any length, `length` or what is needed for the slots to begin.
std::uint64_t WantedLength(const HeaderPage& header, std::uint64_t length);

}  // namespace packetdb::host
