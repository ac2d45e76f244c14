// Decoding a query from a received message.
#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

class QueryRead : public LibraryTest {
 protected:
  void Read() { query_.read(&message_); }
  // The lines that decoding writes at one level.
  Strings Lines(int level) {
    return LinesOf(level, [this] { Query().read(&message_); });
  }

  ScriptedMessage message_;
  Query query_;
};

TEST_F(QueryRead, AsksForEveryFieldInOrder) {
  message_.CarryName("eth0");
  EXPECT_EQ(CallsOf([this] { Read(); }),
            (Strings{"GetRaw(30, size)", "GetByte(31)",  "GetInt(2)",        "GetInt(3)",
                     "GetInt(8)",        "GetInt(26)",   "GetInt(27)",       "GetByte(32)",
                     "GetInt(20)",       "GetInt(21)",   "GetInt(16)",       "GetInt(17)",
                     "GetInt(18)",       "GetInt(19)",   "GetShort(22)",     "GetShort(23)",
                     "GetShort(24)",     "GetShort(25)", "GetRaw(28, size)", "GetRaw(15, size)"}));
}

TEST_F(QueryRead, MissingNameEndsNothing) {
  message_.CarryByte(31, 1);
  EXPECT_EQ(CallsOf([this] { Read(); }).size(), 20u);
  EXPECT_EQ(query_.m_Version, 1);
}

TEST_F(QueryRead, TakesTheNameAndItsHash) {
  message_.CarryName("eth0");
  Read();
  EXPECT_EQ(std::string(query_.m_Interface, 32), std::string("eth0") + std::string(28, '\0'));
  EXPECT_EQ(query_.m_AdapterNameHash, adapter_name_hash("eth0"));
}

TEST_F(QueryRead, NameEndsAtItsFirstNul) {
  message_.CarryName(std::string_view("eth0\0junk", 9));
  Read();
  EXPECT_EQ(query_.m_AdapterNameHash, adapter_name_hash("eth0"));
  EXPECT_EQ(std::string(query_.m_Interface + 5, 4), "junk");
}

// Notes what stands where it is to put the size of the name.
class SizeWatcher : public ScriptedMessage {
 public:
  const void* GetRaw(unsigned int id, unsigned int* size) const override {
    if (id == 30) before_ = *size;
    return ScriptedMessage::GetRaw(id, size);
  }
  unsigned int before() const { return before_; }

 private:
  mutable unsigned int before_ = 99;
};

TEST_F(QueryRead, SizeOfTheNameIsZeroUntilTheMessageTellsIt) {
  const SizeWatcher message;
  query_.read(&message);
  EXPECT_EQ(message.before(), 0u);
}

TEST_F(QueryRead, NameMayFillAllItsBytes) {
  const std::string name = "0123456789abcdef0123456789abcdef";
  message_.CarryName(name);
  Read();
  EXPECT_EQ(std::string(query_.m_Interface, 32), name);
  EXPECT_EQ(query_.m_AdapterNameHash, adapter_name_hash(name));
  EXPECT_EQ(Lines(2), Strings{"Packet db for " + name +
                              "({u8:" + std::to_string(adapter_name_hash(name)) + "}) is queried"});
}

TEST_F(QueryRead, RefusesANameOfAnotherSize) {
  for (const std::size_t size : {0u, 1u, 31u, 33u}) {
    query_.m_AdapterNameHash = 5;
    message_.Carry(30, std::string(size, 'x'));
    Read();
    EXPECT_EQ(query_.m_AdapterNameHash, 0u) << size;
    EXPECT_EQ(query_.m_Interface[0], '\0') << size;
    EXPECT_EQ(Lines(2), Strings{"no interface name"}) << size;
  }
}

// Tells the size of a name that it does not have.
class NamelessMessage : public ScriptedMessage {
 public:
  const void* GetRaw(unsigned int id, unsigned int* size) const override {
    if (id != 30) return ScriptedMessage::GetRaw(id, size);
    *size = 32;
    return nullptr;
  }
};

