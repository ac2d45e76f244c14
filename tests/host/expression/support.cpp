#include "tests/host/expression/support.h"

#include <utility>
#include <vector>

#include "host/config/networks.h"
#include "host/expression/event_groups.h"
#include "host/expression/predicate.h"
#include "host/sources/event.h"

namespace packetdb::host::expression::test {
namespace {

Names MadeNames() {
  Names names;
  NameTable flags = names.flags();
  flags["watched"] = 0x02000000;
  names.SetFlags(flags);
  names.SetNodes({{"office", 3}, {"guest lan", 4}, {"7", 9}, {"src", 5}, {"b\xC3\xBCro", 6}});
  names.SetRules(
      RuleDictionary::Parse("packetdb-rules 1\n"
                            "rule 2 1763719260 3 none 0x0 \"fw \\x22web\\x22: \" \"\" 1c151e64\n"
                            "rule 1 1763719200 1 drop 0x0 \"pdb:input:12:drop\" \"\" 7bf626fa\n",
                            "the test"));
  return names;
}

unsigned int Below(Random& random, unsigned int end) {
  return static_cast<unsigned int>(random() % end);
}

template <class T>
T OneOf(Random& random, const std::vector<T>& values) {
  return values[static_cast<std::size_t>(random() % values.size())];
}

const std::vector<std::uint32_t> kAddresses = {0,          0x0A000001, 0x0A000002,
                                               0x0A000003, 0x0A000004, 0xFFFFFFFF};
const std::vector<std::uint32_t> kPorts = {0, 1, 22, 53, 54, 65535};
const std::vector<std::uint32_t> kProtocols = {0, 1, 6, 17, 33, 47, 132, 136, 255};
const std::vector<std::uint32_t> kNodes = {0, 3, 4, 9};
const std::vector<std::uint32_t> kCodes = {0, 1, 2, 20, 40, 60, 114, 2000, 0x80000001, 0xFFFFFFFF};
const std::vector<std::uint32_t> kFlags = {0x1,      0x2,       0x3,        0x10,  0x20,
                                           0x100,    0x800000,  0x1000000,  0x200, 0x2000000,
                                           0x800001, 0x1800000, 0x80000000, 0x30};
const std::vector<std::uint32_t> kRules = {0, 1, 2, 3, 16383};
const std::vector<std::uint32_t> kSums = {0, 1, 100, 1024, 0xFFFFFFFF};
const std::vector<std::uint32_t> kBytes = {0, 3, 8, 255};
const std::vector<const char*> kPlainInterfaces = {"eth0", "eth1", "wan", "lan tap"};
const std::vector<std::string> kPatterns = {"eth0", "eth*", "wa?", "*", "lan tap"};

const std::vector<std::uint32_t>& ValuesOf(Field field) {
  switch (field) {
    case Field::kAddress:
      return kAddresses;
    case Field::kPort:
      return kPorts;
    case Field::kProtocol:
      return kProtocols;
    case Field::kNode:
      return kNodes;
    case Field::kEvent:
      return kCodes;
    case Field::kFlag:
      return kFlags;
    case Field::kRule:
      return kRules;
    case Field::kCount:
    case Field::kBytes:
      return kSums;
    default:
      return kBytes;
  }
}

// The interval of a field that takes more than one number, and can be written.
Interval RandomInterval(Random& random, Field field) {
  const bool one_number = field == Field::kNode || field == Field::kFlag || field == Field::kRule;
  std::uint32_t from = OneOf(random, ValuesOf(field));
  std::uint32_t to = OneOf(random, ValuesOf(field));
  if (one_number || Below(random, 2) == 0) return {from, from};
  if (field == Field::kCount || field == Field::kBytes) {
    return Below(random, 2) == 0 ? Interval{from, 0xFFFFFFFF} : Interval{0, from};
  }
  if (from > to) std::swap(from, to);
  return {from, to};
}

Value RandomValue(Random& random, Field field) {
  if (field == Field::kInterface) return {{}, OneOf(random, kPatterns)};
  if (field == Field::kDirection) {
    const std::uint32_t direction = 1 + Below(random, 3);
    return {{{direction, direction}}, ""};
  }
  if (field == Field::kGroup) {
    const int group = OneOf(random, std::vector<int>{-1, -2, -3, -6, -14, -15});
    return {CodesOfGroup(group).intervals(), std::to_string(group)};
  }
  return {{RandomInterval(random, field)}, ""};
}

Node RandomTerm(Random& random) {
  constexpr unsigned int kFields = static_cast<unsigned int>(Field::kIcmpCode) + 1;
  // The ends of packets more often than others: they are what is intricate.
  const auto field = Below(random, 3) == 0 ? static_cast<Field>(Below(random, 4) / 3 * 3)
                                           : static_cast<Field>(Below(random, kFields));
  Term term{field, Side::kEither, 0, {}};
  if (HasSides(field)) term.side = static_cast<Side>(Below(random, 4));
  if (field == Field::kPort && Below(random, 4) == 0)
    term.transport = Below(random, 2) == 0 ? 6 : 17;
  // Of sums, a list has single numbers only.
  const bool is_sum = field == Field::kCount || field == Field::kBytes;
  const unsigned int count = is_sum || Below(random, 3) != 0 ? 1 : 2;
  for (unsigned int i = 0; i < count; ++i) term.values.push_back(RandomValue(random, field));
  return MakeTerm(std::move(term));
}

}  // namespace

const Names& TestNames() {
  static const Names names = MadeNames();
  return names;
}

RowMaker& RowMaker::From(const char* address, std::uint16_t port) {
  row_.event.m_SrcIp = ParseIpv4(address).value();
  row_.event.m_SrcPort = port;
  return *this;
}

RowMaker& RowMaker::To(const char* address, std::uint16_t port) {
  row_.event.m_DstIp = ParseIpv4(address).value();
  row_.event.m_DstPort = port;
  return *this;
}

RowMaker& RowMaker::Protocol(std::uint8_t number) {
  row_.event.m_Protocol = number;
  return *this;
}

RowMaker& RowMaker::Flags(std::uint32_t flags) {
  row_.event.m_Flags = flags;
  return *this;
}

RowMaker& RowMaker::Code(std::uint32_t code) {
  row_.event.m_ErrorCode = code;
  return *this;
}

RowMaker& RowMaker::Nodes(std::uint32_t source, std::uint32_t destination) {
  row_.event.m_SrcId = source;
  row_.event.m_DstId = destination;
  return *this;
}

RowMaker& RowMaker::Icmp(std::uint8_t type, std::uint8_t code) {
  row_.event.m_Protocol = 1;
  row_.event.m_Word10 = static_cast<std::uint16_t>(type << 8U | code);
  return *this;
}

RowMaker& RowMaker::Sums(std::uint32_t count, std::uint32_t bytes) {
  row_.event.m_Count = count;
  row_.event.m_PacketSize = bytes;
  return *this;
}

RowMaker& RowMaker::On(const char* interface) {
  row_.interface = interface;
  return *this;
}

RowMaker Ssh() { return RowMaker().From("10.0.0.1", 40000).To("10.0.0.2", 22).Protocol(6); }

bool Matches(const Node& node, const Row& row) { return Predicate(node).Matches(row); }

bool Matches(const std::string& expression, const RowMaker& maker) {
  return Matches(Parse(expression, TestNames()), maker.row());
}

Node RandomTree(Random& random, int depth) {
  const unsigned int kind = depth == 0 ? 0 : Below(random, 6);
  if (kind <= 1) return RandomTerm(random);
  if (kind == 2) return Not(RandomTree(random, depth - 1));
  std::vector<Node> children;
  const unsigned int count = Below(random, 8) == 0 ? 0 : 2 + Below(random, 2);
  for (unsigned int i = 0; i < count; ++i) children.push_back(RandomTree(random, depth - 1));
  if (kind == 3 && count != 0) return Or(std::move(children));
  return And(std::move(children));
}

Row RandomRow(Random& random) {
  Row row;
  row.event.m_SrcIp = OneOf(random, kAddresses);
  row.event.m_DstIp = OneOf(random, kAddresses);
  row.event.m_SrcPort = static_cast<std::uint16_t>(OneOf(random, kPorts));
  row.event.m_DstPort = static_cast<std::uint16_t>(OneOf(random, kPorts));
  row.event.m_Protocol = static_cast<std::uint8_t>(OneOf(random, kProtocols));
  row.event.m_SrcId = OneOf(random, kNodes);
  row.event.m_DstId = OneOf(random, kNodes);
  row.event.m_ErrorCode = OneOf(random, kCodes);
  row.event.m_Flags = OneOf(random, kRules) << kRuleShift;
  for (unsigned int bits = Below(random, 4); bits != 0; --bits) {
    row.event.m_Flags |= OneOf(random, kFlags);
  }
  row.event.m_Word10 =
      static_cast<std::uint16_t>(OneOf(random, kBytes) << 8U | OneOf(random, kBytes));
  row.event.m_Count = OneOf(random, kSums);
  row.event.m_PacketSize = OneOf(random, kSums);
  row.interface = OneOf(random, kPlainInterfaces);
  return row;
}

}  // namespace packetdb::host::expression::test
