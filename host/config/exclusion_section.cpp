// What is kept out of the journals: [[exclusion]].
#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <variant>

#include "host/config/key_kinds.h"
#include "host/config/list_section.h"
#include "host/config/name_rules.h"
#include "host/config/networks.h"
#include "host/config/protocols.h"
#include "host/config/sections.h"
#include "host/config/text_rules.h"

namespace packetdb::host {
namespace {

using Exclusion = ExclusionSettings;
using Why = std::optional<std::string>;

constexpr std::size_t kLongestPrefix = 127;
constexpr std::size_t kMostConditions = 1024;  // of a kind: each event is held against them
constexpr NumberRange kPorts{1, 65535};
constexpr NumberRange kProtocols{0, 255};

Why AddAddresses(const Node& element, std::vector<Exclusion::Addresses>& all) {
  const auto* const text = std::get_if<std::string>(&element.value);
  if (text == nullptr) return "";
  AddressesOrWhy read = ParseAddressRange(*text);
  if (!read.addresses) return std::move(read.why);
  all.push_back(*read.addresses);
  return std::nullopt;
}

std::optional<std::uint16_t> ParsePort(std::string_view text) {
  std::uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc() || stop != end || port == 0) return std::nullopt;
  return port;
}

Why AddPortRange(const std::string& text, std::vector<Exclusion::Ports>& all) {
  const std::size_t dash = text.find('-');
  if (dash == std::string::npos) return "a single port is a number";
  const auto first = ParsePort(std::string_view(text).substr(0, dash));
  const auto last = ParsePort(std::string_view(text).substr(dash + 1));
  if (!first || !last) return "";
  if (*first > *last) return "its first port is above its last";
  all.push_back({*first, *last});
  return std::nullopt;
}

Why AddPorts(const Node& element, std::vector<Exclusion::Ports>& all) {
  if (const auto* const text = std::get_if<std::string>(&element.value)) {
    return AddPortRange(*text, all);
  }
  NumberOrWhy read = ReadNumber(element, kPorts);
  if (!read.number) return std::move(read.why);
  const auto port = static_cast<std::uint16_t>(*read.number);
  all.push_back({port, port});
  return std::nullopt;
}

Why AddProtocol(const Node& element, std::vector<std::uint8_t>& all) {
  std::optional<std::uint8_t> number;
  std::string why;
  if (const auto* const name = std::get_if<std::string>(&element.value)) {
    number = ProtocolByName(*name);
    if (!number) why = fmt::format("the names are {}", ProtocolNames());
  } else {
    NumberOrWhy read = ReadNumber(element, kProtocols);
    if (read.number) number = static_cast<std::uint8_t>(*read.number);
    why = std::move(read.why);
  }
  if (!number) return why;
  if (std::find(all.begin(), all.end(), *number) != all.end()) return "it is there twice";
  all.push_back(*number);
  return std::nullopt;
}

std::string ShowPorts(const Exclusion::Ports& ports) {
  return ports.first == ports.last ? std::to_string(ports.first)
                                   : fmt::format("\"{}-{}\"", ports.first, ports.last);
}

// A key that takes a list, whose elements `add` reads and `show` shows as TOML.
template <class Element>
Key<Exclusion> ListKey(std::string name, std::vector<Element> Exclusion::*member, std::string takes,
                       std::string example, std::string help,
                       Why (*add)(const Node&, std::vector<Element>&),
                       std::string (*show)(const Element&)) {
  return {std::move(name),
          std::move(takes),
          std::move(example),
          std::move(help),
          Effect::kIntake,
          "",
          false,
          [member, add](const Node& node, const Reading&,
                        Exclusion& exclusion) -> std::optional<Refusal> {
            std::vector<Element> read;
            auto refusal = ReadList(node, [&](const Node& element) -> Why {
              if (read.size() == kMostConditions) return "these are too many";
              return add(element, read);
            });
            if (!refusal) exclusion.*member = std::move(read);
            return refusal;
          },
          [member, show](const Exclusion& exclusion, const Configuration&) {
            std::vector<std::string> shown;
            shown.reserve((exclusion.*member).size());
            for (const Element& element : exclusion.*member) shown.push_back(show(element));
            return fmt::format("[{}]", fmt::join(shown, ", "));
          }};
}

std::vector<Key<Exclusion>> Conditions() {
  std::vector<Key<Exclusion>> keys;
  keys.push_back(TextKey("prefix", &Exclusion::prefix, PlainText(0, kLongestPrefix, "noise*"),
                         "The log prefix has to be this one. * stands for any text, ? for any "
                         "character. Any prefix where it is empty.",
                         Effect::kIntake));
  keys.push_back(ListKey<Exclusion::Addresses>(
      "addresses", &Exclusion::addresses,
      "a list of addresses, networks and ranges of addresses, IPv4",
      "[\"10.0.0.7\", \"10.1.0.0/16\", \"10.2.0.1-10.2.0.9\"]",
      "The packet has to come from one of these or go to one of these.", AddAddresses,
      [](const Exclusion::Addresses& each) { return Quoted(ShowAddressRange(each)); }));
  keys.push_back(ListKey<Exclusion::Ports>(
      "ports", &Exclusion::ports, "a list of ports from 1 to 65535 and ranges of them",
      "[53, \"8000-8100\"]", "The packet has to come from one of these or go to one of these.",
      AddPorts, ShowPorts));
  keys.push_back(ListKey<std::uint8_t>("protocols", &Exclusion::protocols,
                                       "a list of names and numbers of IP protocols",
                                       "[\"udp\", 132]", "The packet has to be of one of these.",
                                       AddProtocol, [](const std::uint8_t& each) {
                                         const std::string shown = ShowProtocol(each);
                                         return ProtocolByName(shown) ? Quoted(shown) : shown;
                                       }));
  return keys;
}

std::string RequireCondition(Exclusion& exclusion) {
  const bool has_condition = !exclusion.prefix.empty() || !exclusion.addresses.empty() ||
                             !exclusion.ports.empty() || !exclusion.protocols.empty();
  return has_condition ? ""
                       : "it would exclude everything; give a prefix, addresses, ports or "
                         "protocols";
}

}  // namespace

std::unique_ptr<Section> MakeExclusionSection() {
  std::vector<Key<Exclusion>> keys;
  keys.push_back(TextKey("name", &Exclusion::name, JournalName(),
                         "Its name in `packetdb status` and in the metrics.", Effect::kIntake));
  keys.back().required = true;
  keys.push_back(ChoiceKey<Exclusion, Exclusion::Action>(
      "action", &Exclusion::action,
      {{"count", Exclusion::Action::kCount}, {"drop", Exclusion::Action::kDrop}},
      "Whether packets and bytes are counted under this name, or only among all that their source "
      "excluded.",
      Effect::kIntake));
  for (Key<Exclusion>& key : Conditions()) keys.push_back(std::move(key));
  return std::make_unique<ListSection<Exclusion>>(
      "exclusion",
      "Events that are kept out of the journals. Every condition that is given has to hold; the "
      "first exclusion whose conditions hold counts.",
      ListTraits<Exclusion>{&Configuration::exclusions, kMostExclusions, "name", Effect::kIntake,
                            RequireCondition},
      std::move(keys));
}

}  // namespace packetdb::host
