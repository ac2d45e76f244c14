// Datagrams of a log group, good and bad, and what becomes of them.
#include "host/sources/log_records.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <memory>
#include <system_error>

#include "tests/host/sources/collector.h"
#include "tests/host/sources/decode.h"
#include "tests/host/sources/log_messages.h"
#include "tests/host/sources/show.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kLoggedUdpEvent =
    "nflog 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 0 size 32 at 5 group 5";

class LogRecordsTest : public testing::Test {
 protected:
  // The datagram is in an allocation of exactly its size.
  void Take(const Bytes& datagram) {
    const auto exact = std::make_unique<std::uint8_t[]>(datagram.size());
    std::copy(datagram.begin(), datagram.end(), exact.get());
    records_.Take(ByteView(exact.get(), datagram.size()), {{kSecondFive, 0}, {}}, sink_);
    EXPECT_EQ(records_.packets().packets(), records_.packets().events() + Skipped());
    EXPECT_EQ(records_.packets().events(), sink_.events().size());
  }
  std::uint64_t Skipped() const { return records_.packets().skipped(); }

  static std::string NameOf(std::uint32_t index) { return index == 2 ? "eth0" : ""; }

  LogRecords records_{5, LiveInterfaceNames(NameOf, "nflog")};
  Collector sink_;
};

TEST_F(LogRecordsTest, ARecordIsAnEventWithoutCodeAndVerdict) {
  const Bytes attributes = Attribute(kTypePacketHeader, PacketHeader(kInput)) +
                           Attribute(kTypePrefix, Text("pdb:in:1:drop:9") + Zeros(1)) +
                           Attribute(kTypeIndexIn, Big(2U)) + Attribute(kTypeMark, Big(7U)) +
                           Attribute(kTypeUid, Big(1000U)) + Attribute(kTypePayload, Udp());
  Take(LogMessage(5, attributes));
  EXPECT_THAT(sink_.events(),
              ElementsAre("eth0 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x1 code 0 size 32 at 5 "
                          "prefix 'pdb:in:1:drop:9' group 5 mark 7 uid 1000"));
}

TEST_F(LogRecordsTest, NothingOfARecordStaysForTheNextOne) {
  Take(LogMessage(5, Attribute(kTypePrefix, Text("in: ")) + Attribute(kTypeIndexIn, Big(2U)) +
                         Attribute(kTypeMark, Big(7U)) + Attribute(kTypeUid, Big(1000U)) +
                         Attribute(kTypePayload, Udp())));
  Take(LogMessage(5, Attribute(kTypePayload, Udp())));
  EXPECT_EQ(sink_.events().back(), kLoggedUdpEvent);
}

