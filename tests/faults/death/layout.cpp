#include "tests/faults/death/layout.h"

#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

#include "host/record_file/descriptor.h"
#include "host/record_file/frame.h"
#include "host/record_file/inspect.h"
#include "host/record_file/state.h"
#include "host/record_file/superblock.h"

namespace packetdb::faults {
namespace {

host::Descriptor OpenOrThrow(const std::string& path) {
  host::Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
  if (!file.IsOpen()) throw std::runtime_error("cannot open " + path);
  return file;
}

host::FileFacts FactsOf(const host::Descriptor& file) {
  host::FileFacts facts;
  if (host::Inspect(file, &facts) < 0) throw std::runtime_error("not a sound record file");
  return facts;
}

template <class Page>
void Put(const host::Descriptor& file, const Page& page, std::uint64_t offset) {
  if (pwrite(file.get(), &page, sizeof page, static_cast<off_t>(offset)) != sizeof page) {
    throw std::runtime_error("cannot write a page");
  }
}

}  // namespace

std::uint64_t SlotsOf(const std::string& path) {
  return FactsOf(OpenOrThrow(path)).geometry.slot_count;
}

std::uint64_t LossesOf(const std::string& path) {
  const host::StatePage state = FactsOf(OpenOrThrow(path)).state;
  return state.damaged + state.lost_unsynced + state.known_holes;
}

void StartAt(const std::string& path, std::uint64_t first) {
  const host::Descriptor file = OpenOrThrow(path);
  host::FileFacts facts = FactsOf(file);
  facts.superblock.first_sequence = first;
  facts.superblock.checksum = host::ChecksumOf(facts.superblock);
  facts.state.next = first;
  facts.state.synced = first;
  facts.state.checksum = host::ChecksumOf(facts.state);
  Put(file, facts.superblock, host::kSuperblockAOffset);
  Put(file, facts.superblock, host::kSuperblockBOffset);
  Put(file, facts.state, host::kStateOffset);
}

bool MoveToOtherBoot(const std::string& path) {
  const host::Descriptor file = OpenOrThrow(path);
  host::StatePage state = FactsOf(file).state;
  if (state.state == host::kClosed) return false;
  state.boot_id[0] ^= 0xFFU;
  Put(file, state, host::kStateOffset);
  return true;
}

InPlaceWriter::InPlaceWriter(const std::string& path) {
  const host::Descriptor file = OpenOrThrow(path);
  const host::FileFacts facts = FactsOf(file);
  geometry_ = facts.geometry;
  length_ = facts.length;
  void* const mapped = mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
  if (mapped == MAP_FAILED) throw std::runtime_error("cannot map " + path);
  bytes_ = static_cast<std::byte*>(mapped);
}

InPlaceWriter::~InPlaceWriter() { munmap(bytes_, length_); }

// Word by word, which gives a kill more occasions than one store of the whole.
void InPlaceWriter::Overwrite(std::uint64_t sequence, const void* record) {
  host::FrameBuffer frame;
  host::SealFrame(geometry_, record, sequence, frame.data());
  const auto* const from = reinterpret_cast<const std::uint64_t*>(frame.data());
  auto* const to =
      reinterpret_cast<volatile std::uint64_t*>(bytes_ + host::OffsetOf(geometry_, sequence));
  for (std::size_t i = 0; i < geometry_.frame_size / sizeof *from; ++i) to[i] = from[i];
}

}  // namespace packetdb::faults
