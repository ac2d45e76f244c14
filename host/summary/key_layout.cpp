#include "host/summary/key_layout.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace packetdb::host {
namespace {

constexpr std::size_t kBinSize = sizeof(std::uint64_t);

void PutNumber(std::uint64_t number, std::size_t size, KeyBytes* bytes) {
  for (std::size_t i = size; i-- > 0; number >>= 8U) bytes[i] = static_cast<KeyBytes>(number);
}

std::uint64_t NumberAt(const KeyBytes* bytes, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < size; ++i) number = number << 8U | bytes[i];
  return number;
}

}  // namespace

KeyLayout::KeyLayout(KeyFields fields, bool has_bin)
    : fields_(std::move(fields)), bin_size_(has_bin ? kBinSize : 0), size_(bin_size_) {
  interface_at_ = SIZE_MAX;
  for (const KeyField* field : fields_) {
    if (field->get == nullptr) interface_at_ = size_;
    size_ += field->size;
  }
  interface_at_ = std::min(interface_at_, size_);
}

void KeyLayout::Pack(const Row& row, std::int64_t bin, KeyBytes* key) {
  if (bin_size_ != 0) PutNumber(static_cast<std::uint64_t>(bin), kBinSize, key);
  KeyBytes* at = key + bin_size_;
  for (const KeyField* field : fields_) {
    const bool is_interface = field->get == nullptr;
    PutNumber(is_interface ? NumberOf(row.interface) : field->get(row.event), field->size, at);
    at += field->size;
  }
}

bool KeyLayout::IsBefore(const KeyBytes* a, const KeyBytes* b) const {
  const int front = std::memcmp(a, b, interface_at_);
  if (front != 0 || interface_at_ == size_) return front < 0;
  constexpr std::size_t kNumberSize = sizeof(std::uint32_t);
  const std::size_t behind = interface_at_ + kNumberSize;
  const int names = interfaces_[NumberAt(a + interface_at_, kNumberSize)].compare(
      interfaces_[NumberAt(b + interface_at_, kNumberSize)]);
  if (names != 0) return names < 0;
  return std::memcmp(a + behind, b + behind, size_ - behind) < 0;
}

std::int64_t KeyLayout::BinOf(const KeyBytes* key) {
  return static_cast<std::int64_t>(NumberAt(key, kBinSize));
}

Row KeyLayout::RowOf(const KeyBytes* key) const {
  Row row;
  const KeyBytes* at = key + bin_size_;
  for (const KeyField* field : fields_) {
    const std::uint64_t value = NumberAt(at, field->size);
    if (field->put != nullptr) {
      field->put(value, &row.event);
    } else {
      row.interface = interfaces_[value];
    }
    at += field->size;
  }
  return row;
}

std::uint64_t KeyLayout::NumberOf(std::string_view interface) {
  const auto added = numbers_.emplace(interface, static_cast<std::uint32_t>(interfaces_.size()));
  if (added.second) interfaces_.emplace_back(interface);
  return added.first->second;
}

}  // namespace packetdb::host
