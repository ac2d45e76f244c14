// What these programs have to know of the bytes of a record file.
#pragma once

#include <cstdint>
#include <string>

namespace packetdb::faults {

// Slots that the ring of a file has, whether or not they are visible as records.
std::uint64_t SlotsOf(const std::string& path);

// A writer beside the record file's own that overwrites as one would who knows of no kills: it is
// for controls, which must notice it.
class InPlaceWriter {
 public:
  // A file that the record file has open for writing. Throws std::runtime_error.
  explicit InPlaceWriter(const std::string& path);
  ~InPlaceWriter();
  InPlaceWriter(const InPlaceWriter&) = delete;
  InPlaceWriter& operator=(const InPlaceWriter&) = delete;

  void Overwrite(std::uint64_t number, const void* record);

 private:
  std::uint64_t slot_count_ = 0;
  std::uint64_t slots_offset_ = 0;
  std::uint64_t slot_size_ = 0;
  std::uint64_t record_size_ = 0;
  std::uint64_t length_ = 0;
  unsigned char* bytes_ = nullptr;
};

}  // namespace packetdb::faults
