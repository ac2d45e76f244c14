#include "tests/faults/death/layout.h"

#include <algorithm>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>

#include "host/record_file/inspect.h"

namespace packetdb::faults {
namespace {

host::FileFacts FactsOf(const host::Descriptor& file, const std::string& path) {
  host::FileFacts facts;
  if (host::Inspect(file, &facts) < 0) throw std::runtime_error("no record file: " + path);
  return facts;
}

}  // namespace

std::uint64_t SlotsOf(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return FactsOf(file, path).geometry.slot_count;
}

InPlaceWriter::InPlaceWriter(const std::string& path) {
  const host::Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
  const host::FileFacts facts = FactsOf(file, path);
  slot_count_ = facts.geometry.slot_count;
  slots_offset_ = facts.geometry.slots_offset;
  slot_size_ = facts.geometry.slot_size;
  record_size_ = facts.geometry.record_size;
  length_ = facts.length;
  void* const mapped = mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
  if (mapped == MAP_FAILED) throw std::runtime_error("cannot map " + path);
  bytes_ = static_cast<unsigned char*>(mapped);
}

InPlaceWriter::~InPlaceWriter() { munmap(bytes_, length_); }

void InPlaceWriter::Overwrite(std::uint64_t number, const void* record) {
  unsigned char* const slot = bytes_ + slots_offset_ + (number % slot_count_) * slot_size_;
  std::copy_n(static_cast<const unsigned char*>(record), record_size_, slot);
}

}  // namespace packetdb::faults
