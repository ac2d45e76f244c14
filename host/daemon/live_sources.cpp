#include "host/daemon/live_sources.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <unistd.h>

#include "host/log/log.h"
#include "host/sources/live_capture.h"
#include "host/sources/log_group.h"
#include "host/status/shared_page.h"

namespace packetdb::host {

namespace {

LogGroupOptions OptionsOf(const LogGroupSettings& settings) {
  LogGroupOptions options;
  options.group = settings.group;
  options.copy_range = settings.copy_range;
  options.queue_threshold = settings.queue_threshold;
  options.flush_after = settings.flush_after;
  options.receive_buffer = settings.receive_buffer;
  return options;
}

LiveCaptureOptions OptionsOf(const CaptureSettings& settings) {
  LiveCaptureOptions options;
  options.interface = settings.interface;
  options.snap_length = settings.snap_length;
  options.promiscuous = settings.promiscuous;
  options.filter = settings.filter;
  options.buffer_bytes = settings.buffer_bytes;
  return options;
}

bool Same(const LogGroupSettings& one, const LogGroupSettings& other) {
  return one.group == other.group && one.copy_range == other.copy_range &&
         one.queue_threshold == other.queue_threshold && one.flush_after == other.flush_after &&
         one.receive_buffer == other.receive_buffer;
}

const LogGroupSettings* FindSettings(const Configuration& configuration, std::uint16_t group) {
  const auto& all = configuration.log_groups;
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.group == group; });
  return found == all.end() ? nullptr : &*found;
}

int Duplicate(int fd) {
  const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
  if (copy < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot keep a log group's socket");
  }
  return copy;
}

// The same socket with other settings.
std::shared_ptr<LiveSource> Reconfigured(const LiveSource& source,
                                         const LogGroupSettings& settings) {
  return LogGroup::Adopt(Duplicate(source.fd()), OptionsOf(settings));
}

std::vector<std::shared_ptr<LiveSource>> OpenCaptures(const Configuration& configuration) {
  std::vector<std::shared_ptr<LiveSource>> captures;
  captures.reserve(configuration.captures.size());
  for (const CaptureSettings& settings : configuration.captures) {
    captures.push_back(LiveCapture::Open(OptionsOf(settings)));
  }
  return captures;
}

// A socket that was kept and is not what it should be is no reason not to start.
std::shared_ptr<LiveSource> OpenGroup(const LogGroupSettings& settings, ServiceManager& manager) {
  if (auto kept = manager.TakeLogGroup(settings.group); kept) {
    try {
      const int fd = Duplicate(kept->get());
      kept->Close();
      std::shared_ptr<LiveSource> source = LogGroup::Adopt(fd, OptionsOf(settings));
      WriteLog(kNoticeLevel, fmt::format("log group {} was kept for us", settings.group));
      return source;
    } catch (const std::exception& error) {
      WriteLog(kFailureLevel,
               fmt::format("log group {} is opened anew: {}", settings.group, error.what()));
      manager.ForgetLogGroup(settings.group);
    }
  }
  return LogGroup::Open(OptionsOf(settings));
}

std::uint64_t ExpectedIn(const StatusPage& page, const std::string& name) {
  const SourceStatus* row = FindRow(page.sources, name);
  return row == nullptr ? 0 : row->last_sequence.Get();
}

}  // namespace

LiveSources LiveSources::Open(const Configuration& configuration, ServiceManager& manager) {
  LiveSources opened;
  for (const LogGroupSettings& settings : configuration.log_groups) {
    opened.groups_.push_back({settings.group, OpenGroup(settings, manager)});
  }
  opened.captures_ = OpenCaptures(configuration);
  return opened;
}

LiveSources LiveSources::Reopen(const Configuration& before, const Configuration& after) const {
  LiveSources opened;
  opened.captures_ = OpenCaptures(after);
  // What changes sockets in use comes last: what can fail before leaves nothing to undo.
  std::vector<const LogGroupSettings*> changed;
  for (const LogGroupSettings& settings : after.log_groups) {
    const Group* held = Find(settings.group);
    const LogGroupSettings* settings_before = FindSettings(before, settings.group);
    const bool kept = held != nullptr && settings_before != nullptr;
    opened.groups_.push_back(
        {settings.group, kept ? held->source : LogGroup::Open(OptionsOf(settings))});
    if (kept && !Same(settings, *settings_before)) {
      changed.push_back(&settings);
    }
  }
  for (const LogGroupSettings* settings : changed) {
    const auto group =
        std::find_if(opened.groups_.begin(), opened.groups_.end(),
                     [&](const Group& each) { return each.number == settings->group; });
    group->source = Reconfigured(*group->source, *settings);
  }
  return opened;
}

void LiveSources::Restore(const Configuration& configuration) {
  for (Group& group : groups_) {
    if (const LogGroupSettings* settings = FindSettings(configuration, group.number); settings) {
      group.source = Reconfigured(*group.source, *settings);
    }
  }
}

void LiveSources::ReopenCaptures(const Configuration& configuration) {
  captures_ = OpenCaptures(configuration);
}

void LiveSources::ContinueFrom(const StatusPage& page) {
  for (const Group& group : groups_) {
    if (const std::uint64_t next = ExpectedIn(page, group.source->name()); next != 0) {
      group.source->ExpectSequence(next);
    }
  }
}

void LiveSources::Store(ServiceManager& manager, const LiveSources* before) const {
  for (const Group& group : groups_) {
    if (before == nullptr || before->Find(group.number) == nullptr) {
      manager.StoreLogGroup(group.number, group.source->fd());
    }
  }
  if (before == nullptr) {
    return;
  }
  for (const Group& group : before->groups_) {
    if (Find(group.number) == nullptr) {
      manager.ForgetLogGroup(group.number);
    }
  }
}

std::vector<LiveSource*> LiveSources::all() const {
  std::vector<LiveSource*> all;
  for (const Group& group : groups_) {
    all.push_back(group.source.get());
  }
  for (const auto& capture : captures_) {
    all.push_back(capture.get());
  }
  return all;
}

const LiveSources::Group* LiveSources::Find(std::uint16_t number) const {
  const auto found = std::find_if(groups_.begin(), groups_.end(),
                                  [&](const Group& each) { return each.number == number; });
  return found == groups_.end() ? nullptr : &*found;
}

}  // namespace packetdb::host
