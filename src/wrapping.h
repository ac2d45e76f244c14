// Arithmetic on signed numbers that wraps at their width, where the language leaves it undefined.
#pragma once

#include <concepts>
#include <type_traits>

namespace packetdb {

template <std::signed_integral T>
T WrappingAdd(T a, std::type_identity_t<T> b) {
  using Unsigned = std::make_unsigned_t<T>;
  return static_cast<T>(static_cast<Unsigned>(a) + static_cast<Unsigned>(b));
}

template <std::signed_integral T>
T WrappingSubtract(T a, std::type_identity_t<T> b) {
  using Unsigned = std::make_unsigned_t<T>;
  return static_cast<T>(static_cast<Unsigned>(a) - static_cast<Unsigned>(b));
}

template <std::signed_integral T>
T WrappingMultiply(T a, std::type_identity_t<T> b) {
  using Unsigned = std::make_unsigned_t<T>;
  return static_cast<T>(static_cast<Unsigned>(a) * static_cast<Unsigned>(b));
}

}  // namespace packetdb
