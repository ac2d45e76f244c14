// Taking an array out of a message.
#include "tests/support/fixture.h"

namespace packetdb::test {
namespace {

class GetArray : public LibraryTest {
 protected:
  ScriptedMessage message_;
  std::vector<int> codes_{1, 2, 3};
};

TEST_F(GetArray, AbsentArrayLeavesTheListAlone) {
  EXPECT_EQ(LinesOf(5, [this] { get_array(&message_, 15, codes_); }), Strings{});
  EXPECT_THAT(codes_, ::testing::ElementsAre(1, 2, 3));
}

TEST_F(GetArray, EmptyArrayLeavesTheListAlone) {
  message_.Carry(15, "");
  EXPECT_EQ(LinesOf(5, [this] { get_array(&message_, 15, codes_); }), Strings{});
  EXPECT_EQ(codes_.size(), 3u);
}

// Tells the size of an array that it does not have.
class ArraylessMessage : public ScriptedMessage {
 public:
  const void* GetRaw(unsigned int /*id*/, unsigned int* size) const override {
    *size = 8;
    return nullptr;
  }
};

TEST_F(GetArray, SizeAloneLeavesTheListAlone) {
  const ArraylessMessage message;
  EXPECT_EQ(LinesOf(5, [&] { get_array(&message, 15, codes_); }), Strings{});
  EXPECT_THAT(codes_, ::testing::ElementsAre(1, 2, 3));
}

// Has bytes but tells no size.
class SizelessMessage : public ScriptedMessage {
 public:
  const void* GetRaw(unsigned int /*id*/, unsigned int* /*size*/) const override { return "bytes"; }
};

TEST_F(GetArray, ArrayWithoutASizeIsEmpty) {
  const SizelessMessage message;
  std::vector<unsigned char> bytes{6};
  get_array(&message, 15, codes_);
  get_array(&message, 28, bytes);
  EXPECT_THAT(codes_, ::testing::ElementsAre(1, 2, 3));
  EXPECT_THAT(bytes, ::testing::ElementsAre(6));
}

TEST_F(GetArray, LessThanOneElementLeavesTheListAlone) {
  message_.Carry(15, "abc");
  get_array(&message_, 15, codes_);
  EXPECT_EQ(codes_.size(), 3u);
}

TEST_F(GetArray, StrayBytesAreIgnored) {
  for (const std::size_t stray : {1u, 2u, 3u}) {
    message_.Carry(15, BytesOf(77) + std::string(stray, 'x'));
    get_array(&message_, 15, codes_);
    EXPECT_THAT(codes_, ::testing::ElementsAre(77));
  }
}

TEST_F(GetArray, ListGrowsAndShrinksToTheArray) {
  message_.Carry(15, BytesOf(9) + BytesOf(-8) + BytesOf(7) + BytesOf(6));
  get_array(&message_, 15, codes_);
  EXPECT_THAT(codes_, ::testing::ElementsAre(9, -8, 7, 6));
  message_.Carry(15, BytesOf(1));
  get_array(&message_, 15, codes_);
  EXPECT_THAT(codes_, ::testing::ElementsAre(1));
}

TEST_F(GetArray, BytesComeAsTheyAre) {
  std::vector<unsigned char> bytes;
  message_.Carry(28, std::string("\x00\xff\x06", 3));
  get_array(&message_, 28, bytes);
  EXPECT_THAT(bytes, ::testing::ElementsAre(0, 255, 6));
}

TEST_F(GetArray, AsksOnceForTheBytesAndTheirSize) {
  EXPECT_EQ(CallsOf([this] { get_array(&message_, 99, codes_); }), Strings{"GetRaw(99, size)"});
}

TEST_F(GetArray, LogsNumberAndTypeOfElements) {
  message_.Carry(15, BytesOf(9) + BytesOf(-8));
  ExpectLogged(4, "received {u4:2} elements of type i",
               [this] { get_array(&message_, 15, codes_); });
  std::vector<unsigned char> bytes;
  message_.Carry(28, "abc");
  ExpectLogged(4, "received {u4:3} elements of type h", [&] { get_array(&message_, 28, bytes); });
}

}  // namespace
}  // namespace packetdb::test
