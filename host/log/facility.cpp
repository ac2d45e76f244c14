// platform/log.h for our host: lines are put together in memory and handed over whole.
#include <fmt/format.h>
#include <memory>
#include <string>

#include "host/log/log.h"
#include "platform/log.h"

namespace {

struct OpenLine {
  int level;
  std::string text;
};

OpenLine& AsLine(void* line) { return *static_cast<OpenLine*>(line); }

void* Open(int level, const char* function, const char* /*file*/, int /*line*/) {
  if (level > XeltLog_GetProps_cl_module()->m_Level) {
    return nullptr;
  }
  return new OpenLine{level, std::string(function) + ": "};
}

void AppendText(void* line, const char* text) { AsLine(line).text += text; }

void AppendInt(void* line, long long value, int /*width*/) {
  AsLine(line).text += std::to_string(value);
}

void AppendUInt(void* line, unsigned long long value, int /*width*/) {
  AsLine(line).text += std::to_string(value);
}

void Close(void* line) {
  const std::unique_ptr<OpenLine> closed(static_cast<OpenLine*>(line));
  packetdb::host::WriteLog(closed->level, closed->text);
}

constinit XeltLogProps g_props = {
    packetdb::host::kDefaultLogLevel, Open, AppendText, AppendInt, AppendUInt, Close};

}  // namespace

XeltLogProps* XeltLog_GetProps_cl_module() { return &g_props; }

std::string XeltLogHexLongLong(unsigned long long value, int width) {
  return fmt::format("0x{:0{}x}", value, 2 * width);
}

std::wstring XeltLogHexLongLongW(unsigned long long value, int width) {
  const std::string digits = XeltLogHexLongLong(value, width);
  return {digits.begin(), digits.end()};
}

XetlLogHelper::XetlLogHelper(XeltLogProps* props, void* line) : m_Props(props), m_Line(line) {}

XetlLogHelper& XetlLogHelper::operator<<(const char* text) {
  m_Props->m_AppendText(m_Line, text);
  return *this;
}
