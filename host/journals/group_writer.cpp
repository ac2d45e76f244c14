#include "host/journals/group_writer.h"

#include <boost/make_shared.hpp>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>

#include "host/journals/converted.h"
#include "host/journals/error.h"
#include "host/journals/names.h"
#include "host/record_file/failed_change.h"
#include "host/record_file/modes.h"
#include "host/record_file/probe.h"
#include "host/record_file/result.h"
#include "host/record_file/settings.h"
#include "packetdb/query.h"

namespace packetdb::host {

namespace {

constexpr int kOpenForWriting = mode::kWrite | mode::kCreateMissing | mode::kNeverAnew;

std::string CheckedPath(const GroupOptions& options) {
  if (!IsGroupName(options.group)) {
    throw JournalError(DescribeBadGroupName(options.group));
  }
  std::error_code failed;
  std::filesystem::create_directories(options.directory, failed);
  if (failed) {
    throw JournalError(
        fmt::format("cannot create directory {}: {}", options.directory, failed.message()));
  }
  return JournalPath(options.directory, options.group);
}

int CapacityOf(const std::string& path, const GroupOptions& options) {
  RecordFileInfo info;
  if (!options.capacity && ProbeRecordFile(path, &info) == 0) {
    return CapacityArgument(info);
  }
  return options.capacity.value_or(kDefaultCapacity);
}

// Whether another process may have begun to use what is at the path since we looked.
bool MayBeUsed(int status) { return status == kInUse || status == kUnsettled; }

Catalogue OpenCatalogue(const GroupOptions& options) {
  const std::string path = CataloguePath(options.directory, options.group);
  Catalogue catalogue =
      Catalogue::LoadOrCreate(path, options.window_seconds.value_or(kDefaultWindowSeconds));
  if (options.window_seconds && *options.window_seconds != catalogue.window()) {
    throw JournalError(
        fmt::format("{}: this group merges repeats within {} s, not {} s; a group "
                    "keeps its window",
                    path, catalogue.window(), *options.window_seconds));
  }
  return catalogue;
}

}  // namespace

void SetFlushing(std::chrono::milliseconds interval, std::uint64_t bytes) {
  RecordFileSettings settings = GetRecordFileSettings();
  settings.sync.interval = interval;
  settings.sync.bytes = bytes;
  SetRecordFileSettings(settings);
}

std::string Describe(const Resizing& resizing, const std::string& journal) {
  const auto text = [](std::uint64_t capacity) {
    return capacity == 0 ? std::string("any number of") : std::to_string(capacity);
  };
  if (resizing.now == resizing.asked_for) {
    return fmt::format("journal {} keeps {} records from now on, {} before", journal,
                       text(resizing.now), text(resizing.before));
  }
  return fmt::format("journal {} still keeps {} records, not {}: it could not be resized", journal,
                     text(resizing.now), text(resizing.asked_for));
}

GroupWriter::GroupWriter(const GroupOptions& options)
    : path_(CheckedPath(options)),
      known_before_(std::filesystem::exists(CataloguePath(options.directory, options.group))),
      catalogue_(OpenCatalogue(options)),
      storage_(boost::make_shared<DbFileStorage>()) {
  try {
    OpenJournal(options);
  } catch (const JournalError& error) {
    if (!known_before_ && !MayBeUsed(error.result())) {
      // It describes nothing, and would hold the next attempt to its window.
      std::error_code ignored;
      std::filesystem::remove(CataloguePath(options.directory, options.group), ignored);
    }
    throw;
  }
  // Again, now that the journal's lock is ours: another writer may have added interfaces meanwhile.
  catalogue_ = Catalogue::Load(CataloguePath(options.directory, options.group));
  catalogue_.KeepOpen();
}

void GroupWriter::OpenJournal(const GroupOptions& options) {
  conversion_ = ConvertIfOld(path_, {.keep_old = options.keep_old});
  const int status = OpenWith(CapacityOf(path_, options));
  if (status != 0) {
    // One of another format has appeared there since, and the library could not convert it.
    ThrowCannotOpen(path_, status == kOtherFormat ? int{kUnsettled} : status);
  }
}

// A file that had to be resized and found no room for that keeps what it kept. Then the repeats
// that are remembered must not outnumber its records.
int GroupWriter::OpenWith(int capacity) {
  RecordFileInfo before;
  const bool is_there = ProbeRecordFile(path_, &before) == 0;
  int status = storage_->Init(path_, capacity, kOpenForWriting, catalogue_.window());
  RecordFileInfo now;
  if (status != 0 || ProbeRecordFile(path_, &now) != 0) {
    return status;
  }
  if (is_there && CapacityArgument(before) != capacity && capacity > 0) {
    resizing_ = {before.capacity, static_cast<std::uint64_t>(capacity), now.capacity};
  }
  if (CapacityArgument(now) != capacity) {
    storage_->Done();
    status = storage_->Init(path_, CapacityArgument(now), kOpenForWriting, catalogue_.window());
  }
  return status;
}

GroupWriter::~GroupWriter() { storage_->Done(); }

void GroupWriter::Add(const CDrvErrorItemV4& event, const std::string& interface) {
  if (interface.empty() || interface != last_interface_) {
    last_hash_ = Know(interface);
    last_interface_ = interface;
  }
  AddKnown(event, last_hash_, interface);
}

std::size_t GroupWriter::Know(const std::string& interface) {
  catalogue_.Add(interface);
  return adapter_name_hash(interface);
}

int GroupWriter::AddKnown(const CDrvErrorItemV4& event, std::size_t hash,
                          const std::string& interface) {
  ForgetFailedChange();
  storage_->AddRecord(&event, hash, interface);
  return LastFailedChange();
}

std::string_view GroupWriter::Reason(int code) { return DescribeRecordFileResult(code); }

// A record that is found damaged when it is read is left out when records are counted again, with
// all others that are.
std::uint32_t GroupWriter::NewestTime() const {
  PacketDbItem newest;
  int status = kDamagedRecord;
  for (int looks = 0; looks < 2 && status == kDamagedRecord; ++looks) {
    const int count = storage_->RecordCount();
    if (count == 0) {
      return 0;
    }
    status = storage_->FetchRecord(count - 1, &newest);
  }
  if (status < 0) {
    throw JournalError(fmt::format("cannot read the newest record of journal {}: {}", path_,
                                   DescribeRecordFileResult(status)));
  }
  return newest.m_Item.m_FirstTime;
}

std::uint64_t GroupWriter::RecordsAppended() const {
  RecordFileInfo info;
  if (const int status = ProbeRecordFile(path_, &info); status != 0) {
    throw JournalError(
        fmt::format("cannot examine journal {}: {}", path_, DescribeRecordFileResult(status)));
  }
  return info.next;
}

int GroupWriter::RecordCount() const { return storage_->RecordCount(); }

}  // namespace packetdb::host
