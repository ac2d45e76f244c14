// A network namespace of the tests' own, with a loopback interface, in which they may set up the
// packet filter and send what they like. An ordinary user may have one where the system lets them.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <string>

namespace packetdb::host::test {

// Where this process's only namespace could not be made, the tests say so and are skipped.
class OwnNetwork : public testing::Test {
 protected:
  void SetUp() override;

  // Whether the process may do what only the administrator of the whole machine may.
  static bool MayForce();
};

// Makes this the packet filter's whole ruleset.
void SetRules(const std::string& ruleset);

// Of the counter `c` in the table `t`, which is of the family ip.
struct RuleCounter {
  std::uint64_t packets = 0;
  std::uint64_t bytes = 0;
};
RuleCounter ReadRuleCounter();

// Rules that count and log what is sent to UDP port 9, by this hook with this log statement.
std::string LogRules(const std::string& hook, const std::string& log);

void SetInterfaceUp(const std::string& interface, bool up);

// Sends so many UDP packets of 32 bytes, headers included, to port 9 of this machine or another.
void SendPackets(int count, const char* address = "127.0.0.1");

// A pair of interfaces of the names pdb0 and pdb1, which are each other's other end. What is sent
// to kBeyond goes out by pdb0.
class InterfacePair {
 public:
  static constexpr const char* kBeyond = "10.9.9.2";

  InterfacePair();
  ~InterfacePair() { Delete(); }
  InterfacePair(const InterfacePair&) = delete;
  InterfacePair& operator=(const InterfacePair&) = delete;
  void Delete();

 private:
  bool is_there_ = true;
};

}  // namespace packetdb::host::test
