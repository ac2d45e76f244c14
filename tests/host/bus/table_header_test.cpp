#include "host/bus/table_header.h"

#include <gtest/gtest.h>

namespace packetdb::host {
namespace {

TableHeader Sample() {
  TableHeader header;
  header.kind = kKindRequest;
  header.record_count = 1;
  header.columns.Add(kIntegerBit | 0, 4);
  header.columns.Add(30, 32);
  return header;
}

BusError Decode(const std::vector<unsigned char>& payload) {
  TableHeader header;
  return DecodeHeader(payload, &header);
}

TEST(TableHeader, DecodesToWhatWasEncoded) {
  const TableHeader sample = Sample();
  TableHeader decoded;
  ASSERT_EQ(DecodeHeader(EncodeHeader(sample), &decoded), BusError::kNone);
  EXPECT_EQ(decoded.kind, kKindRequest);
  EXPECT_EQ(decoded.record_count, 1);
  EXPECT_FALSE(decoded.marker);
  ASSERT_EQ(decoded.columns.All().size(), 2u);
  EXPECT_EQ(decoded.columns.All()[0].DeclaredId(), kIntegerBit | 0);
  EXPECT_EQ(decoded.columns.All()[1].size, 32u);
}

TEST(TableHeader, CarriesAMarkerWithoutACount) {
  TableHeader sample = Sample();
  sample.record_count = kCountNotAnnounced;
  sample.marker = true;
  TableHeader decoded;
  ASSERT_EQ(DecodeHeader(EncodeHeader(sample), &decoded), BusError::kNone);
  EXPECT_EQ(decoded.record_count, kCountNotAnnounced);
  EXPECT_TRUE(decoded.marker);
}

TEST(TableHeader, RefusesEveryOtherLength) {
  std::vector<unsigned char> payload = EncodeHeader(Sample());
  const std::vector<unsigned char> whole = payload;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    payload.assign(whole.begin(), whole.begin() + static_cast<long>(length));
    EXPECT_EQ(Decode(payload), BusError::kMalformedHeader) << length;
  }
  payload = whole;
  payload.push_back(0);
  EXPECT_EQ(Decode(payload), BusError::kMalformedHeader);
}

TEST(TableHeader, RefusesAMarkerFlagOf2) {
  std::vector<unsigned char> payload = EncodeHeader(Sample());
  payload[8] = 2;
  EXPECT_EQ(Decode(payload), BusError::kBadMarkerFlag);
}

TEST(TableHeader, RefusesAnUnknownKind) {
  TableHeader header = Sample();
  for (int kind : {2, -1, 256}) {
    header.kind = kind;
    EXPECT_EQ(Decode(EncodeHeader(header)), BusError::kBadKind) << kind;
  }
}

TEST(TableHeader, RefusesACountBelowMinusOne) {
  TableHeader header = Sample();
  header.record_count = -2;
  EXPECT_EQ(Decode(EncodeHeader(header)), BusError::kBadRecordCount);
}

TEST(TableHeader, RefusesATableWithoutEnd) {
  TableHeader header = Sample();
  header.record_count = kCountNotAnnounced;
  EXPECT_EQ(Decode(EncodeHeader(header)), BusError::kEndlessTable);
}

TEST(TableHeader, RefusesATableWithoutColumns) {
  TableHeader header;
  header.record_count = 1;
  EXPECT_EQ(Decode(EncodeHeader(header)), BusError::kNoColumns);
}

TEST(TableHeader, RefusesMoreThan64ColumnsBeforeItLooksAtThem) {
  std::vector<unsigned char> payload = EncodeHeader(Sample());
  payload[9] = 65;
  EXPECT_EQ(Decode(payload), BusError::kTooManyColumns);
}

TEST(TableHeader, RefusesAColumnThatNobodyMayDeclare) {
  std::vector<unsigned char> payload = EncodeHeader(Sample());
  payload[17] = 3;  // the size of the first column, an integer
  EXPECT_EQ(Decode(payload), BusError::kBadIntegerSize);
  payload[17] = 0;
  EXPECT_EQ(Decode(payload), BusError::kBadColumnSize);
}

TEST(TableHeader, StaysAsItWasWhenTheBytesAreRefused) {
  TableHeader header = Sample();
  std::vector<unsigned char> payload = EncodeHeader(TableHeader{});
  EXPECT_NE(DecodeHeader(payload, &header), BusError::kNone);
  EXPECT_EQ(header.columns.All().size(), 2u);
}

}  // namespace
}  // namespace packetdb::host
