#include "tests/faults/power/state_page.h"

#include <chrono>
#include <fcntl.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/layout.h"
#include "host/record_file/settings.h"

namespace packetdb::faults {
namespace {

bool ReadState(int journal, host::StatePage* state) {
  return pread(journal, state, sizeof *state, host::kStateOffset) ==
         static_cast<ssize_t>(sizeof *state);
}

}  // namespace

bool PretendOtherBoot(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
  host::StatePage state = {};
  if (!file.IsOpen() || !ReadState(file.get(), &state) || state.state == host::kClosed) {
    return false;
  }
  for (std::uint8_t& byte : state.boot_id) byte = static_cast<std::uint8_t>(~byte);
  constexpr auto kOffset = host::kStateOffset + offsetof(host::StatePage, boot_id);
  return pwrite(file.get(), state.boot_id.data(), state.boot_id.size(), kOffset) ==
         static_cast<ssize_t>(state.boot_id.size());
}

std::uint64_t DamageTold(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  host::StatePage state = {};
  return file.IsOpen() && ReadState(file.get(), &state) ? state.damaged : 0;
}

bool WaitForBackgroundFlush(int journal) {
  if (host::GetRecordFileSettings().sync.mode != host::SyncMode::kPeriodic) return false;
  constexpr std::chrono::milliseconds kPause{1};
  constexpr int kPauses = 30000;
  for (int i = 0; i < kPauses; ++i) {
    host::StatePage state = {};
    if (ReadState(journal, &state) && state.synced == state.next &&
        state.merges_synced == state.merges) {
      return true;
    }
    std::this_thread::sleep_for(kPause);
  }
  throw std::runtime_error("nobody flushes in the background");
}

void SetUpRecordFiles(Flushes flushes, Changes changes) {
  host::RecordFileSettings settings;
  const bool in_background = flushes == Flushes::kInTheBackground;
  settings.sync.mode = in_background ? host::SyncMode::kPeriodic : host::SyncMode::kNever;
  settings.sync.interval = std::chrono::milliseconds(20);
  settings.by_calls = changes == Changes::kByCalls;
  host::SetRecordFileSettings(settings);
}

}  // namespace packetdb::faults
