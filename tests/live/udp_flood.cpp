// Sends UDP packets at a rate, each to the next of a range of ports, and says how many it sent.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fmt/format.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace packetdb::live {
namespace {

using Clock = std::chrono::steady_clock;

// Packets that one call sends. So many are sent at once, also at a low rate, if that is due.
constexpr std::size_t kBatch = 64;

struct Options {
  std::string address = "127.0.0.1";
  std::uint16_t port = 20000;
  unsigned identities = 1000;
  std::uint64_t packets = 0;  // 0: until the time is over
  double seconds = 10;
  double rate = 0;  // packets a second; 0: as fast as it goes
  std::size_t size = 20;
};

class Sender {
 public:
  explicit Sender(const Options& options) : options_(options), payload_(options.size, 'p') {
    socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0) throw std::system_error(errno, std::generic_category(), "socket");
    piece_ = {payload_.data(), payload_.size()};
    for (std::size_t i = 0; i < kBatch; ++i) {
      targets_[i].sin_family = AF_INET;
      if (inet_pton(AF_INET, options.address.c_str(), &targets_[i].sin_addr) != 1) {
        throw std::invalid_argument(options.address + " is no IPv4 address");
      }
      messages_[i].msg_hdr.msg_name = &targets_[i];
      messages_[i].msg_hdr.msg_namelen = sizeof targets_[i];
      messages_[i].msg_hdr.msg_iov = &piece_;
      messages_[i].msg_hdr.msg_iovlen = 1;
    }
  }
  ~Sender() { close(socket_); }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;

  void Run() {
    const auto begin = Clock::now();
    const std::chrono::duration<double> limit(options_.seconds);
    for (auto now = begin; !IsDone(now - begin < limit); now = Clock::now()) {
      const std::uint64_t due = Due(now - begin);
      if (due == 0) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
      } else {
        Send(static_cast<std::size_t>(std::min<std::uint64_t>(due, kBatch)));
      }
    }
    seconds_ = std::chrono::duration<double>(Clock::now() - begin).count();
  }

  std::uint64_t sent() const { return sent_; }
  double seconds() const { return seconds_; }

 private:
  bool IsDone(bool has_time) const {
    return options_.packets == 0 ? !has_time : sent_ >= options_.packets;
  }

  std::uint64_t Due(std::chrono::duration<double> passed) const {
    std::uint64_t due = kBatch;
    if (options_.rate > 0) {
      const auto by_now = static_cast<std::uint64_t>(passed.count() * options_.rate) + 1;
      due = by_now - std::min(by_now, sent_);
    }
    return options_.packets == 0 ? due : std::min(due, options_.packets - sent_);
  }

  void Send(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      targets_[i].sin_port =
          htons(static_cast<std::uint16_t>(options_.port + (sent_ + i) % options_.identities));
    }
    const int sent = sendmmsg(socket_, messages_.data(), static_cast<unsigned>(count), 0);
    // A rule that refuses output tells the sender; the packet has been counted and logged then.
    if (sent < 0 && errno == EPERM) {
      sent_ += 1;
    } else if (sent >= 0) {
      sent_ += static_cast<std::uint64_t>(sent);
    } else if (errno != ENOBUFS && errno != EAGAIN && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "cannot send");
    }
  }

  const Options& options_;
  std::string payload_;
  int socket_ = -1;
  iovec piece_ = {};
  std::array<sockaddr_in, kBatch> targets_ = {};
  std::array<mmsghdr, kBatch> messages_ = {};
  std::uint64_t sent_ = 0;
  double seconds_ = 0;
};

void AddOptions(CLI::App& app, Options* options) {
  app.add_option("--to", options->address)->capture_default_str();
  app.add_option("--port", options->port, "the first one")->capture_default_str();
  app.add_option("--identities", options->identities, "ports, from the first one on")
      ->check(CLI::Range(1, 65535))
      ->capture_default_str();
  app.add_option("--packets", options->packets, "how many; 0: until the time is over")
      ->capture_default_str();
  app.add_option("--seconds", options->seconds)->capture_default_str();
  app.add_option("--rate", options->rate, "packets a second; 0: as fast as it goes")
      ->capture_default_str();
  app.add_option("--size", options->size, "bytes of payload")
      ->check(CLI::Range(0, 1400))
      ->capture_default_str();
}

}  // namespace
}  // namespace packetdb::live

int main(int argc, char** argv) {
  CLI::App app("Sends UDP packets at a rate, and says how many");
  packetdb::live::Options options;
  packetdb::live::AddOptions(app, &options);
  CLI11_PARSE(app, argc, argv);
  try {
    packetdb::live::Sender sender(options);
    sender.Run();
    fmt::print("{{\"sent\": {}, \"seconds\": {:.3f}}}\n", sender.sent(), sender.seconds());
    return 0;
  } catch (const std::exception& error) {
    fmt::print(stderr, "udp_flood: {}\n", error.what());
    return 1;
  }
}
