#include "tests/host/record_file/disk.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>

#include "host/record_file/state.h"
#include "host/record_file/superblock.h"

namespace packetdb::host {

Disk::Disk() : folder_(testing::TempDir() + "record file XXXXXX") {
  if (mkdtemp(folder_.data()) == nullptr) throw std::runtime_error("no folder " + folder_);
}

Disk::~Disk() { std::filesystem::remove_all(folder_); }

std::string Disk::NewPath() { return folder_ + "/journal " + std::to_string(paths_++); }

std::vector<std::string> Disk::Names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Bytes ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  Bytes bytes(std::filesystem::file_size(path));
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file) throw std::runtime_error("cannot read all of " + path);
  return bytes;
}

void WriteBytes(const std::string& path, const Bytes& bytes) {
  // A new file each time: some file systems flush one that was emptied and written again.
  std::filesystem::remove(path);
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

Superblock SuperblockOf(const Bytes& bytes) {
  Superblock block = {};
  std::memcpy(&block, bytes.data(), sizeof block);
  return block;
}

StatePage StateOf(const Bytes& bytes) {
  StatePage state = {};
  std::memcpy(&state, bytes.data() + kStateOffset, sizeof state);
  return state;
}

void PutSuperblock(const Superblock& block, Bytes* bytes) {
  std::memcpy(bytes->data() + kSuperblockAOffset, &block, sizeof block);
  std::memcpy(bytes->data() + kSuperblockBOffset, &block, sizeof block);
}

void PutSoundSuperblock(Superblock block, Bytes* bytes) {
  block.checksum = ChecksumOf(block);
  PutSuperblock(block, bytes);
}

void PutState(const StatePage& state, Bytes* bytes) {
  std::memcpy(bytes->data() + kStateOffset, &state, sizeof state);
}

void PutSoundState(StatePage state, Bytes* bytes) {
  state.checksum = ChecksumOf(state);
  PutState(state, bytes);
}

void StartAt(const std::string& path, std::uint64_t first) {
  Bytes bytes = ReadBytes(path);
  Superblock block = SuperblockOf(bytes);
  StatePage state = StateOf(bytes);
  state.next = first;
  state.synced = first;
  block.first_sequence = first;
  PutSoundSuperblock(block, &bytes);
  PutSoundState(state, &bytes);
  WriteBytes(path, bytes);
}

void MoveToOtherBoot(const std::string& path) {
  Bytes bytes = ReadBytes(path);
  StatePage state = StateOf(bytes);
  state.boot_id[0] ^= 0xFFU;
  PutState(state, &bytes);
  WriteBytes(path, bytes);
}

}  // namespace packetdb::host
