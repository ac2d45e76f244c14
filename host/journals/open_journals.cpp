#include "host/journals/open_journals.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>

#include "host/journals/catalogue.h"
#include "host/journals/conversion_files.h"
#include "host/journals/converted.h"
#include "host/journals/error.h"
#include "host/journals/journal_format.h"
#include "host/journals/names.h"
#include "host/record_file/modes.h"
#include "host/record_file/result.h"

namespace packetdb::host {

namespace {

// The group whose conversion keeps a file of this name; empty for a file of any other name.
std::string GroupConvertedIn(const std::string& file) {
  for (const std::string_view suffix : {kOldSuffix, kTemporarySuffix}) {
    const std::string tail = std::string(kJournalSuffix).append(suffix);
    std::string group = file.ends_with(tail) ? file.substr(0, file.size() - tail.size()) : "";
    if (IsGroupName(group)) {
      return group;
    }
  }
  return {};
}

// Also those that have no journal at the moment, but what a conversion makes of one.
std::vector<std::string> GroupsIn(const std::string& directory) {
  std::vector<std::string> groups;
  std::error_code failed;
  for (std::filesystem::directory_iterator entry(directory, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    const std::filesystem::path file = entry->path().filename();
    if (file.extension() == kJournalSuffix && IsGroupName(file.stem().string())) {
      groups.push_back(file.stem().string());
    } else if (const std::string group = GroupConvertedIn(file.string()); !group.empty()) {
      groups.push_back(group);
    }
  }
  if (failed) {
    throw JournalError(fmt::format("cannot read directory {}: {}", directory, failed.message()));
  }
  std::sort(groups.begin(), groups.end());
  groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
  return groups;
}

[[noreturn]] void ThrowUnsettled(const std::string& path) {
  throw JournalError(
      fmt::format("cannot open journal {0}: it is being converted, or its conversion was "
                  "interrupted; `packetdb convert {0}` completes that, and so does the next "
                  "import into its group",
                  path));
}

// While the old file has its second name, what is at the path may lack records or their times.
void RequireSettled(const std::string& path) {
  if (IsThere(ConversionFiles(path).old)) {
    ThrowUnsettled(path);
  }
}

// The library would convert it, and only a writer does that with care.
void RefuseOld(const std::string& path) {
  RequireSettled(path);
  RecordFileInfo info;
  const int status = ProbeJournal(path, &info);
  if (status == 0 && IsOldFormat(FormatOf(info))) {
    throw JournalError(
        fmt::format("cannot open journal {0}: it is of format {1}; `packetdb convert {0}` converts "
                    "it, and so does the next import into its group",
                    path, FormatName(FormatOf(info))));
  }
  const ConversionFiles files(path);
  if (status == kMissing && IsThere(files.temporary)) {
    ThrowUnsettled(path);
  }
}

// Looks at the format first: what is not a journal of today is left alone, also when it gets there
// behind our back.
boost::shared_ptr<IJournalStorage> OpenReadOnly(const std::string& path, long window) {
  RecordFileInfo info;
  int status = ProbeJournal(path, &info);
  auto storage = boost::make_shared<DbFileStorage>();
  if (status == 0) {
    status = storage->Init(path, CapacityArgument(info), mode::kRead | mode::kNeverAnew, window);
  }
  if (status != 0) {
    ThrowCannotOpen(path, status);
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
  const std::string path = JournalPath(directory, name);
  // First: an old journal may come from a host that had no catalogues, and there is none to
  // restore.
  RefuseOld(path);
  const Catalogue catalogue = Catalogue::Load(CataloguePath(directory, name));
  Group group = {name, catalogue.interfaces(), OpenReadOnly(path, catalogue.window())};
  // Again, now that nobody can change the file: it may be what a conversion is not done with.
  RequireSettled(path);
  return group;
}

std::vector<JournalName> OpenJournals::Names() const {
  std::vector<JournalName> names;
  for (const Group& group : opened_) {
    const long window = group.storage->getTimeDiff();
    names.push_back({group.name, group.name, true, true, window});
    for (const std::string& interface : group.interfaces) {
      const bool is_served = registry_->IsDynamic(interface) &&
                             registry_->GetActualStorage(interface) == group.storage;
      names.push_back({interface, group.name, false, is_served, window});
    }
  }
  return names;
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
