// A key of the configuration: what it takes, what it means, how it is read and shown. Everything
// else about keys (the pages, the example, what a reload changes) is made from these.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/config/configuration.h"
#include "host/config/document.h"
#include "host/config/effect.h"
#include "host/config/problems.h"
#include "host/config/surroundings.h"

namespace packetdb::host {

// What reading a value may look at.
struct Reading {
  Problems& problems;
  // Its names of events and flags are those of all files.
  const Configuration& names;
  const Surroundings& surroundings;
};

// Why a value is not taken. What would be taken need not be said: that is the key's.
struct Refusal {
  Place place;
  std::string written;
  std::string why;  // may be empty
};

Refusal Refuse(const Node& node, std::string why = {});

template <class Settings>
struct Key {
  std::string name;
  std::string takes;    // "a whole number from 1 to 64"
  std::string example;  // as TOML
  std::string help;
  Effect effect = Effect::kRestart;
  // What is said in place of the default where that is no value of its own.
  std::string default_note;
  bool required = false;
  // Changes the settings, unless it refuses.
  std::function<std::optional<Refusal>(const Node&, const Reading&, Settings&)> read;
  // As TOML; empty: not set. The configuration tells the names of flags.
  std::function<std::string(const Settings&, const Configuration&)> show;
};

// A key as people look at it.
struct KeyReference {
  std::string name;
  std::string takes;
  std::string default_text;  // as TOML, or a note
  bool has_default = false;  // whether it is TOML
  bool required = false;
  std::string example;
  std::string help;
  Effect effect = Effect::kRestart;
};

template <class Settings>
KeyReference ReferenceOf(const Key<Settings>& key) {
  const std::string shown = key.show(Settings(), Configuration());
  const bool has_default = !key.required && !shown.empty() && key.default_note.empty();
  std::string text = has_default ? shown : key.default_note;
  if (key.required) text = "none: it has to be given";
  return {key.name, key.takes, text, has_default, key.required, key.example, key.help, key.effect};
}

// "group = 7: WHY; give TAKES, such as EXAMPLE"
std::string RefusalText(const std::string& key, const Refusal& refusal, const std::string& takes,
                        const std::string& example);

}  // namespace packetdb::host
