#include "tests/host/record_file/geometries.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

#include "host/record_file/frame.h"
#include "host/record_file/inspect.h"
#include "host/record_file/superblock.h"

namespace packetdb::host {

Geometry GeometryOf(std::uint64_t record_size, std::uint64_t capacity) {
  const Superblock block =
      MakeSuperblock({.magic = kTestMagic, .record_size = record_size, .capacity = capacity}, 0);
  Geometry geometry;
  EXPECT_EQ(FitToLength(block, InitialLength(block), &geometry), kRecordFileOk);
  return geometry;
}

Geometry GeometryOfFile(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  FileFacts facts;
  EXPECT_EQ(InspectDespiteLength(file, &facts), kRecordFileOk);
  return facts.geometry;
}

OpenBytes::OpenBytes(const std::string& path, Way way, Access access)
    : file(open(path.c_str(), (access == Access::kWrite ? O_RDWR : O_RDONLY) | O_CLOEXEC)) {
  EXPECT_EQ(medium.Open(file, 0, std::filesystem::file_size(path), access, way), kRecordFileOk);
}

void PutFrame(const Geometry& geometry, std::uint64_t sequence, std::uint64_t value,
              std::uint64_t offset, Bytes* bytes) {
  FrameBuffer frame;
  SealFrame(geometry, MakeTestRecord(value).data(), sequence, frame.data());
  std::memcpy(bytes->data() + offset, frame.data(), geometry.frame_size);
}

void DamageRecord(const std::string& path, std::uint64_t sequence) {
  FlipByte(path, OffsetOf(GeometryOfFile(path), sequence) + 5);
}

void FlipByte(const std::string& path, std::uint64_t offset) {
  const Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
  unsigned char byte = 0;
  ASSERT_EQ(pread(file.get(), &byte, 1, static_cast<off_t>(offset)), 1);
  byte = static_cast<unsigned char>(byte ^ 0x10U);
  ASSERT_EQ(pwrite(file.get(), &byte, 1, static_cast<off_t>(offset)), 1);
}

void CopyAsKilled(const std::string& source, const std::string& path) {
  WriteBytes(path, ReadBytes(source));
}

}  // namespace packetdb::host
