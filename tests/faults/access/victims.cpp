#include "tests/faults/access/victims.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>

#include "host/bus/socket_address.h"
#include "host/bus/socket_descriptor.h"
#include "host/intake/rule_recorder.h"
#include "host/journals/group_writer.h"

namespace packetdb::faults {
namespace {

void MakeJournal(const std::string& folder) {
  host::GroupOptions options;
  options.directory = folder;
  options.group = "secret";
  options.capacity = 10;
  host::GroupWriter writer(options);
  CDrvErrorItemV4 event{};
  event.m_Word10 = kSecretWord;
  event.m_FirstTime = event.m_LastTime = 1'000'000'000;
  writer.Add(event, kSecretInterface);
}

void LeaveStaleSocket(const std::string& path) {
  const host::SocketDescriptor socket(host::NewStreamSocket(0));
  const host::SocketAddress address(path);
  if (bind(socket.get(), address.Get(), address.Size()) != 0) throw std::runtime_error(path);
}

std::string BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// All but what reading changes, and the number of names, which is the attacker's doing.
std::string FactsOf(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return "gone";
  const std::string bytes = S_ISREG(status.st_mode) ? BytesOf(path) : "";
  return fmt::format("inode {} mode {:o} owner {} group {} size {} changed {}.{:09} bytes {:x}",
                     status.st_ino, status.st_mode, status.st_uid, status.st_gid, status.st_size,
                     status.st_mtim.tv_sec, status.st_mtim.tv_nsec,
                     std::hash<std::string>()(bytes));
}

}  // namespace

Victims::Victims(const std::string& folder) : folder_(folder) {
  std::filesystem::create_directories(empty_folder());
  MakeJournal(folder_);
  host::RuleRecorder(folder_).NumberOf("secret", {}, 1);
  std::ofstream(text()) << "secret\n";
  std::filesystem::permissions(text(), std::filesystem::perms(0600));
  LeaveStaleSocket(socket());
  before_ = Look();
}

std::vector<Victims::Seen> Victims::Look() const {
  std::vector<Seen> all;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_)) {
    all.push_back({entry.path(), FactsOf(entry.path())});
  }
  std::sort(all.begin(), all.end(),
            [](const Seen& one, const Seen& other) { return one.path < other.path; });
  return all;
}

void Victims::RequireUntouched(const std::string& when, Verdict* verdict) const {
  const std::vector<Seen> now = Look();
  verdict->Require(now.size() == before_.size(), when + ": there are no new names");
  for (const Seen& seen : before_) {
    const auto found = std::find_if(now.begin(), now.end(),
                                    [&](const Seen& other) { return other.path == seen.path; });
    const std::string facts = found == now.end() ? "gone" : found->facts;
    verdict->Require(facts == seen.facts,
                     fmt::format("{}: {} stays {}, but is {}", when, seen.path, seen.facts, facts));
  }
}

}  // namespace packetdb::faults
