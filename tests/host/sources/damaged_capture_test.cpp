// Files that start well and end badly: what comes before the damage is delivered, and the failure
// names file, packet and reason.
#include <fstream>
#include <gmock/gmock.h>
#include <string>

#include "tests/host/sources/capture_writer.h"
#include "tests/host/sources/decode.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::uint64_t kTick = kSecond * std::uint64_t{1000000};

class DamagedCapture : public testing::Test {
 protected:
  // Reads a file of two good packets and something bad behind them.
  void ExpectTwoThenFailure(const Bytes& bytes, const std::string& reason) {
    const ReadResult result = ReadCapture(dir_.File("bad", bytes));
    EXPECT_THAT(result.events, SizeIs(2));
    EXPECT_EQ(result.counters.packets(), 2U);
    EXPECT_THAT(result.failure,
                AllOf(StartsWith(dir_.Path("bad") + ": damaged: packet 3: "), HasSubstr(reason)));
  }

  // Cuts the file at every length behind its header. `ends` are the lengths that leave whole
  // packets, in order, the first for no packet.
  void CutEverywhere(const Bytes& bytes, const std::vector<std::size_t>& ends) {
    for (std::size_t length = ends.front(); length <= bytes.size(); ++length) {
      const ReadResult result = ReadCapture(dir_.File("cut", FirstOf(bytes, length)));
      const auto next = std::upper_bound(ends.begin(), ends.end(), length);
      const auto whole = static_cast<std::size_t>(next - ends.begin()) - 1;
      EXPECT_THAT(result.events, SizeIs(whole)) << length;
      EXPECT_EQ(result.failure.empty(), ends[whole] == length) << length;
    }
  }

  TempDir dir_;
};

PcapFile TwoPackets() {
  PcapFile file(kLinkRaw);
  file.Packet(kSecond, 0, Udp()).Packet(kSecond, 0, Udp());
  return file;
}

PcapngFile TwoBlocks() {
  PcapngFile file(kLinkRaw);
  file.Packet(kTick, Udp()).Packet(kTick, Udp());
  return file;
}

TEST_F(DamagedCapture, PcapCutAtEveryLength) {
  const std::size_t header = PcapFile(kLinkRaw).bytes().size();
  const std::size_t packet = 16 + 32;
  CutEverywhere(TwoPackets().bytes(), {header, header + packet, header + 2 * packet});
}

TEST_F(DamagedCapture, PcapngCutAtEveryLength) {
  const std::size_t header = PcapngFile(kLinkRaw).bytes().size();
  const std::size_t packet = 32 + 32;
  CutEverywhere(TwoBlocks().bytes(), {header, header + packet, header + 2 * packet});
}

TEST_F(DamagedCapture, PacketNumberCountsPacketsThatGaveNoEvent) {
  PcapFile file(kLinkRaw);
  file.Packet(kSecond, 0, {0x60}).LyingPacket(100, {1, 2, 3});
  EXPECT_THAT(ReadCapture(dir_.File("bad", file.bytes())).failure, HasSubstr(": packet 2: "));
}

TEST_F(DamagedCapture, PacketLargerThanWhatIsLeft) {
  ExpectTwoThenFailure(TwoPackets().LyingPacket(100, Zeros(99)).bytes(),
                       "tried to read 100 captured bytes, only got 99");
}

TEST_F(DamagedCapture, PacketLargerThanAnyPacket) {
  ExpectTwoThenFailure(TwoPackets().LyingPacket(0xffffffff, Zeros(99)).bytes(), "4294967295");
  ExpectTwoThenFailure(TwoPackets().LyingPacket(262145, Zeros(262145)).bytes(), "262145");
}

TEST_F(DamagedCapture, BlockLargerThanWhatIsLeft) {
  ExpectTwoThenFailure(TwoBlocks().LyingBlock(kBlockPacket, Zeros(40), 400, 400).bytes(),
                       "truncated");
}

