// Hosts whose logging facility is missing, bare or failing: the library does its work all the same.
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>

#include "packetdb/query.h"
#include "packetdb/storage.h"
#include "platform/log.h"
#include "tests/support/calls.h"
#include "tests/support/message.h"

namespace {

XeltLogProps* offered = nullptr;  // what the facility hands out
int times_asked = 0;
int pieces = 0;
int closed = 0;

}  // namespace

XeltLogProps* XeltLog_GetProps_cl_module() {
  ++times_asked;
  return offered;
}
std::string ClUnilogFname(const char* /*signature*/, const char* shortName) { return shortName; }
std::string XeltLogHexLongLong(unsigned long long value, int /*width*/) {
  return std::to_string(value);
}
std::wstring XeltLogHexLongLongW(unsigned long long value, int /*width*/) {
  return std::to_wstring(value);
}
XetlLogHelper::XetlLogHelper(XeltLogProps* props, void* line) : m_Props(props), m_Line(line) {}
XetlLogHelper& XetlLogHelper::operator<<(const char* text) {
  m_Props->m_AppendText(m_Line, text);
  return *this;
}
int slput(int /*priority*/, const char* /*text*/) { return 0; }

namespace packetdb::test {
namespace {

void* Open(int /*level*/, const char* /*function*/, const char* /*file*/, int /*line*/) {
  return &pieces;
}
void* CannotOpen(int /*level*/, const char* /*function*/, const char* /*file*/, int /*line*/) {
  throw std::bad_alloc();
}
void CannotAppendText(void* /*line*/, const char* /*text*/) { throw std::bad_alloc(); }
void AppendInt(void* /*line*/, long long /*value*/, int /*width*/) { ++pieces; }
void AppendUInt(void* /*line*/, unsigned long long /*value*/, int /*width*/) { ++pieces; }
void Close(void* /*line*/) { ++closed; }
void CannotClose(void* /*line*/) { throw std::bad_alloc(); }

// Lines with texts, integers and hexadecimal values; the first is the one that is offered whatever
// the level.
bool WorksAsEver() {
  Query query;
  query.m_TimeEnd = std::int64_t{1} << 40;
  PacketDbItem item;
  const bool matched = query.m_Protocols.match(6) && query.match(item);
  query.m_IdSrc = 5;
  const bool dropped = !query.match(item);
  DbFileStorage storage;
  return matched && dropped && storage.AddRecord(&item.m_Item, 0, "") == 0;
}

// The facility is fetched once in the life of a process, so each host has one of its own.
[[noreturn]] void RunWith(XeltLogProps* props, bool (*act)()) {
  offered = props;
  std::exit(act() ? EXIT_SUCCESS : EXIT_FAILURE);
}

void ExpectTrueWith(XeltLogProps* props, bool (*act)()) {
  EXPECT_EXIT(RunWith(props, act), ::testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(LogFacility, MayBeMissing) { ExpectTrueWith(nullptr, WorksAsEver); }

TEST(LogFacility, MayHaveNoWayToOpenALine) {
  XeltLogProps props{};
  props.m_Level = 5;
  ExpectTrueWith(&props, WorksAsEver);
}

TEST(LogFacility, MayFailToOpenLines) {
  XeltLogProps props{5, CannotOpen, CannotAppendText, AppendInt, AppendUInt, Close};
  ExpectTrueWith(&props, [] { return WorksAsEver() && pieces == 0 && closed == 0; });
}

TEST(LogFacility, MayFailToTakePieces) {
  XeltLogProps props{5, Open, CannotAppendText, AppendInt, AppendUInt, Close};
  ExpectTrueWith(&props, [] { return WorksAsEver() && pieces > 0 && closed > 0; });
}

TEST(LogFacility, MayFailToCloseLines) {
  XeltLogProps props{5, Open, CannotAppendText, AppendInt, AppendUInt, CannotClose};
  ExpectTrueWith(&props, WorksAsEver);
}

// A facility that becomes silent with its first line.
XeltLogProps falling{};

void* OpenAndFallSilent(int /*level*/, const char* /*function*/, const char* /*file*/,
                        int /*line*/) {
  falling.m_Level = 0;
  return &pieces;
}
void AppendText(void* /*line*/, const char* /*text*/) { ++pieces; }

TEST(LogFacility, MayFallSilentBetweenTwoLines) {
  falling = {5, OpenAndFallSilent, AppendText, AppendInt, AppendUInt, Close};
  ExpectTrueWith(&falling, [] {
    Calls().Script("udbGetCommandAnswer", {-3});
    ScriptedMessage message;
    return Query().write(&message) == -3 && pieces == 1 && closed == 1;
  });
}

TEST(LogFacility, IsFetchedAtTheFirstLineAndNeverAgain) {
  for (const int level : {0, 5}) {
    XeltLogProps props{level, Open, CannotAppendText, AppendInt, AppendUInt, Close};
    ExpectTrueWith(&props, [] { return times_asked == 0 && WorksAsEver() && times_asked == 1; });
  }
}

}  // namespace
}  // namespace packetdb::test
