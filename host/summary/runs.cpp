#include "host/summary/runs.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <queue>
#include <unistd.h>

#include "host/summary/run_reader.h"

namespace packetdb::host {
namespace {

constexpr std::size_t kWriteSize = std::size_t{1} << 20U;

[[noreturn]] void ThrowFailed(const char* what, const std::string& folder, int error) {
  throw SummaryError(
      fmt::format("cannot {} a temporary file in {}: {}; set TMPDIR to a folder with room, or ask "
                  "for fewer rows or fields",
                  what, folder, std::strerror(error)));
}

}  // namespace

SpilledRuns::~SpilledRuns() {
  if (file_ >= 0) close(file_);
}

void SpilledRuns::Write(const GroupTable& table) {
  if (file_ < 0) Open();
  const std::uint64_t start = end_;
  std::string bytes;
  for (std::size_t place = 0; place < table.size(); ++place) {
    bytes.append(reinterpret_cast<const char*>(&table.SumsAt(place)), sizeof(Sums));
    bytes.append(reinterpret_cast<const char*>(table.KeyAt(place)), layout_.size());
    if (bytes.size() < kWriteSize) continue;
    Append(bytes);
    bytes.clear();
  }
  Append(bytes);
  runs_.push_back({start, end_ - start});
}

void SpilledRuns::Merge(const GroupVisitor& visit) const {
  std::vector<RunReader> readers;
  for (const Run& run : runs_) readers.emplace_back(file_, run.offset, run.size, layout_.size());
  const auto is_behind = [&](const RunReader* a, const RunReader* b) {
    return layout_.IsBefore(b->key(), a->key());
  };
  std::priority_queue<RunReader*, std::vector<RunReader*>, decltype(is_behind)> next(is_behind);
  const auto advance = [&](RunReader* reader) {
    if (reader->Next()) return next.push(reader);
    if (reader->error() != 0) ThrowFailed("read", folder_, reader->error());
  };
  for (RunReader& reader : readers) advance(&reader);
  std::vector<KeyBytes> key(layout_.size());
  while (!next.empty()) {
    std::copy_n(next.top()->key(), key.size(), key.begin());
    Sums sums;
    while (!next.empty() && std::equal(key.begin(), key.end(), next.top()->key())) {
      RunReader* const reader = next.top();
      next.pop();
      sums.Add(reader->sums());
      advance(reader);
    }
    visit(key.data(), sums);
  }
}

void SpilledRuns::Open() {
  const char* const given = std::getenv("TMPDIR");
  folder_ = given != nullptr && *given != '\0' ? given : "/var/tmp";
  std::string path = folder_ + "/packetdb-XXXXXX";
  file_ = mkostemp(path.data(), O_CLOEXEC);
  if (file_ < 0) ThrowFailed("make", folder_, errno);
  unlink(path.c_str());
}

void SpilledRuns::Append(const std::string& bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t written = write(file_, bytes.data() + done, bytes.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) ThrowFailed("write", folder_, errno);
    done += static_cast<std::size_t>(written);
  }
  end_ += bytes.size();
}

}  // namespace packetdb::host