TEST_F(QueryRead, SizeAloneIsNoName) {
  const NamelessMessage message;
  query_.m_AdapterNameHash = 5;
  EXPECT_EQ(LinesOf(2, [&] { query_.read(&message); }), Strings{"no interface name"});
  EXPECT_EQ(query_.m_AdapterNameHash, 0u);
  EXPECT_STREQ(query_.m_Interface, "");
}

// Has a name but tells no size.
class SizelessMessage : public ScriptedMessage {
 public:
  const void* GetRaw(unsigned int id, unsigned int* size) const override {
    return id == 30 ? ScriptedMessage::GetRaw(id, nullptr) : ScriptedMessage::GetRaw(id, size);
  }
};

TEST_F(QueryRead, NameWithoutASizeIsNone) {
  SizelessMessage message;
  message.CarryName("eth0");
  EXPECT_EQ(LinesOf(2, [&] { query_.read(&message); }), Strings{"no interface name"});
  EXPECT_STREQ(query_.m_Interface, "");
}

TEST_F(QueryRead, EmptyNameIsAName) {
  message_.CarryName("");
  Read();
  EXPECT_EQ(query_.m_AdapterNameHash, 0u);
  EXPECT_EQ(Lines(2), Strings{"Packet db for ({u8:0}) is queried"});
}

TEST_F(QueryRead, MissingNameIsNoticed) {
  EXPECT_EQ(Lines(2), Strings{"no interface name"});
  ExpectLogged(2, "no interface name", [this] { Read(); });
}

TEST_F(QueryRead, RequestIsNoticed) {
  message_.CarryName("eth0");
  const std::string line =
      "Packet db for eth0({u8:" + std::to_string(0x5365ff8481955634u) + "}) is queried";
  EXPECT_EQ(Lines(2), Strings{line});
  ExpectLogged(2, line, [this] { Read(); });
}

TEST_F(QueryRead, EmptyMessageReadsAsZero) {
  Read();
  EXPECT_EQ(query_.m_Version, 0);
  EXPECT_EQ(query_.m_TimeEnd, 0);
  EXPECT_TRUE(query_.m_Protocols.empty());
  EXPECT_TRUE(query_.m_Errcodes.empty());
}

TEST_F(QueryRead, EveryNumberGoesToItsField) {
  message_.CarryByte(31, 3);
  message_.CarryInt(2, 102);
  message_.CarryInt(3, 103);
  message_.CarryInt(8, -108);
  message_.CarryInt(26, 0x40);
  message_.CarryInt(27, -0x80);
  message_.CarryByte(32, 200);
  Read();
  EXPECT_EQ(query_.m_Version, 3);
  EXPECT_EQ(query_.m_TimeStart, 102);
  EXPECT_EQ(query_.m_TimeEnd, 103);
  EXPECT_EQ(query_.m_RecCount, 4294967188u);
  EXPECT_EQ(query_.m_FlagsWanted, 0x40u);
  EXPECT_EQ(query_.m_FlagsNotWanted, 0xffffff80u);
  EXPECT_EQ(query_.m_Direction, 200);
}

TEST_F(QueryRead, EveryEndpointNumberGoesToItsField) {
  for (unsigned int id = 16; id <= 21; ++id) message_.CarryInt(id, static_cast<int>(1000 + id));
  for (unsigned int id = 22; id <= 25; ++id) {
    message_.CarryShort(id, static_cast<std::uint16_t>(60000 + id));
  }
  Read();
  EXPECT_EQ(query_.m_IdSrc, 1020u);
  EXPECT_EQ(query_.m_IdDst, 1021u);
  EXPECT_EQ(query_.m_IpSrcFrom, 1016u);
  EXPECT_EQ(query_.m_IpSrcTo, 1017u);
  EXPECT_EQ(query_.m_IpDstFrom, 1018u);
  EXPECT_EQ(query_.m_IpDstTo, 1019u);
  EXPECT_EQ(query_.m_PortSrcFrom, 60022);
  EXPECT_EQ(query_.m_PortSrcTo, 60023);
  EXPECT_EQ(query_.m_PortDstFrom, 60024);
  EXPECT_EQ(query_.m_PortDstTo, 60025);
}

