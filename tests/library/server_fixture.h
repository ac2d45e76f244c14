// A journal server over a journal in memory, and messages to ask it.
#pragma once

#include <boost/make_shared.hpp>

#include "packetdb/journal_server.h"
#include "tests/support/fixture.h"

namespace packetdb::test {

class ServerTest : public LibraryTest {
 protected:
  ServerTest() {
    db_->Register("eth0", false, journal_.shared());
    Ask("eth0");
  }

  // Makes `message_` a query for all times.
  void Ask(const std::string& interface, std::uint8_t version = 1) {
    message_ = ScriptedMessage();
    message_.CarryName(interface);
    message_.CarryByte(31, version);
    message_.CarryInt(3, 0x7fffffff);
  }
  // The calls that answer: what goes back over the bus.
  Strings Answers() const { return Calls().Of("udbSendCommandAnswer"); }
  int Call() {
    Calls().Forget();
    return server_.call(&message_);
  }

  // Runs Serve and returns what it threw, "none" or "text" with " fatal".
  std::string Thrown() {
    try {
      server_.Serve(&message_);
      return "none";
    } catch (const XPacketDb& failure) {
      return std::string(failure.what()) + (failure.m_Fatal ? " fatal" : "");
    }
  }

  Journal journal_;
  CPacketDbPtr db_ = boost::make_shared<CPacketDb>();
  UdbJournalServer server_{db_};
  ScriptedMessage message_;
};

}  // namespace packetdb::test
