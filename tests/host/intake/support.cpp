#include "tests/host/intake/support.h"

#include <ctime>
#include <gtest/gtest.h>
#include <utility>

#include "host/journals/names.h"
#include "host/status/shared_page.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {

Seen::Seen() {
  event.event.item = EventFrom(1, 0);
  event.event.item.m_DstIp = 0x0A000002;
  event.event.item.m_SrcPort = 1000;
  event.event.item.m_DstPort = 53;
  event.event.item.m_Protocol = 17;
  event.event.interface = "eth0";
  event.log_group = 5;
  At(std::time(nullptr));
}

Seen& Seen::With(std::string_view new_prefix) {
  prefix = new_prefix;
  return *this;
}

Seen& Seen::On(std::string_view interface) {
  event.event.interface = interface;
  return *this;
}

Seen& Seen::In(std::uint16_t log_group) {
  event.log_group = log_group;
  return *this;
}

Seen& Seen::From(std::uint32_t address) {
  event.event.item.m_SrcIp = address;
  return *this;
}

Seen& Seen::To(std::uint32_t address) {
  event.event.item.m_DstIp = address;
  return *this;
}

Seen& Seen::At(std::int64_t unix_time) {
  event.event.time = unix_time;
  const auto time = static_cast<std::uint32_t>(unix_time - std::int64_t{TIME_1980_OFFSET});
  event.event.item.m_FirstTime = event.event.item.m_LastTime = time;
  return *this;
}

JournalSettings JournalNamed(std::string_view name) {
  JournalSettings journal;
  journal.name = name;
  journal.capacity = kCapacity;
  journal.window_seconds = kDay;
  return journal;
}

RuleSettings RuleFor(std::string_view prefix, std::uint32_t code) {
  RuleSettings rule;
  rule.prefix = prefix;
  rule.code = code;
  return rule;
}

Intaken::Intaken() {
  configuration_.directory = directory_.Path();
  configuration_.journals = {JournalNamed("all")};
}

void Intaken::Start() { intake_ = std::make_unique<Intake>(configuration_, *page_); }

void Intaken::Restart() {
  Stop();
  source_ = FakeSource(source_.name());
  Start();
}

void Intaken::Take(const std::vector<Seen>& events) {
  if (intake_ == nullptr) Start();
  intake_->Begin(source_);
  for (const Seen& seen : events) {
    LiveEvent event = seen.event;
    event.prefix = seen.prefix;
    source_.packet_counts.CountPacket();
    source_.packet_counts.CountEvent();
    intake_->Take(event);
  }
  intake_->End(source_);
}

std::vector<PacketDbItemPacked> Intaken::Records(std::string_view journal) const {
  return RecordsIn(JournalPath(directory_.Path(), journal));
}

const JournalStatus& Intaken::Journal(std::string_view name) {
  static const JournalStatus none;
  const JournalStatus* const row = FindRow(page_->journals, name);
  EXPECT_NE(row, nullptr) << name;
  return row != nullptr ? *row : none;
}

const SourceStatus& Intaken::Source(std::string_view name) {
  static const SourceStatus none;
  const SourceStatus* const row = FindRow(page_->sources, name);
  EXPECT_NE(row, nullptr) << name;
  return row != nullptr ? *row : none;
}

}  // namespace packetdb::host::test
