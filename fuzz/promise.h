// What must hold whatever the input is.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace packetdb::fuzz {

[[noreturn]] inline void Fail(const char* promise) {
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

inline void Require(bool holds, const char* promise) {
  if (!holds) Fail(promise);
}

}  // namespace packetdb::fuzz
