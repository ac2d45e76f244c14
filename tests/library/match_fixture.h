// A query and a record that match, to be changed until they do not.
#pragma once

#include "tests/support/fixture.h"

namespace packetdb::test {

class MatchTest : public LibraryTest {
 protected:
  MatchTest() {
    query_.m_Protocols.push_back(0);
    event_ = EventAt(100).Src(0x0a000001, 1024, 7).Dst(0x0a000002, 80, 8).Protocol(6).Code(5);
  }

  bool Matches() const { return query_.match(Record(event_, hash_)); }
  // The traces of one match, in order.
  Strings Traces() const {
    return LinesOf(5, [this] { Matches(); });
  }
  // The trace that goes before every later test.
  static Strings AfterFlagsPass(const Strings& more) {
    Strings all{"Flags pass: flags: {x4:0} Packet: {x4:0} Wanted {x4:0} NotWanted {x4:0}"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  Query query_ = QueryFor();
  Event event_;
  std::uint64_t hash_ = 0;
};

}  // namespace packetdb::test
