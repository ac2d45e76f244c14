#include "host/expression/grammar.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

#include "host/config/protocols.h"

namespace packetdb::host::expression {
namespace {

constexpr std::string_view kAddresses = "ADDRESS, NETWORK or FIRST-LAST";

constexpr Word kWords[] = {
    {"host", Role::kCondition, Field::kAddress, false, kAddresses, "source or destination address",
     "host 10.0.0.7"},
    {"net", Role::kCondition, Field::kAddress, false, "NETWORK, or ADDRESS mask MASK",
     "source or destination in a network", "net 10.0.0.0/8"},
    {"ip", Role::kAlone, Field::kAddress, false, "",
     "every record; goes before host, net, proto, src and dst as well", "ip host 10.0.0.7"},
    {"port", Role::kCondition, Field::kPort, true, "PORT or FIRST-LAST",
     "source or destination port of TCP, UDP or SCTP", "port 53"},
    {"portrange", Role::kCondition, Field::kPort, false, "FIRST-LAST",
     "source or destination port in a range", "portrange 8000-8100"},
    {"proto", Role::kCondition, Field::kProtocol, true, "NAME or NUMBER",
     "IP protocol; names are conditions by themselves: tcp, udp, icmp", "proto 47"},
    {"icmptype", Role::kCondition, Field::kIcmpType, true, "NUMBER or FIRST-LAST", "type of ICMP",
     "icmptype 3"},
    {"icmpcode", Role::kCondition, Field::kIcmpCode, true, "NUMBER or FIRST-LAST", "code of ICMP",
     "icmptype 3 and icmpcode 1"},
    {"event", Role::kCondition, Field::kEvent, true, "CODE, NAME or FIRST-LAST", "event code",
     "event dropped"},
    {"group", Role::kCondition, Field::kGroup, false, "NUMBER",
     "a group of event codes, as queries number them; -1 is every code", "group -3"},
    {"flag", Role::kCondition, Field::kFlag, false, "NAME or BITS", "flags, all of which are set",
     "flag dropped"},
    {"dir", Role::kCondition, Field::kDirection, false, "in, out or forward",
     "where the packet went; what is forwarded is neither in nor out", "dir forward"},
    {"inbound", Role::kAlone, Field::kFlag, false, "", "the packet came in; the same as flag in",
     "inbound"},
    {"outbound", Role::kAlone, Field::kFlag, false, "", "the packet goes out; the same as flag out",
     "outbound"},
    {"rule", Role::kCondition, Field::kRule, false, "PREFIX or NUMBER",
     "what logged it; * and ? in a prefix stand for other bytes", "rule 'pdb:input:*'"},
    {"node", Role::kCondition, Field::kNode, false, "NUMBER or NAME",
     "source or destination network node; 0 for none", "src node 7"},
    {"iface", Role::kCondition, Field::kInterface, false, "NAME",
     "interface; * and ? stand for other bytes", "iface eth*"},
    {"count", Role::kCondition, Field::kCount, true, "NUMBER",
     "packets of the record; k, M and G count by 1024", "count > 100"},
    {"packets", Role::kCondition, Field::kCount, true, "NUMBER", "the same as count",
     "packets >= 10k"},
    {"bytes", Role::kCondition, Field::kBytes, true, "NUMBER",
     "bytes of the record; k, M and G count by 1024", "bytes >= 1M"},
    {"src", Role::kQualifier, Field::kAddress, false, "",
     "the source only; before host, net, port, portrange and node", "src port 53"},
    {"dst", Role::kQualifier, Field::kAddress, false, "",
     "the destination only; both ends: src and dst", "src and dst net 10.0.0.0/8"},
    {"mask", Role::kJoin, Field::kAddress, false, "MASK", "behind a network",
     "net 10.0.0.0 mask 255.0.0.0"},
    {"in", Role::kJoin, Field::kAddress, false, "[VALUE ...]", "one of several values",
     "port in [22 80 8000-8100]"},
    {"not", Role::kJoin, Field::kAddress, false, "", "binds tightest; also !", "not port 22"},
    {"and", Role::kJoin, Field::kAddress, false, "", "binds tighter than or; also &&",
     "tcp and port 22"},
    {"or", Role::kJoin, Field::kAddress, false, "", "also ||", "port 22 or 23"},
};

struct ForeignWord {
  std::string_view word;
  std::string_view why;
};

// Of pcap-filter(7), about what records do not keep.
constexpr ForeignWord kForeignWords[] = {
    {"ip6", "records hold IPv4 only"},
    {"icmp6", "records hold IPv4 only"},
    {"arp", "records hold IPv4 only"},
    {"rarp", "records hold IPv4 only"},
    {"ether", "records hold nothing of the link layer"},
    {"vlan", "records hold nothing of the link layer"},
    {"mpls", "records hold nothing of the link layer"},
    {"gateway", "records hold nothing of the link layer"},
    {"broadcast", "records hold nothing of the link layer"},
    {"multicast", "ask for 'net 224.0.0.0/4'"},
    {"len", "records hold the sum of their packets' lengths, ask for 'bytes'"},
    {"less", "records hold the sum of their packets' lengths, ask for 'bytes'"},
    {"greater", "records hold the sum of their packets' lengths, ask for 'bytes'"},
};

// A bar ends a cell.
std::string Cell(std::string_view text) {
  std::string cell;
  for (const char c : text) cell += c == '|' ? "\\|" : std::string(1, c);
  return cell;
}

}  // namespace

std::span<const Word> Words() { return kWords; }

const Word* FindWord(std::string_view word) {
  const auto* const found = std::find_if(std::begin(kWords), std::end(kWords),
                                         [word](const Word& each) { return each.word == word; });
  return found == std::end(kWords) ? nullptr : found;
}

const Word& WordOf(Field field) {
  return *std::find_if(std::begin(kWords), std::end(kWords), [field](const Word& each) {
    return each.role == Role::kCondition && each.field == field;
  });
}

std::optional<std::uint8_t> BareProtocol(std::string_view word) { return ProtocolByName(word); }

std::vector<std::string> AllWords() {
  std::vector<std::string> all;
  for (const Word& each : kWords) all.emplace_back(each.word);
  for (int number = 0; number <= 0xFF; ++number) {
    std::string name = ShowProtocol(static_cast<std::uint8_t>(number));
    if (BareProtocol(name)) all.push_back(std::move(name));
  }
  return all;
}

std::string_view WhyNoWord(std::string_view word) {
  for (const ForeignWord& each : kForeignWords) {
    if (each.word == word) return each.why;
  }
  return {};
}

std::string WordTable() {
  std::string table = "| Word | Takes | Means | Example |\n|---|---|---|---|\n";
  for (const Word& each : kWords) {
    fmt::format_to(std::back_inserter(table), "| `{}` | {} | {} | `{}` |\n", each.word, each.takes,
                   Cell(each.help), each.example);
  }
  return table;
}

}  // namespace packetdb::host::expression
