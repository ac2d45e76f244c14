#include "host/record_file/settings.h"

namespace packetdb::host {
namespace {

RecordFileSettings current;

}  // namespace

void SetRecordFileSettings(const RecordFileSettings& settings) { current = settings; }

const RecordFileSettings& GetRecordFileSettings() { return current; }

ThoroughOpening::ThoroughOpening() : before_(current) { current.verify_at_opening = true; }

ThoroughOpening::~ThoroughOpening() { current = before_; }

}  // namespace packetdb::host
