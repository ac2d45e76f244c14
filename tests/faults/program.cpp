#include "tests/faults/program.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <random>

namespace packetdb::faults {
namespace {

constexpr int kPassed = 0;
constexpr int kFailed = 1;
constexpr int kWrongOptions = 2;
constexpr int kSkipped = 77;

std::uint64_t DrawSeed() {
  std::random_device device;
  return device();
}

// A folder that is gone with its owner.
class Folder {
 public:
  explicit Folder(const std::string& parent) : path_(parent + "/packetdb-fault-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) throw CannotRun("no folder can be made in " + parent);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

int Judge(const Outcome& outcome, bool expect_failure) {
  fmt::print("{}\n", outcome.figures);
  fmt::print("{} violation(s){}\n", outcome.violations,
             expect_failure ? ", of which a control must have some" : "");
  return (outcome.violations != 0) == expect_failure ? kPassed : kFailed;
}

int RunBody(const Body& body, Common common) {
  try {
    const Folder folder(common.directory);
    common.directory = folder.path();
    fmt::print("seed {}\n", common.seed);
    return Judge(body(common), common.expect_failure);
  } catch (const CannotRun& reason) {
    fmt::print("skipped: {}\n", reason.what());
    return kSkipped;
  } catch (const std::exception& error) {
    fmt::print(stderr, "failed: {}\n", error.what());
    return kFailed;
  }
}

}  // namespace

int Run(int argc, char** argv, const std::string& description,
        const std::function<Body(CLI::App&)>& add_options) {
  CLI::App app(description);
  Common common;
  common.directory = std::filesystem::temp_directory_path();
  common.seed = DrawSeed();
  app.add_option("--dir", common.directory, "where to make a folder to work in")
      ->capture_default_str();
  app.add_option("--seed", common.seed, "repeats a run")->envname("PACKETDB_SEED");
  app.add_flag("--expect-fail", common.expect_failure, "succeed only if something is violated");
  const Body body = add_options(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error);
    return status == 0 ? kPassed : kWrongOptions;
  }
  return RunBody(body, common);
}

}  // namespace packetdb::faults
