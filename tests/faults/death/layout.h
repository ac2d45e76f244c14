// What these programs have to know of the bytes of a record file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/record_file/geometry.h"

namespace packetdb::faults {

// Slots that the ring of a file has, whether or not they are visible as records.
std::uint64_t SlotsOf(const std::string& path);

// Records that the file says were lost or damaged, ever.
std::uint64_t LossesOf(const std::string& path);

// Makes the first append to a closed and empty file get the sequence number `first`.
void StartAt(const std::string& path, std::uint64_t first);

// Makes a file that was not closed look as if the machine had been started since. False, with
// nothing changed, for one that was.
bool MoveToOtherBoot(const std::string& path);

// A writer beside the record file's own that overwrites as one would who knows of no kills: it is
// for controls, which must notice it.
class InPlaceWriter {
 public:
  // A file that the record file has open for writing. Throws std::runtime_error.
  explicit InPlaceWriter(const std::string& path);
  ~InPlaceWriter();
  InPlaceWriter(const InPlaceWriter&) = delete;
  InPlaceWriter& operator=(const InPlaceWriter&) = delete;

  void Overwrite(std::uint64_t sequence, const void* record);

 private:
  host::Geometry geometry_;
  std::size_t length_ = 0;
  std::byte* bytes_ = nullptr;
};

}  // namespace packetdb::faults