TEST_F(LogRecordsTest, TheRecordsTimeIsTheEvents) {
  const Bytes stamp = Big(0U) + Big(1'000'000'000U) + Big(0U) + Big(250U);
  Take(LogMessage(5, Attribute(kTypeTimestamp, stamp) + Attribute(kTypePayload, Udp())));
  EXPECT_EQ(sink_.last().time, 1'000'000'000);
  EXPECT_EQ(sink_.last().nanoseconds, 250'000U);
  EXPECT_EQ(sink_.last().item.m_FirstTime, 684467200U);
}

TEST_F(LogRecordsTest, TimesThatAJournalCannotHoldAreTreatedAsEverywhere) {
  const auto stamped = [](std::uint32_t high, std::uint32_t low) {
    return LogMessage(5, Attribute(kTypeTimestamp, Big(high) + Big(low) + Zeros(8)) +
                             Attribute(kTypePayload, Udp()));
  };
  Take(stamped(0xFFFFFFFF, 0xFFFFFFFF) + stamped(0x80000000, 0) + stamped(0, 0) +
       stamped(0x7FFFFFFF, 0) + stamped(0, 0x80000000));
  EXPECT_EQ(sink_.events().size(), 3U);
  EXPECT_EQ(Show(records_.packets()), "time later than 2038-01-19 x2[time before 1980 x3]");
}

TEST_F(LogRecordsTest, ADatagramMayHoldManyRecordsAndTheirEnd) {
  Take(Numbered(0) + Numbered(1) + Numbered(2) + Message(kMessageDone, Zeros(4)));
  EXPECT_THAT(sink_.events(), ElementsAre(kLoggedUdpEvent, kLoggedUdpEvent, kLoggedUdpEvent));
  EXPECT_EQ(records_.lost(), 0U);
  EXPECT_EQ(records_.malformed(), 0U);
}

TEST_F(LogRecordsTest, MissingNumbersAreLosses) {
  Take(Numbered(10) + Numbered(12));
  Take(Numbered(20));
  EXPECT_EQ(records_.lost(), 8U);
  EXPECT_EQ(records_.sequence().next(), 21U);
}

TEST_F(LogRecordsTest, APacketThatGivesNoEventIsNotLost) {
  const Bytes number = Attribute(kTypeSequence, Big(11U));
  Take(Numbered(10) + LogMessage(5, number + Attribute(kTypePayload, Udp()), kFamilyIpv6) +
       Numbered(12));
  EXPECT_EQ(records_.lost(), 0U);
  EXPECT_EQ(Show(records_.packets()), "IPv6 x1");
}

TEST_F(LogRecordsTest, ADamagedRecordIsNotLostWhereItsNumberCouldBeRead) {
  const Bytes number = Attribute(kTypeSequence, Big(11U));
  Take(Numbered(10) + LogMessage(5, number + Bytes{3, 0, 9, 0}) + Numbered(12));
  EXPECT_EQ(records_.lost(), 0U);
  EXPECT_EQ(Show(records_.packets()), "NFLOG record damaged x1");
}

TEST_F(LogRecordsTest, RecordsWithoutANumberAreNoGap) {
  Take(Numbered(10) + LogMessage(5, Attribute(kTypePayload, Udp())) + Numbered(11));
  EXPECT_EQ(records_.lost(), 0U);
}

TEST_F(LogRecordsTest, TheLastMessageMayLackItsPadding) {
  const Bytes body = Bytes{kFamilyIpv4, 0} + Big(std::uint16_t{5}) +
                     Ordered(Order::kNative, std::uint16_t{5}) +
                     Ordered(Order::kNative, kTypePrefix) + Text("x");
  Take(LyingMessage(static_cast<std::uint32_t>(16 + body.size()), kMessageLog, body));
  EXPECT_EQ(Show(records_.packets()), "NFLOG record without packet bytes x1");
  EXPECT_EQ(records_.malformed(), 0U);
}

TEST_F(LogRecordsTest, EmptyDatagramIsNothing) {
  Take({});
  EXPECT_EQ(records_.malformed(), 0U);
}

TEST_F(LogRecordsTest, LengthsThatLieEndTheDatagram) {
  for (const std::uint32_t length : {0U, 1U, 15U, 1000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    const std::uint64_t malformed = records_.malformed();
    Take(Numbered(0) + LyingMessage(length, kMessageLog, Zeros(8)) + Numbered(1));
    EXPECT_EQ(records_.malformed(), malformed + 1) << length;
  }
  EXPECT_EQ(sink_.events().size(), 6U);
}

TEST_F(LogRecordsTest, ADatagramCutAnywhereIsReadToTheCut) {
  const Bytes whole = Numbered(0) + Numbered(1);
  for (std::size_t size = 1; size < whole.size(); ++size) {
    const std::size_t events = sink_.events().size();
    const std::uint64_t malformed = records_.malformed();
    Take(FirstOf(whole, size));
    EXPECT_EQ(sink_.events().size() - events, size < whole.size() / 2 ? 0U : 1U) << size;
    EXPECT_EQ(records_.malformed() - malformed, size == whole.size() / 2 ? 0U : 1U) << size;
  }
}

TEST_F(LogRecordsTest, OtherMessagesAreCountedAsMalformed) {
  Take(Message(kMessageLogConfig, Zeros(4)) + Message(16, {}) + Message(0xFFFF, Zeros(64)));
  EXPECT_EQ(records_.malformed(), 3U);
  EXPECT_THAT(sink_.events(), IsEmpty());
}

TEST_F(LogRecordsTest, ARecordOfAnotherGroupOrWithoutAHeaderIsMalformed) {
  Take(LogMessage(6, Attribute(kTypePayload, Udp())) + Message(kMessageLog, {kFamilyIpv4, 0, 0}) +
       Message(kMessageLog, {}));
  EXPECT_EQ(records_.malformed(), 3U);
  EXPECT_EQ(records_.packets().packets(), 0U);
}

TEST_F(LogRecordsTest, ARecordOfAnotherVersionIsDamaged) {
  Take(Message(kMessageLog, Bytes{kFamilyIpv4, 1} + Big(std::uint16_t{5})));
  EXPECT_EQ(Show(records_.packets()), "NFLOG record damaged x1");
}

TEST_F(LogRecordsTest, AcknowledgementsAndFillersAreNothing) {
  Take(Message(kMessageError, Refusal(0)) + Message(kMessageNoop, {}) +
       Message(kMessageDone, Zeros(4)) + Numbered(0));
  EXPECT_EQ(records_.malformed(), 0U);
  EXPECT_EQ(sink_.events().size(), 1U);
}

TEST_F(LogRecordsTest, ARefusalOfTheKernelEndsTheSource) {
  try {
    Take(Numbered(0) + Message(kMessageError, Refusal(EPERM)));
    FAIL() << "no exception";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), EPERM);
    EXPECT_STREQ(error.what(), "log group 5: refused by the kernel: Operation not permitted");
  }
  EXPECT_EQ(sink_.events().size(), 1U);
}

TEST_F(LogRecordsTest, ARefusalThatIsNoneIsMalformed) {
  const auto refusal = [](std::uint32_t error) {
    return Message(kMessageError, Ordered(Order::kNative, error));
  };
  Take(Message(kMessageError, Zeros(3)) + refusal(1) + refusal(0x80000000) + refusal(0x7FFFFFFF));
  EXPECT_EQ(records_.malformed(), 4U);
}

TEST_F(LogRecordsTest, AnyByteMayBeAnything) {
  const Bytes good =
      LogMessage(5, Attribute(kTypePacketHeader, PacketHeader(kInput)) +
                        Attribute(kTypePrefix, Text("x: ") + Zeros(1)) +
                        Attribute(kTypeTimestamp, Zeros(16)) + Attribute(kTypeSequence, Big(1U)) +
                        Attribute(kTypePayload, Udp())) +
      Message(kMessageDone, Zeros(4));
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (unsigned int value = 0; value < 256; ++value) {
      Bytes datagram = good;
      datagram[at] = static_cast<std::uint8_t>(value);
      try {
        Take(datagram);
      } catch (const std::system_error&) {  // some of these are refusals
      }
    }
  }
}

}  // namespace
}  // namespace packetdb::host::test
