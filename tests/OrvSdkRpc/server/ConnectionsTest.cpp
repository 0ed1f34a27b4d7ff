#include "OrvSdkRpc/server/Connections.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>

#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/server/ProbeService.h"
#include "testing/server/RawCall.h"
#include "testing/server/RunningServer.h"

namespace OrvSdkRpc {
namespace {

// A listening socket, and one connection to it.
class TcpListener {
public:
   // `name` as the kernel takes it: a path, or a zero byte and a name.
   explicit TcpListener(const std::string& name) : TcpListener(AF_UNIX) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      std::memcpy(address.sun_path, name.data(), name.size());
      const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
      begin(reinterpret_cast<const sockaddr*>(&address), length);
   }
   // A port of 127.0.0.1, or another host of the loopback network, that the system chooses.
   TcpListener() : TcpListener(INADDR_LOOPBACK, 0) {}
   TcpListener(in_addr_t host, int port) : TcpListener(AF_INET) {
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_addr.s_addr = htonl(host);
      address.sin_port = htons(static_cast<std::uint16_t>(port));
      begin(reinterpret_cast<const sockaddr*>(&address), sizeof(address));
   }
   ~TcpListener() {
      for (const int socket : {listening_, client_, accepted_})
         close(socket);
   }
   TcpListener(const TcpListener&) = delete;
   TcpListener& operator=(const TcpListener&) = delete;

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
   explicit TcpListener(int family)
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
   const orvtest::TempDir dir;
   const TcpListener mine(dir / "mine");
   const TcpListener other(dir / "other");
   ASSERT_TRUE(mine.connected());
   shutDownConnections({"unix:" + dir / "mine"});
   EXPECT_FALSE(mine.connected());
   EXPECT_TRUE(mine.listens());
   EXPECT_TRUE(other.connected());
   shutDownConnections({dir.unixAddress("other")});
   EXPECT_FALSE(other.connected());
}

TEST(Connections, abstractNamesAreTold) {
   const std::string name = "orv-connections-" + std::to_string(getpid());
   const TcpListener mine(std::string(1, '\0') + name);
   const TcpListener other(std::string(1, '\0') + name + "x");
   shutDownConnections({"unix-abstract:" + name});
   EXPECT_FALSE(mine.connected());
   EXPECT_TRUE(other.connected());
}

TEST(Connections, portsAreTold) {
   const TcpListener mine;
   const TcpListener other;
   shutDownConnections({"0.0.0.0:" + std::to_string(mine.port())});
   EXPECT_FALSE(mine.connected());
   EXPECT_TRUE(mine.listens());
   EXPECT_TRUE(other.connected());
   shutDownConnections({"[::]:" + std::to_string(other.port())});
   EXPECT_FALSE(other.connected());
}

TEST(Connections, ofOnePortTheHostDecides) {
   const TcpListener mine;
   const TcpListener other(INADDR_LOOPBACK + 1, mine.port());
   const std::string port = std::to_string(mine.port());
   shutDownConnections({"127.0.0.1:" + port});
   EXPECT_FALSE(mine.connected());
   EXPECT_TRUE(other.connected());
   // A host name may stand for any host.
   shutDownConnections({"somewhere:" + port});
   EXPECT_FALSE(other.connected());
}

// A pair of connected sockets that has nothing to do with any server.
class Pair {
public:
   Pair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()), 0); }
   ~Pair() {
      close(ends_[0]);
      close(ends_[1]);
   }
   Pair(const Pair&) = delete;
   Pair& operator=(const Pair&) = delete;

   [[nodiscard]] bool connected() const {
      char byte = 'x';
      return send(ends_[0], &byte, 1, MSG_NOSIGNAL) == 1 && read(ends_[1], &byte, 1) == 1;
   }

private:
   std::array<int, 2> ends_{-1, -1};
};

// A file of this process with a record lock on it.
class LockedFile {
public:
   explicit LockedFile(const std::string& path)
        : fd_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)),
          // Opened before the lock is taken and closed only at the end: closing it would drop the lock.
          observer_(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
      struct flock lock = whole();
      EXPECT_EQ(fcntl(fd_, F_SETLK, &lock), 0);
   }
   ~LockedFile() {
      close(fd_);
      close(observer_);
   }
   LockedFile(const LockedFile&) = delete;
   LockedFile& operator=(const LockedFile&) = delete;

   // The lock of an open file description conflicts with the lock of a process, even of its own process.
   [[nodiscard]] bool locked() const {
      struct flock lock = whole();
      EXPECT_EQ(fcntl(observer_, F_OFD_GETLK, &lock), 0);
      return lock.l_type == F_WRLCK;
   }

private:
   static struct flock whole() {
      struct flock lock {};
      lock.l_type = F_WRLCK;
      lock.l_whence = SEEK_SET;
      return lock;
   }

   const int fd_;
   const int observer_;
};

TEST(Connections, nothingElseOfTheProcessIsTouched) {
   const orvtest::TempDir dir;
   const TcpListener mine(dir / "mine");
   const LockedFile file(dir / "file");
   const Pair pair;
   ASSERT_TRUE(file.locked());
   shutDownConnections({dir.unixAddress("mine")});
   EXPECT_FALSE(mine.connected());
   EXPECT_TRUE(file.locked());
   EXPECT_TRUE(pair.connected());
}

// The descriptor number of a connection may pass to another socket at any moment.
TEST(Connections, aSocketThatTakesTheNumberOfAConnectionStaysConnected) {
   const orvtest::TempDir dir;
   std::atomic<bool> over{false};
   std::thread hangingUp([&] {
      while (!over)
         shutDownConnections({dir.unixAddress("mine")});
   });
   for (int round = 0; round < 2000; ++round) {
      unlink((dir / "mine").c_str());
      { const TcpListener mine(dir / "mine"); }
      const Pair first;
      const Pair second;
      ASSERT_TRUE(first.connected());
      ASSERT_TRUE(second.connected());
   }
   over = true;
   hangingUp.join();
}

TEST(Connections, aServerThatHangsUpAtItsEndLeavesTheRestOfTheProcess) {
   const orvtest::TempDir dir;
   const LockedFile file(dir / "file");
   const Pair pair;
   const TcpListener other(dir / "other");
   {
      auto service = std::make_unique<orvtest::ProbeService>();
      orvtest::ProbeService& probe = *service;
      orvtest::RunningServer running{std::move(service)};
      const std::string path = running.address().substr(std::string("unix://").size());
      const orvtest::RawCall call(path, "/OrvSdkRpc.test.ProbeService/watch");
      ASSERT_TRUE(orvtest::eventually([&] { return probe.watchers() == 1; }));
      // More than a socket buffers, so that the server can end the call only by closing the connection.
      probe.publish(std::string(std::size_t{16} << 20, 'x'));
      running.stop();
   }
   EXPECT_TRUE(file.locked());
   EXPECT_TRUE(pair.connected());
   EXPECT_TRUE(other.connected());
}

TEST(Connections, anAddressWithoutAPlaceIsPassedOver) {
   const TcpListener listener;
   shutDownConnections({"localhost:0", "", "unix:", "somewhere"});
   EXPECT_TRUE(listener.connected());
}

}  // namespace
}  // namespace OrvSdkRpc
