// Memory that runs out where a test says, and nowhere else.
#include "tests/support/allocation.h"

#include <gtest/gtest.h>
#include <new>
#include <string>

namespace packetdb::test {
namespace {

// One letter for each of five allocations: made or failed. They are called by name, because a
// compiler may leave out a new-expression whose object nobody needs.
std::string Allocations() {
  std::string letters = ".....";
  for (char& letter : letters) {
    void* const memory = ::operator new(1, std::nothrow);
    letter = memory != nullptr ? 'm' : 'f';
    ::operator delete(memory);
  }
  return letters;
}

TEST(FailAllocation, FailsTheOneWithTheNumber) {
  const FailAllocation failing(2, false);
  EXPECT_FALSE(FailAllocation::Fired());
  EXPECT_EQ(Allocations(), "mmfmm");
  EXPECT_TRUE(FailAllocation::Fired());
}

TEST(FailAllocation, FailsEveryLaterOneAsWell) {
  const FailAllocation failing(2, true);
  EXPECT_EQ(Allocations(), "mmfff");
}

TEST(FailAllocation, ThrowsWhereAnAllocationThrows) {
  bool thrown = false;
  {
    const FailAllocation failing(0, false);
    try {
      ::operator delete(::operator new(1));
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
  }
  EXPECT_TRUE(thrown);
}

TEST(FailAllocation, TellsWhenThereWereTooFew) {
  const FailAllocation failing(5, true);
  EXPECT_EQ(Allocations(), "mmmmm");
  EXPECT_FALSE(FailAllocation::Fired());
}

TEST(FailAllocation, LeavesTheHostAlone) {
  const FailAllocation failing(0, true);
  {
    const HostMemory host;
    EXPECT_EQ(Allocations(), "mmmmm");
  }
  EXPECT_FALSE(FailAllocation::Fired());
  EXPECT_EQ(Allocations(), "fffff");
}

TEST(FailAllocation, EndsWithItsLife) {
  { const FailAllocation failing(0, true); }
  EXPECT_EQ(Allocations(), "mmmmm");
}

}  // namespace
}  // namespace packetdb::test
