// The checksum is the published one, whether or not the processor has an instruction for it.
#include "host/record_file/crc32c.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "tests/support/seed.h"

namespace packetdb::host {
namespace {

std::uint32_t Portably(const void* bytes, std::size_t size) {
  return ~ContinueCrc32cPortably(0xFFFFFFFF, bytes, size);
}

void ExpectChecksum(const std::vector<unsigned char>& bytes, std::uint32_t expected) {
  EXPECT_EQ(Crc32c(bytes.data(), bytes.size()), expected);
  EXPECT_EQ(Portably(bytes.data(), bytes.size()), expected);
}

std::vector<unsigned char> Counting(int first, int step) {
  std::vector<unsigned char> bytes(32);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<unsigned char>(first + step * static_cast<int>(i));
  }
  return bytes;
}

// RFC 3720, appendix B.4.
TEST(Crc32cTest, HasThePublishedValues) {
  ExpectChecksum(std::vector<unsigned char>(32, 0), 0x8A9136AA);
  ExpectChecksum(std::vector<unsigned char>(32, 0xFF), 0x62A8AB43);
  ExpectChecksum(Counting(0, 1), 0x46DD794E);
  ExpectChecksum(Counting(31, -1), 0x113FDB5C);
}

// The value by which a checksum is commonly named.
TEST(Crc32cTest, HasTheCheckValue) {
  const std::string digits = "123456789";
  ExpectChecksum({digits.begin(), digits.end()}, 0xE3069283);
}

TEST(Crc32cTest, OfNothingIsZero) { ExpectChecksum({}, 0); }

TEST(Crc32cTest, IsTheSameBothWaysForEveryLengthAndAlignment) {
  const std::uint32_t seed = test::Seed();
  SCOPED_TRACE(test::SeedText(seed));
  test::Random random(seed);
  std::vector<unsigned char> bytes(200);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random.Bits());
  for (std::size_t begin = 0; begin < 9; ++begin) {
    for (std::size_t size = 0; begin + size <= bytes.size(); ++size) {
      const std::uint32_t state = random.Bits();
      ASSERT_EQ(ContinueCrc32c(state, bytes.data() + begin, size),
                ContinueCrc32cPortably(state, bytes.data() + begin, size))
          << begin << " " << size;
    }
  }
}

TEST(Crc32cTest, ContinuesWhereItStopped) {
  const std::string text = "a text that is cut in two at every place there is";
  const std::uint32_t whole = ContinueCrc32c(17, text.data(), text.size());
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    const std::uint32_t state = ContinueCrc32c(17, text.data(), cut);
    EXPECT_EQ(ContinueCrc32c(state, text.data() + cut, text.size() - cut), whole) << cut;
  }
}

}  // namespace
}  // namespace packetdb::host
