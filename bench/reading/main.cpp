// How long it takes to read a large journal: the newest rows and all of them, from its file and
// through a daemon.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/bus/client.h"
#include "host/journals/group_writer.h"
#include "host/journals/names.h"
#include "host/reading/daemon_source.h"
#include "host/reading/file_source.h"
#include "host/reading/windows.h"

namespace packetdb::host {

namespace {

struct ReadingOptions {
  std::string directory;
  std::string socket;
  int records = 10'000'000;
  int repeats = 5;
};

constexpr char kGroup[] = "bench";

// Some hundred records a second, up to an hour ago.
void MakeJournal(const ReadingOptions& options) {
  constexpr int kRecordsPerSecond = 300;
  GroupWriter writer({.directory = options.directory,
                      .group = kGroup,
                      .capacity = options.records,
                      .window_seconds = kDefaultWindowSeconds});
  const std::int64_t newest = std::time(nullptr) - 3600 - TIME_1980_OFFSET;
  const std::int64_t oldest = newest - options.records / kRecordsPerSecond;
  CDrvErrorItemV4 event{};
  event.m_Count = 1;
  for (int i = writer.RecordCount(); i < options.records; ++i) {
    event.m_FirstTime = static_cast<std::uint32_t>(oldest + i / kRecordsPerSecond);
    event.m_LastTime = event.m_FirstTime;
    event.m_SrcIp = static_cast<std::uint32_t>(i);
    event.m_SrcPort = static_cast<std::uint16_t>(i % 1000);
    writer.Add(event, i % 2 == 0 ? "lan0" : "wan0");
  }
}

// Milliseconds of the median of several runs, each of which returns how many rows it read.
void Report(const ReadingOptions& options, const std::string& what,
            const std::function<std::uint64_t()>& run) {
  using Clock = std::chrono::steady_clock;
  std::vector<double> milliseconds;
  std::uint64_t rows = 0;
  for (int i = 0; i < options.repeats; ++i) {
    const auto start = Clock::now();
    rows = run();
    milliseconds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  fmt::print("{:<44} {:>9} rows {:>10.2f} ms, {:.2f} to {:.2f}\n", what, rows,
             milliseconds[milliseconds.size() / 2], milliseconds.front(), milliseconds.back());
}

Query Everything() {
  Query query;
  query.m_TimeEnd = 0x7FFFFFFF;
  return query;
}

std::uint64_t Newest(RowSource& source, std::size_t most, const RowTest& wanted) {
  const std::atomic<bool> cancelled = false;
  std::uint64_t rows = 0;
  WindowReader(source, cancelled).ReadNewest(most, Everything(), wanted, [&rows](const Row&) {
    return ++rows != 0;
  });
  return rows;
}

std::uint64_t All(RowSource& source, ReadOrder order, const Query& query) {
  const std::atomic<bool> cancelled = false;
  std::uint64_t rows = 0;
  WindowReader(source, cancelled).ReadAll(order, query, {}, [&rows](const Row&) {
    return ++rows != 0;
  });
  return rows;
}

using MakeSource = std::function<std::unique_ptr<RowSource>()>;

// Each run makes its source anew, as a command does.
void Measure(const ReadingOptions& options, const std::string& from, const MakeSource& make) {
  const RowTest rare = [](const Row& row) { return row.event.m_SrcPort == 77; };
  Query one_port = Everything();
  one_port.m_PortSrcFrom = 77;
  Report(options, "newest 20, " + from, [&] { return Newest(*make(), 20, {}); });
  Report(options, "newest 20 of one in 1000, " + from, [&] { return Newest(*make(), 20, rare); });
  Report(options, "all of one port in 1000, " + from,
         [&] { return All(*make(), ReadOrder::kNewestFirst, one_port); });
  Report(options, "all, newest first, " + from,
         [&] { return All(*make(), ReadOrder::kNewestFirst, Everything()); });
  Report(options, "all, oldest first, " + from,
         [&] { return All(*make(), ReadOrder::kOldestFirst, Everything()); });
}

void Run(const ReadingOptions& options) {
  MakeJournal(options);
  Measure(options, "file", [&options] {
    return std::make_unique<FileSource>(JournalPath(options.directory, kGroup));
  });
  if (!options.socket.empty()) {
    Measure(options, "daemon", [&options] {
      return std::make_unique<DaemonSource>(
          [&options](BusFailure* failure) { return ConnectTo(options.socket, {}, failure); },
          kGroup);
    });
  }
}

}  // namespace

}  // namespace packetdb::host

int main(int argc, char** argv) {
  packetdb::host::ReadingOptions options;
  CLI::App app("How long it takes to read a large journal");
  app.add_option("directory", options.directory, "Where the journal is, or is made")->required();
  app.add_option("--socket", options.socket, "Of a packetdbd that serves the directory");
  app.add_option("--records", options.records, "In the journal");
  app.add_option("--repeats", options.repeats, "Of each measurement");
  CLI11_PARSE(app, argc, argv);
  try {
    packetdb::host::Run(options);
    return 0;
  } catch (const std::exception& error) {
    fmt::print(stderr, "reading_bench: {}\n", error.what());
    return 1;
  }
}
