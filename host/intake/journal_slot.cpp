#include "host/intake/journal_slot.h"

#include <fmt/format.h>
#include <string_view>

#include "host/journals/error.h"
#include "host/log/log.h"
#include "host/status/shared_page.h"

namespace packetdb::host {

namespace {

GroupOptions OptionsOf(const std::string& directory, const JournalSettings& settings) {
  GroupOptions options;
  options.directory = directory;
  options.group = settings.name;
  options.capacity = settings.capacity;
  options.window_seconds = settings.window_seconds;
  return options;
}

// The row that the journal has had since the daemon started, or a new one; null when there is none.
JournalStatus* RowFor(StatusPage& page, const std::string& name, std::uint64_t next) {
  JournalStatus* row = FindRow(page.journals, name);
  if (row == nullptr) {
    row = FindOrAddRow(page.journals, name);
    if (row != nullptr) {
      row->first_next.Set(next);
    }
  }
  return row;
}

}  // namespace

JournalSlot::JournalSlot(const std::string& directory, const JournalSettings& settings,
                         StatusPage& page)
    : writer_(OptionsOf(directory, settings)), subject_("journal " + settings.name) {
  if (writer_.conversion()) {
    WriteLog(kNoticeLevel, Describe(*writer_.conversion(), writer_.path()));
  }
  if (writer_.resizing()) {
    WriteLog(kNoticeLevel, Describe(*writer_.resizing(), writer_.path()));
  }
  keeper_.RaiseFloor(writer_.NewestTime());
  JournalStatus* const row = RowFor(page, settings.name, writer_.RecordsAppended());
  if (row != nullptr) {
    status_ = row;
  } else {
    WriteLog(kFailureLevel,
             fmt::format("{}: the status page has no room for it until the daemon is restarted",
                         subject_));
  }
}

bool JournalSlot::Take(CDrvErrorItemV4& item, Route& route, std::int64_t now) {
  if (!route.is_known && !MakeKnown(route, now)) {
    return false;
  }
  if (keeper_.Keep(item)) {
    status_->adjusted_times.Add(1);
  }
  const int result = writer_.AddKnown(item, route.name_hash, route.interface);
  if (result < 0) {
    Fail(now, GroupWriter::Reason(result));
    return false;
  }
  status_->events.Add(1);
  status_->packets.Add(item.m_Count);
  status_->bytes.Add(item.m_PacketSize);
  return true;
}

bool JournalSlot::MakeKnown(Route& route, std::int64_t now) {
  if (!retry_.IsShut(now)) {
    try {
      route.name_hash = writer_.Know(route.interface);
      route.is_known = true;
      return true;
    } catch (const JournalError& error) {
      retry_.ShutAt(now);
      failure_ = error.what();
    }
  }
  Fail(now, failure_);
  return false;
}

void JournalSlot::Fail(std::int64_t now, std::string_view reason) {
  status_->failed.Add(1);
  failures_.Tell(now, subject_, "not journaled", reason);
}

}  // namespace packetdb::host
