#include "host/printing/service_names.h"

#include <gmock/gmock.h>

namespace packetdb::host::test {
namespace {

using testing::IsNull;
using testing::Pointee;

TEST(ServiceNames, AreThoseOfTheProtocol) {
  const ServiceNames names("domain\t53/udp\nsyslog 514/udp\nshell 514/tcp cmd\n");
  EXPECT_THAT(names.Find(17, 53), Pointee(std::string("domain")));
  EXPECT_THAT(names.Find(6, 53), IsNull());
  EXPECT_THAT(names.Find(6, 514), Pointee(std::string("shell")));
  EXPECT_THAT(names.Find(17, 514), Pointee(std::string("syslog")));
}

TEST(ServiceNames, AreTheFirstOfAPort) {
  const ServiceNames names("http 80/tcp www\nother 80/tcp");
  EXPECT_THAT(names.Find(6, 80), Pointee(std::string("http")));
}

TEST(ServiceNames, PassOverWhatIsNoLine) {
  const ServiceNames names(
      "# http 80/tcp\n\nhttp\nhttp 80\nhttp /tcp\nhttp x/tcp\nhttp 80x/tcp\nhttp 65616/tcp\n"
      "http 80/ddp\nssh 22/tcp # 80/tcp");
  EXPECT_THAT(names.Find(6, 80), IsNull());
  EXPECT_THAT(names.Find(6, 22), Pointee(std::string("ssh")));
}

}  // namespace
}  // namespace packetdb::host::test