TEST_F(DamagedCapture, BlockLargerThanAnyBlock) {
  ExpectTwoThenFailure(
      TwoBlocks().LyingBlock(kBlockPacket, Zeros(40), 0xfffffff0, 0xfffffff0).bytes(), "maximum");
}

TEST_F(DamagedCapture, BlockShorterThanItsFrame) {
  ExpectTwoThenFailure(TwoBlocks().LyingBlock(kBlockPacket, Zeros(40), 8, 8).bytes(), "length");
}

TEST_F(DamagedCapture, BlockWhoseLengthsDiffer) {
  ExpectTwoThenFailure(TwoBlocks().LyingBlock(kBlockPacket, Zeros(40), 52, 56).bytes(), "length");
}

TEST_F(DamagedCapture, PacketLargerThanItsBlock) {
  PcapngFile file = TwoBlocks();
  ExpectTwoThenFailure(file.Block(kBlockPacket, file.PacketBody(kTick, Udp(), 400)).bytes(),
                       "block");
}

TEST_F(DamagedCapture, BlockOfAnInterfaceThatWasNotDeclared) {
  PcapngFile file = TwoBlocks();
  Bytes body = file.PacketBody(kTick, Udp(), 32);
  body[0] = 9;
  ExpectTwoThenFailure(file.Block(kBlockPacket, body).bytes(), "interface");
}

TEST_F(DamagedCapture, LinkTypeThatChangesInMidFile) {
  PcapngFile file = TwoBlocks();
  const Bytes ethernet = Ordered(Order::kNative, std::uint16_t{1}) + Zeros(2) +
                         Ordered(Order::kNative, std::uint32_t{262144});
  ExpectTwoThenFailure(file.Block(kBlockInterface, ethernet).bytes(), "type");
}

TEST_F(DamagedCapture, AFailedReaderStaysFailed) {
  CaptureReader reader(dir_.File("bad", TwoPackets().LyingPacket(9, {}).bytes()), {});
  while (reader.Next()) {
  }
  const std::string text = reader.failure()->text;
  EXPECT_FALSE(reader.Next());
  EXPECT_EQ(reader.failure()->text, text);
}

// Bytes of address space; what a buffer costs even before it is touched.
std::size_t AddressSpace() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * 4096;
}

TEST_F(DamagedCapture, ClaimsDoNotCostMemory) {
  constexpr std::size_t kAllowed = 32 << 20;
  PcapFile snapshot(kLinkRaw, Order::kNative, false, 0x7fffffff);
  snapshot.Packet(kSecond, 0, Udp()).LyingPacket(0x7fffffff, Udp());
  const Bytes block = TwoBlocks().LyingBlock(kBlockPacket, {}, 0x7ffffffc, 0x7ffffffc).bytes();
  const Bytes largest = TwoBlocks().LyingBlock(kBlockPacket, {}, 16777212, 16777212).bytes();
  for (const Bytes& bytes : {snapshot.bytes(), block, largest}) {
    const std::size_t before = AddressSpace();
    CaptureReader reader(dir_.File("claims", bytes), {});
    EXPECT_TRUE(reader.Next());
    while (reader.Next()) {
    }
    EXPECT_TRUE(reader.failure());
    EXPECT_LT(AddressSpace(), before + kAllowed);
  }
}

TEST_F(DamagedCapture, AnyByteOfAFileMayBeAnything) {
  for (const Bytes& good : {TwoPackets().bytes(), TwoBlocks().bytes()}) {
    for (std::size_t at = 0; at < good.size(); ++at) {
      for (const std::uint8_t value : Bytes{0x00, 0x01, 0x7f, 0x80, 0xff}) {
        Bytes bytes = good;
        bytes[at] = value;
        ReadCapture(dir_.File("flip", bytes));  // checks the sums
      }
    }
  }
}

}  // namespace
}  // namespace packetdb::host::test
