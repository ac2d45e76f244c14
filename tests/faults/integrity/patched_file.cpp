#include "tests/faults/integrity/patched_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <unistd.h>

namespace packetdb::faults {
namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

}  // namespace

Bytes ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) Fail(path);
  Bytes bytes(std::filesystem::file_size(path));
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file) Fail(path);
  return bytes;
}

PatchedFile::PatchedFile(std::string path, Bytes sound)
    : path_(std::move(path)),
      sound_(std::move(sound)),
      file_(open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0640)),
      length_(sound_.size()) {
  if (!file_.IsOpen()) Fail(path_);
  Rewrite();
}

void PatchedFile::Put(std::uint64_t offset, const std::byte* bytes, std::uint64_t size) {
  const ssize_t put = pwrite(file_.get(), bytes, size, static_cast<off_t>(offset));
  if (put != static_cast<ssize_t>(size)) Fail(path_);
}

void PatchedFile::FlipBit(std::uint64_t offset, unsigned bit) {
  const std::byte flipped = sound_[offset] ^ (std::byte{1} << bit);
  Write(offset, &flipped, 1);
}

void PatchedFile::Write(std::uint64_t offset, const std::byte* bytes, std::uint64_t size) {
  Put(offset, bytes, size);
  patches_.push_back({offset, offset + size});
}

void PatchedFile::SetLength(std::uint64_t length) {
  if (ftruncate(file_.get(), static_cast<off_t>(length)) != 0) Fail(path_);
  if (length < sound_.size()) patches_.push_back({length, sound_.size()});
  length_ = length;
}

void PatchedFile::Restore() {
  if (length_ != sound_.size()) SetLength(sound_.size());
  for (const Range& range : patches_) {
    const std::uint64_t end = std::min<std::uint64_t>(range.end, sound_.size());
    if (range.begin < end) Put(range.begin, sound_.data() + range.begin, end - range.begin);
  }
  patches_.clear();
}

void PatchedFile::Rewrite() {
  SetLength(sound_.size());
  Put(0, sound_.data(), sound_.size());
  patches_.clear();
}

}  // namespace packetdb::faults
