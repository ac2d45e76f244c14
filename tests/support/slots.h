// Calls through the table of virtual operations, by position, as a program does that was compiled
// against the interface (Itanium C++ ABI: the table's address is the first word of the object, the
// destructor has two slots).
#pragma once

#include <cstdint>
#include <cstring>

namespace packetdb::test {

inline constexpr int kCompleteDestructor = 0;
inline constexpr int kDeletingDestructor = 1;

template <class Result, class... Arguments>
Result CallSlot(const void* object, int slot, Arguments... arguments) {
  using Operation = Result (*)(const void*, Arguments...);
  const Operation* table = *static_cast<const Operation* const*>(object);
  return table[slot](object, arguments...);
}

// The value of type T that lies `offset` bytes into an object.
template <class T>
T Peek(const void* object, std::size_t offset) {
  T value;
  std::memcpy(&value, static_cast<const char*>(object) + offset, sizeof value);
  return value;
}

}  // namespace packetdb::test
