#include "tests/support/journal.h"

#include <boost/make_shared.hpp>
#include <stdexcept>

#include "tests/support/clock.h"
#include "tests/support/record_file.h"

namespace packetdb::test {

namespace {

constexpr int kWriteAndCreate = 1 | 4;

}  // namespace

Journal::Journal(int capacity, time_t window, const std::string& path)
    : path_(path), storage_(boost::make_shared<DbFileStorage>()) {
  const int result = storage_->Init(path, capacity, kWriteAndCreate, window);
  if (result != 0) throw std::runtime_error("journal not open: " + std::to_string(result));
}

Journal::~Journal() { storage_->Done(); }

void Journal::Add(const CDrvErrorItemV4& event, std::uint64_t adapter_name_hash) {
  Clock().SetSince1980(event.m_LastTime);
  storage_->AddRecord(&event, adapter_name_hash, "eth0");
}

void Journal::AddSeparately(const std::vector<std::uint32_t>& seconds) {
  for (const auto second : seconds) {
    Event event = EventAt(second);
    event.m_Dword1F = ++separate_;
    Add(event);
  }
}

std::vector<std::string> Journal::Rows() const {
  std::vector<PacketDbItem> records(static_cast<std::size_t>(storage_->RecordCount()));
  for (std::size_t i = 0; i < records.size(); ++i) {
    storage_->FetchRecord(static_cast<int>(i), &records[i]);
  }
  return AllTimes(records);
}

std::string Journal::Bytes(std::size_t position) const {
  return Files().Find(path_)->records.at(position);
}

}  // namespace packetdb::test
