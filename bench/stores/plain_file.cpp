#include "bench/stores/plain_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace packetdb::bench {
namespace {

off_t OffsetOf(std::uint64_t position) { return static_cast<off_t>(position * sizeof(Record)); }

}  // namespace

std::vector<Variant<PlainFileStore>> PlainFileStore::Variants() {
  return {
      {"one pwrite per record",
       {},
       {"every record, one perhaps torn", "what the kernel had written; damage goes unnoticed"}},
      {"pwrite and fdatasync",
       {true},
       {"every record, one perhaps torn", "every record; damage goes unnoticed"},
       true},
  };
}

PlainFileStore::PlainFileStore(const std::string& path, const Options& options)
    : options_(options), fd_(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0640)) {
  Require(fd_ >= 0, "plain file: cannot open");
}

PlainFileStore::~PlainFileStore() { close(fd_); }

void PlainFileStore::Fill(std::uint64_t count) {
  for (std::uint64_t i = 0; i < count; ++i) Write(count_++, MakeRecord(i));
}

void PlainFileStore::Append(const Record& record) { Overwrite(count_++, record); }

void PlainFileStore::Overwrite(std::uint64_t position, const Record& record) {
  Write(position, record);
  if (options_.syncs_each) Require(fdatasync(fd_) == 0, "plain file: cannot sync");
}

void PlainFileStore::Write(std::uint64_t position, const Record& record) {
  Require(pwrite(fd_, &record, sizeof record, OffsetOf(position)) == sizeof record,
          "plain file: cannot write");
}

void PlainFileStore::ReadMany(std::uint64_t first, Record* records, int count) {
  const auto size = static_cast<ssize_t>(static_cast<std::size_t>(count) * sizeof(Record));
  Require(pread(fd_, records, static_cast<std::size_t>(size), OffsetOf(first)) == size,
          "plain file: cannot read");
}

}  // namespace packetdb::bench
