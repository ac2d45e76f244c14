#include "tests/host/record_file/disk.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>

#include "host/record_file/header.h"

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

HeaderPage HeaderOf(const Bytes& bytes) {
  HeaderPage header = {};
  std::memcpy(&header, bytes.data(), sizeof header);
  return header;
}

StateWords StateOf(const Bytes& bytes) {
  StateWords state = {};
  std::memcpy(&state, bytes.data() + kStateOffset, sizeof state);
  return state;
}

void PutHeader(const HeaderPage& header, Bytes* bytes) {
  std::memcpy(bytes->data(), &header, sizeof header);
}

void PutSoundHeader(HeaderPage header, Bytes* bytes) {
  header.checksum = HeaderChecksum(header);
  PutHeader(header, bytes);
}

void PutState(const StateWords& state, Bytes* bytes) {
  std::memcpy(bytes->data() + kStateOffset, &state, sizeof state);
}

void StartAt(const std::string& path, std::uint64_t first) {
  Bytes bytes = ReadBytes(path);
  HeaderPage header = HeaderOf(bytes);
  StateWords state = StateOf(bytes);
  state.next = first;
  header.first_sequence = first;
  PutSoundHeader(header, &bytes);
  PutState(state, &bytes);
  WriteBytes(path, bytes);
}

}  // namespace packetdb::host
