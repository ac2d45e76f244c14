// The logging facility: lines with a level, built piece by piece, and the system log.
//
// A host implements everything declared here; the library only calls it.
#pragma once

#include <string>

// The properties of the library's log module. The library fetches the pointer once and keeps it, so
// it stays valid, and the same, for the life of the process; the level may change at any time.
struct XeltLogProps {
  int m_Level;  // 0 silent, 1 failures, 2 notices, 3 empty results, 4 queries, 5 traces

  // Opens a line; null refuses it, and then nothing is appended or closed. `function` comes from
  // ClUnilogFname, `file` is the source folder, both valid during the call.
  void* (*m_Open)(int level, const char* function, const char* file, int line);
  void (*m_AppendText)(void* line, const char* text);
  void (*m_AppendInt)(void* line, long long value, int width);  // signed, width in bytes
  void (*m_AppendUInt)(void* line, unsigned long long value, int width);
  void (*m_Close)(void* line);
};

XeltLogProps* XeltLog_GetProps_cl_module();

// The function name for a line, from the compiler's full signature and the short name.
std::string ClUnilogFname(const char* signature, const char* shortName);

// `value` in hexadecimal; `width` is the size in bytes of the value that is shown.
std::string XeltLogHexLongLong(unsigned long long value, int width);
std::wstring XeltLogHexLongLongW(unsigned long long value, int width);

// Appends texts to an open line.
class XetlLogHelper {
 public:
  XetlLogHelper(XeltLogProps* props, void* line);
  XetlLogHelper& operator<<(const char* text);

 private:
  XeltLogProps* m_Props;
  void* m_Line;
};

// Writes `text` to the system log with a syslog priority (RFC 5424 severity, 0 to 7). Negative on
// failure.
int slput(int priority, const char* text);
