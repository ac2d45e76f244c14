// The scripted logging facility: keeps every line with its level, place and pieces.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace packetdb::test {

// One appended piece. Texts have no width.
struct LogPiece {
  char kind;  // 't' text, 'i' signed, 'u' unsigned
  std::string value;
  int width;
};

struct LogLine {
  int level;
  std::string signature;  // what ClUnilogFname was given
  std::string function;
  std::string file;
  int line;
  std::vector<LogPiece> pieces;
  bool closed = false;

  // "have records 3"; a hexadecimal value reads "{x4:1f}", 4 being its width in bytes.
  std::string Text() const;
  // The same with the numbers' kinds and widths: "have records {u4:3}".
  std::string Marked() const;
};

// The facility takes a line when its level is at most the set one, as the library should know.
class LogBook {
 public:
  void SetLevel(int level);
  // Refuse every line, whatever its level.
  void Refuse() { refuse_ = true; }

  const std::vector<LogLine>& Lines() const { return lines_; }
  // Texts of the lines of one level, in order.
  std::vector<std::string> Texts(int level) const;
  std::vector<std::string> Marked(int level) const;
  bool Has(int level, const std::string& marked) const;

  // Every call of m_Open, refused or not: a line without pieces.
  const std::vector<LogLine>& Attempts() const { return attempts_; }
  // Anything that the contract of the facility forbids: appending to a closed line, a line left
  // open, an m_Open of a name that ClUnilogFname did not make.
  std::vector<std::string> Misuses() const;

  void Forget();  // keeps the level
  void Reset();   // level 0, nothing refused

  // For the facility.
  void* Open(int level, const char* function, const char* file, int line);
  void Append(void* handle, LogPiece piece);
  void Close(void* handle);

 private:
  LogLine* OpenLine(void* handle, const char* operation);

  bool refuse_ = false;
  std::vector<LogLine> lines_;
  std::vector<LogLine> attempts_;
  std::vector<std::string> misuses_;
};

LogBook& Log();

// Runs `act` with the facility at `level` and one below: the line must be there and in no way asked
// for, respectively. `marked` is the line as LogLine::Marked shows it.
void ExpectLogged(int level, const std::string& marked, const std::function<void()>& act);

}  // namespace packetdb::test
