#include <cstring>
#include <gtest/gtest.h>
#include <vector>

#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

// One record that has travelled, in which every column has the bytes of the same number.
class Values : public ::testing::Test {
 protected:
  void Send(const std::vector<std::pair<unsigned int, unsigned int>>& columns) {
    Message writer(pair_.client);
    writer.SetKind(kKindRequest);
    for (const auto& [id, size] : columns) writer.AddColumn(id, size);
    writer.SetRecordCount(1);
    ASSERT_EQ(writer.WriteHeader(), 0);
    const std::uint64_t number[2] = {0xF1E2D3C4B5A69788, 0};
    for (const auto& [id, size] : columns) writer.SetValue(id & ~kIntegerBit, number);
    ASSERT_EQ(writer.WriteRecord(), 0);
    pair_.client.Flush();
    ReadRequest(reader_);
  }

  Pair pair_;
  Message reader_{pair_.server};
};

TEST_F(Values, OfIntegersAreWidenedWithZerosAndCutToTheLowBits) {
  Send({{kIntegerBit | 1, 1}, {kIntegerBit | 2, 2}, {kIntegerBit | 4, 4}, {kIntegerBit | 8, 8}});
  EXPECT_EQ(reader_.GetInt(1, nullptr), 0x88);
  EXPECT_EQ(reader_.GetInt(2, nullptr), 0x9788);
  EXPECT_EQ(static_cast<unsigned int>(reader_.GetInt(4, nullptr)), 0xB5A69788);
  EXPECT_EQ(static_cast<unsigned int>(reader_.GetInt(8, nullptr)), 0xB5A69788);
  EXPECT_EQ(reader_.GetShort(1, nullptr), 0x88);
  for (unsigned int id : {2u, 4u, 8u}) EXPECT_EQ(reader_.GetShort(id, nullptr), 0x9788) << id;
  for (unsigned int id : {1u, 2u, 4u, 8u}) EXPECT_EQ(reader_.GetByte(id, nullptr), 0x88) << id;
}

TEST_F(Values, OfByteColumnsAreNumbersInHostOrderWhenTheyHave1Or2Or4Bytes) {
  Send({{1, 1}, {2, 2}, {4, 4}});
  EXPECT_EQ(reader_.GetInt(1, nullptr), 0x88);
  EXPECT_EQ(reader_.GetInt(2, nullptr), 0x9788);
  EXPECT_EQ(static_cast<unsigned int>(reader_.GetInt(4, nullptr)), 0xB5A69788);
  EXPECT_EQ(reader_.GetShort(4, nullptr), 0x9788);
  EXPECT_EQ(reader_.GetByte(2, nullptr), 0x88);
}

TEST_F(Values, OfOtherByteColumnsAreNoNumbersButHaveASize) {
  Send({{3, 3}, {5, 5}, {8, 8}, {16, 16}});
  for (unsigned int id : {3u, 5u, 8u, 16u}) {
    unsigned int size = 99;
    EXPECT_EQ(reader_.GetInt(id, &size), 0) << id;
    EXPECT_EQ(size, id);
    EXPECT_EQ(reader_.GetShort(id, &size), 0) << id;
    EXPECT_EQ(reader_.GetByte(id, &size), 0) << id;
  }
}

TEST_F(Values, AsRawBytesAreTheHostsOwnForIntegersToo) {
  Send({{kIntegerBit | 8, 8}, {16, 16}});
  unsigned int size = 0;
  const std::uint64_t number = 0xF1E2D3C4B5A69788;
  EXPECT_EQ(std::memcmp(reader_.GetRaw(8, &size), &number, 8), 0);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(std::memcmp(reader_.GetRaw(16, &size), &number, 8), 0);
  EXPECT_EQ(size, 16u);
  EXPECT_NE(reader_.GetRaw(16, nullptr), nullptr);
}

TEST_F(Values, OfAnAbsentColumnAre0OfSize0) {
  Send({{1, 1}});
  unsigned int size = 99;
  EXPECT_EQ(reader_.GetRaw(2, &size), nullptr);
  EXPECT_EQ(size, 0u);
  size = 99;
  EXPECT_EQ(reader_.GetInt(kIntegerBit | 1, &size), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(reader_.GetShort(2, nullptr), 0);
  EXPECT_EQ(reader_.GetByte(2, nullptr), 0);
}

TEST_F(Values, AreThereOnlyWhileARecordIs) {
  EXPECT_EQ(reader_.GetInt(1, nullptr), 0);
  EXPECT_EQ(reader_.GetRaw(1, nullptr), nullptr);
  Send({{1, 1}});
  EXPECT_EQ(reader_.GetInt(1, nullptr), 0x88);
  EXPECT_EQ(reader_.ReadRecord(), -1);
  EXPECT_EQ(reader_.GetInt(1, nullptr), 0);
  EXPECT_EQ(reader_.GetRaw(1, nullptr), nullptr);
}

}  // namespace
}  // namespace packetdb::host
