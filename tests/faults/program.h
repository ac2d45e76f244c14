// What the fault programs have in common: the options that each understands, and how one ends.
//
//   int main(int argc, char** argv) {
//     return packetdb::faults::Run(argc, argv, "what it does", [](CLI::App& app) {
//       auto cycles = std::make_shared<int>(500);
//       app.add_option("--cycles", *cycles, "how often to kill")->capture_default_str();
//       return [cycles](const packetdb::faults::Common& common) { ... return violations; };
//     });
//   }
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

namespace packetdb::faults {

// Options that every program has.
struct Common {
  std::string directory;   // --dir: an empty folder of its own within this one, removed at the end
  std::uint64_t seed = 0;  // --seed, or PACKETDB_SEED, or drawn; printed at the start
  bool expect_failure = false;  // --expect-fail: a control, which must find violations
};

// Thrown by a program that cannot run here; the text names the tool or kernel feature that is
// missing.
class CannotRun : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What the program found: how many promises were broken, and a line of figures for the reader.
struct Outcome {
  std::uint64_t violations = 0;
  std::string figures;
};

using Body = std::function<Outcome(const Common&)>;

// Parses the options, runs the body and prints its figures. Returns the exit status: 0 when
// nothing was violated, or when something was and that is expected; 1 otherwise, also after any
// other exception; 77 when it cannot run here; 2 for wrong options.
int Run(int argc, char** argv, const std::string& description,
        const std::function<Body(CLI::App&)>& add_options);

}  // namespace packetdb::faults
