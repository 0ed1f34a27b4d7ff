#include "orvsdkrpcd/SystemdNotify.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "ServiceManager.h"
#include "testing/base/TempDir.h"

namespace orvsdkrpcd {
namespace {

class SystemdNotify : public testing::Test {
protected:
   ~SystemdNotify() override {
      unsetenv("NOTIFY_SOCKET");
      if (fd_ >= 0) close(fd_);
   }
   void bindTo(const sockaddr_un& address, socklen_t length) {
      fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
      ASSERT_EQ(bind(fd_, reinterpret_cast<const sockaddr*>(&address), length), 0);
   }
   std::string received() {
      std::array<char, 256> text{};
      const ssize_t count = recv(fd_, text.data(), text.size(), 0);
      return count < 0 ? "nothing" : std::string(text.data(), static_cast<size_t>(count));
   }

   orvtest::TempDir directory_;
   int fd_ = -1;
};

TEST_F(SystemdNotify, aSocketFile) {
   const std::string path = directory_ / "notify";
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
   bindTo(address, sizeof(address));
   setenv("NOTIFY_SOCKET", path.c_str(), 1);
   notifyServiceManager("READY=1");
   EXPECT_EQ(received(), "READY=1");
}

TEST_F(SystemdNotify, anAbstractSocket) {
   // The kernel picks a free abstract name for an address without one.
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   bindTo(address, sizeof(sa_family_t));
   socklen_t length = sizeof(address);
   ASSERT_EQ(getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length), 0);
   const std::string name(address.sun_path + 1, length - offsetof(sockaddr_un, sun_path) - 1);
   setenv("NOTIFY_SOCKET", ("@" + name).c_str(), 1);
   notifyServiceManager("STOPPING=1");
   EXPECT_EQ(received(), "STOPPING=1");
}

TEST_F(SystemdNotify, withoutAManagerNothingHappens) {
   unsetenv("NOTIFY_SOCKET");
   notifyServiceManager("READY=1");
   for (const std::string& nobody :
        {std::string(), std::string("relative"), directory_ / "none", "/" + std::string(200, 'x')}) {
      setenv("NOTIFY_SOCKET", nobody.c_str(), 1);
      notifyServiceManager("READY=1");
   }
}

TEST(ServiceStatus, isNeverReadyAfterItStops) {
   const orvtest::TempDir directory;
   test::ServiceManager manager(directory / "notify");
   ServiceStatus status;
   status.ready();
   status.stopping();
   status.ready();
   status.stopping();
   EXPECT_EQ(manager.rest(), (std::vector<std::string>{"READY=1", "STOPPING=1"}));
}

TEST(ServiceStatus, keepsItsOrderWhenBothComeAtOnce) {
   const orvtest::TempDir directory;
   test::ServiceManager manager(directory / "notify");
   for (int round = 0; round < 500; ++round) {
      ServiceStatus status;
      std::thread starting([&] { status.ready(); });
      status.stopping();
      starting.join();
      ASSERT_EQ(manager.rest().back(), "STOPPING=1");
   }
}

}  // namespace
}  // namespace orvsdkrpcd
