#include "OrvSdkRpc/server/Connections.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "fixture/TempDir.h"

namespace OrvSdkRpc {
namespace {

// A listening socket, and one connection to it.
class Listener {
public:
   // `name` as the kernel takes it: a path, or a zero byte and a name.
   explicit Listener(const std::string& name) : Listener(AF_UNIX) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      std::memcpy(address.sun_path, name.data(), name.size());
      const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
      begin(reinterpret_cast<const sockaddr*>(&address), length);
   }
   // A port of 127.0.0.1 that the system chooses.
   Listener() : Listener(AF_INET) {
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      begin(reinterpret_cast<const sockaddr*>(&address), sizeof(address));
   }
   ~Listener() {
      for (const int socket : {listening_, client_, accepted_})
         close(socket);
   }
   Listener(const Listener&) = delete;
   Listener& operator=(const Listener&) = delete;

   [[nodiscard]] int port() const {
      sockaddr_in address{};
      socklen_t length = sizeof(address);
      getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &length);
      return ntohs(address.sin_port);
   }
   // Whether a byte that is sent on the accepted connection arrives.
   [[nodiscard]] bool connected() const {
      char byte = 'x';
      return send(accepted_, &byte, 1, MSG_NOSIGNAL) == 1 && read(client_, &byte, 1) == 1;
   }
   [[nodiscard]] bool listens() const {
      int listening = 0;
      socklen_t length = sizeof(listening);
      return getsockopt(listening_, SOL_SOCKET, SO_ACCEPTCONN, &listening, &length) == 0 && listening == 1;
   }

private:
   explicit Listener(int family)
        : listening_(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)),
          client_(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
   void begin(const sockaddr* address, socklen_t length) {
      EXPECT_EQ(bind(listening_, address, length), 0);
      EXPECT_EQ(listen(listening_, 1), 0);
      sockaddr_storage bound{};
      socklen_t boundLength = sizeof(bound);
      getsockname(listening_, reinterpret_cast<sockaddr*>(&bound), &boundLength);
      EXPECT_EQ(connect(client_, reinterpret_cast<sockaddr*>(&bound), boundLength), 0);
      accepted_ = accept(listening_, nullptr, nullptr);
      EXPECT_GE(accepted_, 0);
   }

   int listening_;
   int client_;
   int accepted_ = -1;
};

TEST(Connections, thoseOfTheAddressAreShutDownAndNoOthers) {
   const fixture::TempDir dir;
   const Listener mine(dir.file("mine"));
   const Listener other(dir.file("other"));
   ASSERT_TRUE(mine.connected());
   shutDownConnections({"unix:" + dir.file("mine")});
   EXPECT_FALSE(mine.connected());
   EXPECT_TRUE(mine.listens());
   EXPECT_TRUE(other.connected());
   shutDownConnections({dir.unixAddress("other")});
   EXPECT_FALSE(other.connected());
}

TEST(Connections, abstractNamesAreTold) {
   const std::string name = "orv-connections-" + std::to_string(getpid());
   const Listener mine(std::string(1, '\0') + name);
   const Listener other(std::string(1, '\0') + name + "x");
   shutDownConnections({"unix-abstract:" + name});
   EXPECT_FALSE(mine.connected());
   EXPECT_TRUE(other.connected());
}

TEST(Connections, portsAreTold) {
   const Listener mine;
   const Listener other;
   shutDownConnections({"0.0.0.0:" + std::to_string(mine.port())});
   EXPECT_FALSE(mine.connected());
   EXPECT_TRUE(mine.listens());
   EXPECT_TRUE(other.connected());
   shutDownConnections({"[::]:" + std::to_string(other.port())});
   EXPECT_FALSE(other.connected());
}

TEST(Connections, anAddressWithoutAPlaceIsPassedOver) {
   const Listener listener;
   shutDownConnections({"localhost:0", "", "unix:", "somewhere"});
   EXPECT_TRUE(listener.connected());
}

}  // namespace
}  // namespace OrvSdkRpc
