#include <cstring>

#include "host/bus/message.h"

namespace packetdb::host {
namespace {

template <class Number>
std::uint64_t Load(const unsigned char* from) {
  Number number;
  std::memcpy(&number, from, sizeof number);
  return number;
}

std::uint64_t LoadNumber(const unsigned char* from, unsigned int size) {
  switch (size) {
    case 1:
      return Load<std::uint8_t>(from);
    case 2:
      return Load<std::uint16_t>(from);
    case 4:
      return Load<std::uint32_t>(from);
    case 8:
      return Load<std::uint64_t>(from);
    default:
      return 0;
  }
}

}  // namespace

const Column* Message::FindReceived(unsigned int id, unsigned int* size) const {
  const Column* column = has_row_ ? read_header_.columns.Find(id) : nullptr;
  if (size != nullptr) *size = column == nullptr ? 0 : column->size;
  return column;
}

const void* Message::GetRaw(unsigned int id, unsigned int* size) const {
  const Column* column = FindReceived(id, size);
  return column == nullptr ? nullptr : read_row_.data() + column->offset;
}

std::uint64_t Message::GetNumber(unsigned int id, unsigned int* size) const {
  const Column* column = FindReceived(id, size);
  if (column == nullptr) return 0;
  // Eight bytes that were not declared as an integer are no number that anybody meant.
  if (!column->integer && column->size == 8) return 0;
  return LoadNumber(read_row_.data() + column->offset, column->size);
}

int Message::GetInt(unsigned int id, unsigned int* size) const {
  return static_cast<int>(static_cast<std::uint32_t>(GetNumber(id, size)));
}

unsigned short Message::GetShort(unsigned int id, unsigned int* size) const {
  return static_cast<unsigned short>(GetNumber(id, size));
}

unsigned char Message::GetByte(unsigned int id, unsigned int* size) const {
  return static_cast<unsigned char>(GetNumber(id, size));
}

}  // namespace packetdb::host
