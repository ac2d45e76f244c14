#include "tests/support/log.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <sstream>

#include "platform/log.h"
#include "tests/support/allocation.h"
#include "tests/support/calls.h"

namespace packetdb::test {

namespace {

// Between signature and short name in what ClUnilogFname returns.
constexpr char kSeparator = '\x1f';

std::string MarkedPiece(const LogPiece& piece) {
  if (piece.kind == 't') return piece.value;
  return std::string("{") + piece.kind + std::to_string(piece.width) + ":" + piece.value + "}";
}

void* OpenLine(int level, const char* function, const char* file, int line) {
  const HostMemory host;
  return Log().Open(level, function, file, line);
}
void AppendText(void* line, const char* text) {
  const HostMemory host;
  Log().Append(line, {'t', text, 0});
}
void AppendInt(void* line, long long value, int width) {
  const HostMemory host;
  Log().Append(line, {'i', std::to_string(value), width});
}
void AppendUInt(void* line, unsigned long long value, int width) {
  const HostMemory host;
  Log().Append(line, {'u', std::to_string(value), width});
}
void CloseLine(void* line) {
  const HostMemory host;
  Log().Close(line);
}

XeltLogProps props = {0, OpenLine, AppendText, AppendInt, AppendUInt, CloseLine};

// The empty protocol list is reported without a look at the level.
bool MayIgnoreLevel(const LogLine& attempt) {
  return attempt.signature.find("Protocols::match") != std::string::npos;
}

}  // namespace

std::string LogLine::Text() const {
  std::string text;
  for (const auto& piece : pieces) text += piece.value;
  return text;
}

std::string LogLine::Marked() const {
  std::string text;
  for (const auto& piece : pieces) text += MarkedPiece(piece);
  return text;
}

LogBook& Log() {
  static LogBook book;
  return book;
}

void LogBook::SetLevel(int level) { props.m_Level = level; }

std::vector<std::string> LogBook::Texts(int level) const {
  std::vector<std::string> texts;
  for (const auto& line : lines_) {
    if (line.level == level) texts.push_back(line.Text());
  }
  return texts;
}

std::vector<std::string> LogBook::Marked(int level) const {
  std::vector<std::string> texts;
  for (const auto& line : lines_) {
    if (line.level == level) texts.push_back(line.Marked());
  }
  return texts;
}

bool LogBook::Has(int level, const std::string& marked) const {
  const auto texts = Marked(level);
  return std::find(texts.begin(), texts.end(), marked) != texts.end();
}

std::vector<std::string> LogBook::Misuses() const {
  auto misuses = misuses_;
  for (const auto& line : lines_) {
    if (!line.closed) misuses.push_back("left open: " + line.Text());
  }
  return misuses;
}

void LogBook::Forget() {
  lines_.clear();
  attempts_.clear();
}

void LogBook::Reset() {
  *this = LogBook();
  SetLevel(0);
}

// A handle is the line's number plus one, so that it is never null.
void* LogBook::Open(int level, const char* function, const char* file, int line) {
  const std::string name = function;
  const auto separator = name.find(kSeparator);
  if (separator == std::string::npos) misuses_.push_back("not from ClUnilogFname: " + name);
  LogLine opened{level, name.substr(0, separator), name.substr(separator + 1), file, line, {}};
  attempts_.push_back(opened);
  if (refuse_ || level > props.m_Level) return nullptr;
  lines_.push_back(std::move(opened));
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(lines_.size()));
}

LogLine* LogBook::OpenLine(void* handle, const char* operation) {
  const auto number = reinterpret_cast<std::uintptr_t>(handle);
  if (number == 0 || number > lines_.size() || lines_[number - 1].closed) {
    misuses_.push_back(std::string(operation) + " on a line that is not open");
    return nullptr;
  }
  return &lines_[number - 1];
}

void LogBook::Append(void* handle, LogPiece piece) {
  if (LogLine* line = OpenLine(handle, "append")) line->pieces.push_back(std::move(piece));
}

void LogBook::Close(void* handle) {
  if (LogLine* line = OpenLine(handle, "close")) line->closed = true;
}

void ExpectLogged(int level, const std::string& marked, const std::function<void()>& act) {
  Log().Forget();
  Log().SetLevel(level);
  act();
  EXPECT_TRUE(Log().Has(level, marked))
      << "missing: " << marked << "\nlogged: " << ::testing::PrintToString(Log().Marked(level));
  Log().Forget();
  Log().SetLevel(level - 1);
  act();
  EXPECT_FALSE(Log().Has(level, marked)) << marked;
  for (const auto& attempt : Log().Attempts()) {
    EXPECT_TRUE(attempt.level < level || MayIgnoreLevel(attempt)) << attempt.signature;
  }
}

}  // namespace packetdb::test

using packetdb::test::HostMemory;

XeltLogProps* XeltLog_GetProps_cl_module() { return &packetdb::test::props; }

std::string ClUnilogFname(const char* signature, const char* shortName) {
  const HostMemory host;
  return std::string(signature) + packetdb::test::kSeparator + shortName;
}

std::string XeltLogHexLongLong(unsigned long long value, int width) {
  const HostMemory host;
  std::ostringstream text;
  text << "{x" << width << ":" << std::hex << value << "}";
  return text.str();
}

std::wstring XeltLogHexLongLongW(unsigned long long value, int width) {
  const HostMemory host;
  const std::string text = XeltLogHexLongLong(value, width);
  return {text.begin(), text.end()};
}

XetlLogHelper::XetlLogHelper(XeltLogProps* props, void* line) : m_Props(props), m_Line(line) {}

XetlLogHelper& XetlLogHelper::operator<<(const char* text) {
  m_Props->m_AppendText(m_Line, text);
  return *this;
}

int slput(int priority, const char* text) {
  const HostMemory host;
  packetdb::test::Calls().Note("slput(" + std::to_string(priority) + ", " + text + ")");
  return packetdb::test::Calls().Planned("slput").value_or(0);
}
