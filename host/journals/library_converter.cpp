#include "host/journals/library_converter.h"

#include <exception>
#include <fmt/format.h>

#include "host/journals/converted.h"
#include "host/record_file/modes.h"
#include "host/record_file/result.h"
#include "host/record_file/settings.h"
#include "packetdb/journal_format.h"
#include "packetdb/storage.h"
#include "platform/record_file.h"

namespace packetdb::host {

namespace {

ConverterFailure FailureOf(int status) {
  return {std::string(DescribeRecordFileResult(status)), status};
}

// The converter says "another format" also when it could not make the new file: making one shows
// the true reason.
ConverterFailure WhyNotMade(const ConversionFiles& files, const HeldFile& old) {
  const auto capacity = static_cast<unsigned long>(CapacityArgument(old.info()));
  int status = kRecordFileOk;
  {
    CDbFile file;
    status = file.Init(files.temporary, kJournalMagic, kJournalRecordSize, capacity,
                       mode::kWrite | mode::kCreateAnew);
  }
  if (status < 0) {
    return {fmt::format("cannot make {}: {}", files.temporary, DescribeRecordFileResult(status)),
            status};
  }
  return {fmt::format("{} could not be made, but now it can; try again", files.temporary)};
}

}  // namespace

ConverterFailure RunLibraryConverter(const ConversionFiles& files, const HeldFile& old) {
  int status = 0;
  // The library cannot skip a record that turns out to be damaged in the middle of its copy.
  const ThoroughOpening thorough;
  try {
    DbFileStorage storage;
    status = storage.Init(files.journal, CapacityArgument(old.info()), mode::kWrite, 0);
    storage.Done();
  } catch (const std::exception& error) {
    // What the library had open then is closed by its destructors.
    return {error.what()};
  }
  if (status == kOtherFormat) {
    return WhyNotMade(files, old);
  }
  return status < 0 ? FailureOf(status)
                    : ConverterFailure{
                          "not all records could be copied, as it happens when the "
                          "disk is full"};
}

}  // namespace packetdb::host
