// A table of named columns with typed cells, whatever it is a table of.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace packetdb::host {

enum class Colour { kNone, kRed, kYellow, kGreen };

enum class CellKind {
  kNull,      // nothing to say
  kText,      // any bytes
  kNumber,    //
  kTime,      // Unix seconds
  kDuration,  // seconds
  kAddress,   // IPv4, host byte order
  kNamed,     // a number and what it is called, if it has a name
  kList,      // words, and the number that they say
  kShare,     // of a whole, in ten thousandths
};

struct Cell {
  CellKind kind = CellKind::kNull;
  Colour colour = Colour::kNone;   // where there are colours
  std::uint64_t number = 0;        // of all kinds but text
  std::string text;                // of a text; the name of kNamed, empty for none
  std::vector<std::string> words;  // of a list

  static Cell Text(std::string text, Colour colour = Colour::kNone) {
    return {CellKind::kText, colour, 0, std::move(text), {}};
  }
  static Cell Number(std::uint64_t number) { return Of(CellKind::kNumber, number); }
  static Cell Time(std::uint64_t unix_seconds) { return Of(CellKind::kTime, unix_seconds); }
  static Cell Duration(std::uint64_t seconds) { return Of(CellKind::kDuration, seconds); }
  static Cell Address(std::uint32_t address) { return Of(CellKind::kAddress, address); }
  static Cell Named(std::uint64_t number, std::string name) {
    return {CellKind::kNamed, Colour::kNone, number, std::move(name), {}};
  }
  static Cell Share(std::uint64_t ten_thousandths) { return Of(CellKind::kShare, ten_thousandths); }
  static Cell List(std::uint64_t number, std::vector<std::string> words) {
    return {CellKind::kList, Colour::kNone, number, {}, std::move(words)};
  }

 private:
  static Cell Of(CellKind kind, std::uint64_t number) {
    return {kind, Colour::kNone, number, {}, {}};
  }
};

struct PrintColumn {
  std::string name;         // in templates and in the heads of csv and tsv
  std::string head;         // above a table
  bool is_right = false;    // aligned to the right
  bool may_be_cut = false;  // where a terminal is too narrow
  std::string text_key;     // of JSON's member for what a cell is in words; empty for none
  std::string number_key;   // and for its number
};

}  // namespace packetdb::host
