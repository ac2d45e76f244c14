#include "tests/faults/integrity/history.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

#include "host/record_file/modes.h"
#include "platform/record_file.h"

namespace packetdb::faults {
namespace {

// Far from each other in the ring, and each record several times in the end.
constexpr std::uint64_t kStride = 37;

// One step of the generator of Steele, Lea and Flood (2014): any two words differ in about half of
// their bits.
std::uint64_t Scramble(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15;
  value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9;
  value = (value ^ (value >> 27U)) * 0x94D049BB133111EB;
  return value ^ (value >> 31U);
}

void Require(int result, const char* what) {
  if (result < 0) {
    throw std::runtime_error(std::string(what) + " failed: " + std::to_string(result));
  }
}

}  // namespace

void MakeRecord(const Identity& identity, std::uint64_t size, std::byte* record) {
  const std::uint64_t second = identity.version;
  std::memcpy(record, &identity.sequence, sizeof identity.sequence);
  std::memcpy(record + 8, &second, sizeof second);
  std::uint64_t word = identity.sequence * 0x100000001B3 + second;
  for (std::uint64_t at = kLeastRecordSize; at < size; at += sizeof word) {
    word = Scramble(word);
    std::memcpy(record + at, &word, std::min<std::uint64_t>(sizeof word, size - at));
  }
}

std::optional<Identity> IdentityOf(const std::byte* record, std::uint64_t size) {
  Identity identity;
  std::memcpy(&identity.sequence, record, sizeof identity.sequence);
  std::memcpy(&identity.version, record + 8, sizeof identity.version);
  std::array<std::byte, host::kMaxRecordSize> whole;
  MakeRecord(identity, size, whole.data());
  if (std::memcmp(whole.data(), record, size) != 0) return std::nullopt;
  return identity;
}

void History::Write(const std::string& path) {
  CDbFile file;
  Write(path, file);
}

void History::Write(const std::string& path, CDbFile& file) {
  Require(file.Init(path, recipe_.magic.c_str(), recipe_.record_size, recipe_.MaxRecords(),
                    host::mode::kWrite | host::mode::kCreateAnew),
          "creation");
  Fill(file);
}

void History::Continue(const std::string& path, CDbFile& file, const Recipe& recipe) {
  recipe_ = recipe;
  Require(file.Init(path, recipe_.magic.c_str(), recipe_.record_size, recipe_.MaxRecords(),
                    host::mode::kWrite),
          "opening");
  Fill(file);
}

void History::Fill(CDbFile& file) {
  while (versions_.size() < recipe_.appended) Append(file);
  const host::Window window = live();
  if (window.size() == 0) return;
  for (std::uint64_t i = 0; i < recipe_.overwritten; ++i) {
    Overwrite(file, window.begin + i * kStride % window.size());
  }
}

void History::Append(CDbFile& file) {
  const std::uint64_t sequence = versions_.size();
  versions_.push_back(0);
  records_.resize(records_.size() + recipe_.record_size);
  MakeRecord({sequence, 0}, recipe_.record_size, records_.data() + sequence * recipe_.record_size);
  Require(file.AppendRecord(RecordOf(sequence)), "an append");
}

void History::Overwrite(CDbFile& file, std::uint64_t sequence) {
  MakeRecord({sequence, ++versions_[sequence]}, recipe_.record_size,
             records_.data() + sequence * recipe_.record_size);
  Require(file.WriteRecord(static_cast<int>(sequence), RecordOf(sequence)), "an overwrite");
  redo_ = sequence;
}

host::Window History::live() const {
  const std::uint64_t end = versions_.size();
  const std::uint64_t count = recipe_.capacity == 0 ? end : std::min(end, recipe_.capacity);
  return {end - count, end};
}

bool History::IsCurrent(const std::byte* record, std::uint64_t* sequence) const {
  std::memcpy(sequence, record, sizeof *sequence);
  return *sequence < versions_.size() &&
         std::memcmp(record, RecordOf(*sequence), recipe_.record_size) == 0;
}

}  // namespace packetdb::faults
