#include "tests/host/reading/served_journals.h"

#include <sys/socket.h>

#include "host/daemon/serve_client.h"
#include "tests/host/bus/support.h"

namespace packetdb::host::test {

// One connection, and the thread that serves it.
struct ServedJournals::Served {
  Served(SocketDescriptor socket, const ServedJournals& journals)
      : connection(std::move(socket), PatientTimeouts()), thread([this, &journals] {
          ServeCommands(connection, journals.configuration_, *journals.page_, journals.row_limit,
                        [](const CommandReport&) {});
        }) {}
  ~Served() {
    shutdown(connection.fd(), SHUT_RDWR);
    thread.join();
  }
  Served(const Served&) = delete;
  Served& operator=(const Served&) = delete;

  Connection connection;
  std::thread thread;
};

ServedJournals::ServedJournals() : page_(MakeStatusPage()) {
  configuration_.directory = directory_.Path();
}

ServedJournals::~ServedJournals() = default;

void ServedJournals::Add(const std::string& group, const std::string& interface, std::uint32_t time,
                         std::uint16_t port) const {
  CDrvErrorItemV4 event{};
  event.m_FirstTime = event.m_LastTime = time;
  event.m_SrcPort = port;
  event.m_Count = 1;
  GroupWriter({.directory = directory_.Path(),
               .group = group,
               .capacity = 1000,
               .window_seconds = kDefaultWindowSeconds})
      .Add(event, interface);
}

DaemonSource::Connector ServedJournals::Connector() {
  return [this](BusFailure* failure) -> std::unique_ptr<Connection> {
    if (refuses) {
      *failure = MakeFailure(BusError::kRefused, "the test");
      return nullptr;
    }
    ++connections;
    RawPair pair;
    served_.push_back(std::make_unique<Served>(std::move(pair.other), *this));
    return std::make_unique<Connection>(std::move(pair.one), PatientTimeouts());
  };
}

void ServedJournals::Break() { served_.clear(); }

}  // namespace packetdb::host::test
