// What decoding a query writes at level 4.
#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

class QueryReadLog : public LibraryTest {
 protected:
  QueryReadLog() {
    message_.CarryName("eth0");
    message_.CarryByte(31, 1);
    message_.CarryInt(2, -2);
    message_.CarryInt(3, 300);
    message_.CarryInt(8, -1);
    message_.CarryByte(32, 1);
    message_.CarryInt(26, 0x3);
    message_.CarryInt(27, -2);
    message_.CarryInt(20, 0x20);
    message_.CarryInt(21, 0x21);
    for (unsigned int id = 16; id <= 19; ++id) message_.CarryInt(id, static_cast<int>(id));
    for (unsigned int id = 22; id <= 25; ++id) {
      message_.CarryShort(id, static_cast<std::uint16_t>(65500 + id));
    }
  }
  void Read() { Query().read(&message_); }

  ScriptedMessage message_;
};

TEST_F(QueryReadLog, ShowsTheWholeQuery) {
  EXPECT_EQ(
      LinesOf(4, [this] { Read(); }),
      (Strings{"Interface: eth0", "Query version: {u1:1}", "Time Start: {i8:-2} End: {i8:300}",
               "RecCount: {u4:4294967295} Direction: {u4:1}",
               "Original: Flags Wanted: {x4:3} NotWanted: {x4:fffffffe}",
               "Flags Wanted: {x4:1} NotWanted: {x4:fffffffc}",
               "ID Source: {x4:20} Destin: {x4:21}",
               "IP Source: {x4:10} - {x4:11} Destin: {x4:12} - {x4:13}",
               "Port Source: {u2:65522} - {u2:65523} Destin: {u2:65524} - {u2:65525}",
               "Proto list:", "Event list:"}));
}

TEST_F(QueryReadLog, ShowsEachListEntryOnALine) {
  message_.Carry(28, std::string("\x06\xff", 2));
  message_.Carry(15, BytesOf(5) + BytesOf(-8));
  Strings lines = LinesOf(4, [this] { Read(); });
  EXPECT_EQ(Strings(lines.end() - 6, lines.end()),
            (Strings{"Proto list:", "{u1:6}", "{u1:255}", "Event list:", "{i4:5}", "{i4:-8}"}));
}

TEST_F(QueryReadLog, ShowsReceivedListsFirst) {
  message_.Carry(28, std::string("\x06\xff", 2));
  message_.Carry(15, BytesOf(5) + BytesOf(-8) + BytesOf(7));
  Strings lines = LinesOf(4, [this] { Read(); });
  EXPECT_EQ(Strings(lines.begin(), lines.begin() + 3),
            (Strings{"received {u4:2} elements of type h", "received {u4:3} elements of type i",
                     "Interface: eth0"}));
}

TEST_F(QueryReadLog, ShowsRepairedCodes) {
  message_.Carry(15, BytesOf(0x05000000));
  EXPECT_EQ(LinesOf(4, [this] { Read(); }).back(), "{i4:5}");
}

TEST_F(QueryReadLog, ShowsANameThatFillsItsField) {
  message_.CarryName("0123456789abcdef0123456789abcdef");
  EXPECT_EQ(LinesOf(4, [this] { Read(); }).front(), "Interface: 0123456789abcdef0123456789abcdef");
}

TEST_F(QueryReadLog, EveryLineBelongsToLevelFour) {
  message_.Carry(28, std::string("\x06", 1));
  const Strings lines = LinesOf(4, [this] { Read(); });
  EXPECT_EQ(lines.size(), 13u);
  for (const auto& line : lines) ExpectLogged(4, line, [this] { Read(); });
}

TEST_F(QueryReadLog, TracesComeBetweenListsAndFields) {
  message_.Carry(15, BytesOf(2000));
  LinesOf(5, [this] { Read(); });
  Strings all;
  for (const auto& line : Log().Lines()) all.push_back(line.Text().substr(0, 12));
  EXPECT_EQ(Strings(all.begin(), all.begin() + 4),
            (Strings{"Packet db fo", "received 1 e", "Invert Endia", "Interface: e"}));
}

TEST_F(QueryReadLog, SilentFacilityIsNotAsked) {
  Log().SetLevel(0);
  message_.Carry(15, BytesOf(2000));
  Read();
  EXPECT_TRUE(Log().Attempts().empty());
}

}  // namespace
}  // namespace packetdb::test
