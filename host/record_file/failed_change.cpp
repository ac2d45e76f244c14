#include "host/record_file/failed_change.h"

namespace packetdb::host {

namespace {

thread_local int last_failed_change = 0;

}  // namespace

int LastFailedChange() { return last_failed_change; }

void ForgetFailedChange() { last_failed_change = 0; }

int NoteFailedChange(int result) {
  if (result < 0) {
    last_failed_change = result;
  }
  return result;
}

}  // namespace packetdb::host
