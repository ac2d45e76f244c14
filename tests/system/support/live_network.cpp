#include "tests/system/support/live_network.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <unistd.h>

#include "tests/system/support/eventually.h"

namespace packetdb::host::test {

namespace {

bool IsRoot() { return geteuid() == 0; }

Sums CountersIn(const nlohmann::json& rule) {
  Sums sums;
  for (const nlohmann::json& statement : rule.at("expr")) {
    if (statement.contains("counter")) {
      sums.packets += statement["counter"].at("packets").get<std::uint64_t>();
      sums.bytes += statement["counter"].at("bytes").get<std::uint64_t>();
    }
  }
  return sums;
}

}  // namespace

LiveNetwork::LiveNetwork() {
  const std::string script = "ip link set lo up && echo ready && exec sleep infinity";
  Program::Arguments arguments = {"/usr/bin/unshare", "-n"};
  if (!IsRoot()) {
    arguments.emplace_back("-Ur");
  }
  arguments.insert(arguments.end(), {"/bin/sh", "-c", script});
  holder_ = std::make_unique<Program>(arguments);
  const bool settled =
      Eventually([this] { return holder_->Out() == "ready\n" || holder_->HasEnded(); });
  if (!settled || holder_->HasEnded()) {
    throw std::runtime_error("cannot make a network: " + holder_->Err());
  }
}

Program::Arguments LiveNetwork::Inside(const Program::Arguments& program) const {
  Program::Arguments arguments = {"/usr/bin/nsenter", "--target", std::to_string(holder_->pid()),
                                  "--net"};
  if (!IsRoot()) {
    arguments.insert(arguments.end(), {"--user", "--preserve-credentials"});
  }
  arguments.emplace_back("--");
  arguments.insert(arguments.end(), program.begin(), program.end());
  return arguments;
}

std::string LiveNetwork::Run(const Program::Arguments& program) const {
  const Outcome outcome = Program(Inside(program)).Wait();
  if (outcome.status != 0) {
    throw std::runtime_error(program.front() + ": " + outcome.err);
  }
  return outcome.out;
}

void LiveNetwork::Filter(const std::string& ruleset) const {
  Run({"/usr/sbin/nft", "-f", place_.File("ruleset", ruleset)});
}

void LiveNetwork::LogUdp(int group, int port, const std::string& prefix) const {
  Filter(
      fmt::format("table ip t{0} {{\n"
                  " chain c {{ type filter hook input priority 0;\n"
                  "  udp dport {1} log prefix \"{2}\" group {0} snaplen 64 counter drop\n"
                  " }}\n}}\n",
                  group, port, prefix));
}

Sums LiveNetwork::Counted() const {
  Sums sums;
  const auto ruleset = nlohmann::json::parse(Run({"/usr/sbin/nft", "-j", "list", "ruleset"}));
  for (const nlohmann::json& object : ruleset.at("nftables")) {
    if (object.contains("rule")) {
      const Sums of_rule = CountersIn(object["rule"]);
      sums.packets += of_rule.packets;
      sums.bytes += of_rule.bytes;
    }
  }
  return sums;
}

void LiveNetwork::Send(int port, int count, int per_second) const {
  const auto sender = StartSending(port, count, per_second);
  const Outcome outcome = sender->Wait();
  if (outcome.status != 0) {
    throw std::runtime_error("cannot send: " + outcome.err);
  }
}

std::unique_ptr<Program> LiveNetwork::StartSending(int port, int count, int per_second) const {
  return std::make_unique<Program>(Inside({PACKETDB_UDP_SENDER, std::to_string(port),
                                           std::to_string(count), std::to_string(per_second)}));
}

}  // namespace packetdb::host::test
