// Keys that take a text or a list of texts.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/config/key.h"
#include "host/config/written.h"

namespace packetdb::host {

// What a text has to be.
struct TextRule {
  std::string takes;    // with an article
  std::string example;  // not quoted
  // Nothing for a text that may be taken, else why it may not; the reason may be empty.
  std::function<std::optional<std::string>(const std::string&, const Reading&)> refuses;
};

template <class Settings>
Key<Settings> TextKey(std::string name, std::string Settings::*member, const TextRule& rule,
                      std::string help, Effect effect) {
  return {std::move(name),
          rule.takes,
          Quoted(rule.example),
          std::move(help),
          effect,
          "",
          false,
          [member, rule](const Node& node, const Reading& reading,
                         Settings& settings) -> std::optional<Refusal> {
            const auto* const text = std::get_if<std::string>(&node.value);
            if (text == nullptr) return Refuse(node);
            if (auto why = rule.refuses(*text, reading)) return Refuse(node, std::move(*why));
            settings.*member = *text;
            return std::nullopt;
          },
          [member](const Settings& settings, const Configuration&) {
            return Quoted(settings.*member);
          }};
}

// Reads a list element by element. `add` takes one, or says why not; what is refused is then that
// element, at its place.
using AddElement = std::function<std::optional<std::string>(const Node&)>;
std::optional<Refusal> ReadList(const Node& node, const AddElement& add);

// The texts of a list; those that are there already are refused.
std::optional<Refusal> ReadTexts(const Node& node, const Reading& reading, const TextRule& rule,
                                 std::vector<std::string>& texts);

template <class Settings>
Key<Settings> TextListKey(std::string name, std::vector<std::string> Settings::*member,
                          const TextRule& rule, std::string help, Effect effect) {
  return {std::move(name),
          rule.takes,
          QuotedList({rule.example}),
          std::move(help),
          effect,
          "",
          false,
          [member, rule](const Node& node, const Reading& reading, Settings& settings) {
            return ReadTexts(node, reading, rule, settings.*member);
          },
          [member](const Settings& settings, const Configuration&) {
            return QuotedList(settings.*member);
          }};
}

}  // namespace packetdb::host