TEST_F(QueryRead, TimesAreWidenedWithTheirSign) {
  message_.CarryInt(2, -1);
  message_.CarryInt(3, -2147483647 - 1);
  Read();
  EXPECT_EQ(query_.m_TimeStart, -1);
  EXPECT_EQ(query_.m_TimeEnd, -2147483648LL);
}

TEST_F(QueryRead, TimeBeyond32BitsDoesNotArrive) {
  message_.Carry(3, BytesOf(std::int64_t{0x180000005}));
  Read();
  EXPECT_EQ(query_.m_TimeEnd, -2147483643LL);
}

TEST_F(QueryRead, TakesTheProtocols) {
  message_.Carry(28, std::string("\x06\x11\xff", 3));
  Read();
  EXPECT_THAT(query_.m_Protocols, ::testing::ElementsAre(6, 17, 255));
}

TEST_F(QueryRead, TakesTheCodes) {
  message_.Carry(15, BytesOf(5) + BytesOf(-15) + BytesOf(1999) + BytesOf(0));
  Read();
  EXPECT_THAT(query_.m_Errcodes, ::testing::ElementsAre(5, -15, 1999, 0));
}

TEST_F(QueryRead, CodesOfTheOtherByteOrderAreRepaired) {
  message_.Carry(15, BytesOf(0x05000000) + BytesOf(2000) + BytesOf(-16) + BytesOf(7));
  Read();
  EXPECT_THAT(query_.m_Errcodes, ::testing::ElementsAre(5, static_cast<int>(0xd0070000),
                                                        static_cast<int>(0xf0ffffff), 7));
}

TEST_F(QueryRead, ExactlyTheCodesOutOfRangeAreRepaired) {
  for (int code = -40; code <= 2100; ++code) {
    Query query;
    message_.Carry(15, BytesOf(code));
    query.read(&message_);
    const auto reversed = static_cast<int>(__builtin_bswap32(static_cast<std::uint32_t>(code)));
    EXPECT_EQ(query.m_Errcodes.front(), code < -15 || code > 1999 ? reversed : code);
  }
}

TEST_F(QueryRead, EveryCodeOfTheOtherByteOrderIsRepaired) {
  for (int code = -15; code <= 1999; ++code) {
    // These two read the same either way round.
    if (code == 0 || code == -1) continue;
    Query query;
    message_.Carry(15, BytesOf(__builtin_bswap32(static_cast<std::uint32_t>(code))));
    query.read(&message_);
    EXPECT_EQ(query.m_Errcodes.front(), code);
  }
}

TEST_F(QueryRead, EachRepairIsTraced) {
  message_.Carry(15, BytesOf(0x05000000) + BytesOf(7) + BytesOf(2000));
  EXPECT_EQ(Lines(5), (Strings{"Invert Endian of ErrorCode ({i4:83886080} -> {i4:5}) ",
                               "Invert Endian of ErrorCode ({i4:2000} -> {i4:-804847616}) "}));
  ExpectLogged(5, "Invert Endian of ErrorCode ({i4:83886080} -> {i4:5}) ", [this] { Read(); });
}

TEST_F(QueryRead, FlagsAskedBothWaysAreDropped) {
  message_.CarryInt(26, 0x3);
  message_.CarryInt(27, 0x6);
  Read();
  EXPECT_EQ(query_.m_FlagsWanted, 0x1u);
  EXPECT_EQ(query_.m_FlagsNotWanted, 0x4u);
}

TEST_F(QueryRead, EqualMasksCancelOut) {
  message_.CarryInt(26, -1);
  message_.CarryInt(27, -1);
  Read();
  EXPECT_EQ(query_.m_FlagsWanted, 0u);
  EXPECT_EQ(query_.m_FlagsNotWanted, 0u);
}

TEST_F(QueryRead, KeepsTheOldNameWhenThereIsNone) {
  SetInterface(query_, "eth7");
  Read();
  EXPECT_STREQ(query_.m_Interface, "eth7");
  EXPECT_EQ(query_.m_AdapterNameHash, 0u);
}

}  // namespace
}  // namespace packetdb::test
