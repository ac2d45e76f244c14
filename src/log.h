// The library's log lines: the only place in src/ that talks to the logging facility.
//
//   PACKETDB_LOG(log::kTrace) << "fname " << path << ", mode " << log::Hex(mode);
//
// A line that is not wanted costs one look at the facility's level, through a pointer that is kept,
// and one branch; nothing behind the macro is evaluated. Each source that logs names its folder in
// a constant kLogSource.
#pragma once

#include <climits>
#include <concepts>
#include <cstdint>
#include <exception>
#include <string>

#include "platform/log.h"

namespace packetdb::log {

enum Level : int {
  kFailure = 1,
  kNotice = 2,
  kEmptyResult = 3,
  kQuery = 4,
  kTrace = 5,
};

// The facility is asked for its properties at the first line, not at load time, when the host may
// not be ready. Until then the level reads as if everything were wanted, so that the test of a line
// needs no second branch.
inline constexpr int kUnbound = INT_MAX;
inline constexpr int kSilent = 0;
inline constinit XeltLogProps* g_props = nullptr;
inline constinit const int* g_level = &kUnbound;

inline void Bind() {
  g_props = XeltLog_GetProps_cl_module();
  g_level = g_props != nullptr ? &g_props->m_Level : &kSilent;
}

[[gnu::cold]] inline bool WantedOnceBound(int level) {
  if (g_level == &kUnbound) {
    Bind();
  }
  return *g_level >= level;
}

inline bool Wanted(int level) { return *g_level >= level && WantedOnceBound(level); }

// A value that is shown in hexadecimal, at its own width.
struct Hex {
  template <std::integral T>
  explicit Hex(T number)
      : value(static_cast<std::make_unsigned_t<T>>(number)),
        width(static_cast<int>(sizeof number)) {}
  explicit Hex(const void* address)
      : value(reinterpret_cast<std::uintptr_t>(address)), width(static_cast<int>(sizeof address)) {}

  unsigned long long value;
  int width;
};

// An open line; closed when it goes. The facility may refuse it, and then takes nothing more.
//
// Nothing here throws: what an operation of the library did must not depend on who listens, so a
// piece of a line that cannot be had, for want of memory say, is left out.
class Line {
 public:
  [[gnu::cold]] Line(int level, const char* signature, const char* function, const char* source,
                     int line) noexcept {
    if (g_level == &kUnbound) {
      Bind();
    }
    if (g_props != nullptr && g_props->m_Open != nullptr) {
      Attempt([&] {
        m_Line = g_props->m_Open(level, ClUnilogFname(signature, function).c_str(), source, line);
      });
    }
  }
  ~Line() {
    if (m_Line != nullptr) {
      Attempt([&] { g_props->m_Close(m_Line); });
    }
  }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  Line& operator<<(const char* text) noexcept {
    return Append([&] { XetlLogHelper(g_props, m_Line) << text; });
  }
  Line& operator<<(const std::string& text) noexcept { return *this << text.c_str(); }

  // Integers go to the operation of their own signedness, at their own width.
  template <std::signed_integral T>
  Line& operator<<(T value) noexcept {
    return Append([&] { g_props->m_AppendInt(m_Line, value, static_cast<int>(sizeof value)); });
  }
  template <std::unsigned_integral T>
  Line& operator<<(T value) noexcept {
    return Append([&] { g_props->m_AppendUInt(m_Line, value, static_cast<int>(sizeof value)); });
  }
  Line& operator<<(Hex hex) noexcept {
    return Append([&] {
      const std::string digits = XeltLogHexLongLong(hex.value, hex.width);
      XetlLogHelper(g_props, m_Line) << digits.c_str();
    });
  }

 private:
  template <class Step>
  static void Attempt(const Step& step) noexcept {
    try {
      step();
    } catch (const std::exception&) {
      return;  // the line lacks this piece
    }
  }
  template <class Step>
  Line& Append(const Step& step) noexcept {
    if (m_Line != nullptr) {
      Attempt(step);
    }
    return *this;
  }

  void* m_Line = nullptr;
};

}  // namespace packetdb::log

// Hands the line to the facility without a look at the level; the facility refuses what it does not
// want.
#define PACKETDB_LOG_UNASKED(level) \
  ::packetdb::log::Line((level), __PRETTY_FUNCTION__, __func__, kLogSource, __LINE__)

#define PACKETDB_LOG(level)                         \
  if (!::packetdb::log::Wanted(level)) [[likely]] { \
  } else                                            \
    PACKETDB_LOG_UNASKED(level)
