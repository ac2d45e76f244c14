#include "host/journals/open_journals.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>

#include "host/journals/catalogue.h"
#include "host/journals/error.h"
#include "host/journals/names.h"
#include "host/record_file/probe.h"
#include "host/record_file/result.h"

namespace packetdb::host {

namespace {

constexpr int kReadOnly = 0;

std::vector<std::string> GroupsIn(const std::string& directory) {
  std::vector<std::string> groups;
  std::error_code failed;
  for (std::filesystem::directory_iterator entry(directory, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    const std::filesystem::path file = entry->path().filename();
    if (file.extension() == kJournalSuffix && IsGroupName(file.stem().string())) {
      groups.push_back(file.stem().string());
    }
  }
  if (failed) {
    throw JournalError(fmt::format("cannot read directory {}: {}", directory, failed.message()));
  }
  std::sort(groups.begin(), groups.end());
  return groups;
}

// Looks before the library opens the file: what is not a journal of ours is left alone.
boost::shared_ptr<IJournalStorage> OpenReadOnly(const std::string& path, long window) {
  RecordFileInfo info;
  int status = ProbeRecordFile(path, &info);
  auto storage = boost::make_shared<DbFileStorage>();
  if (status == 0 && info.record_size != sizeof(PacketDbItemPacked)) {
    status = kOtherFormat;
  }
  if (status == 0) {
    status = storage->Init(path, static_cast<int>(info.capacity), kReadOnly, window);
  }
  if (status != 0) {
    throw JournalError(
        fmt::format("cannot open journal {}: {}", path, DescribeRecordFileResult(status)));
  }
  return storage;
}

}  // namespace

OpenJournals::OpenJournals(const std::string& directory)
    : registry_(boost::make_shared<CPacketDb>()) {
  for (const std::string& name : GroupsIn(directory)) {
    try {
      opened_.push_back(Open(directory, name));
      groups_.push_back(name);
      registry_->Register(name, false, opened_.back().storage);
    } catch (const JournalError& error) {
      problems_.emplace_back(error.what());
    }
  }
  for (const Group& group : opened_) {
    RegisterInterfaces(group);
  }
}

OpenJournals::~OpenJournals() {
  for (const Group& group : opened_) {
    group.storage->Done();
  }
}

OpenJournals::Group OpenJournals::Open(const std::string& directory, const std::string& name) {
  const Catalogue catalogue = Catalogue::Load(CataloguePath(directory, name));
  return {name, catalogue.interfaces(),
          OpenReadOnly(JournalPath(directory, name), catalogue.window())};
}

// A name answers for one journal: groups come first, then interfaces in the order of their groups.
void OpenJournals::RegisterInterfaces(const Group& group) {
  for (const std::string& interface : group.interfaces) {
    if (registry_->GetActualStorage(interface)) {
      problems_.push_back(
          fmt::format("interface {} of group {} cannot be asked for by its name: a group has that "
                      "name, or a group before has that interface too",
                      interface, group.name));
    } else {
      registry_->Register(interface, true, group.storage);
    }
  }
}

}  // namespace packetdb::host
