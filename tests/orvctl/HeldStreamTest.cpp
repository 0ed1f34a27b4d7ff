#include "orvctl/HeldStream.h"

#include <gtest/gtest.h>

#include "FakeServer.h"
#include "orvctl/ExitCode.h"
#include "testing/base/TempDir.h"

namespace orvctl {
namespace {

using test::FakeServer;
namespace pb = OrvSdkRpc::pb;

constexpr const char* kAlive = "/OrvSdkRpc.pb.orvsdk_service/watch_rpc_server_alive";

TEST(HeldStream, staysOpenForAsLongAsTheServerLives) {
   FakeServer server;
   server.start();
   Connection connection(parseTarget("--target", server.target()), 10);
   HeldStream stream(connection, kAlive, pb::rpc_server_alive_msg());
   server.waitForWatches(1);
   EXPECT_FALSE(stream.waitForEnd(std::chrono::system_clock::now() + std::chrono::milliseconds(20)));
   server.stop();
   const auto end = stream.waitForEnd();
   ASSERT_TRUE(end);
   EXPECT_FALSE(end->ok());
   // The end is remembered.
   EXPECT_EQ(stream.waitForEnd()->error_code(), end->error_code());
}

TEST(HeldStream, droppingItCancelsTheCall) {
   FakeServer server;
   server.start();
   Connection connection(parseTarget("--target", server.target()), 10);
   { HeldStream stream(connection, kAlive, pb::rpc_server_alive_msg()); }
   HeldStream another(connection, kAlive, pb::rpc_server_alive_msg());
   EXPECT_FALSE(another.waitForEnd(std::chrono::system_clock::now()));
}

TEST(HeldStream, messagesArePassedOver) {
   FakeServer server;
   server.start();
   Connection connection(parseTarget("--target", server.target()), 10);
   HeldStream stream(connection, "/OrvSdkRpc.pb.orvsdk_service/watch_sbfd_echo_session_status_msgs",
                     pb::watch_sbfd_echo_session_config_msg());
   EXPECT_TRUE(stream.waitForEnd()->ok());
}

TEST(HeldStream, withoutAServerThereIsNoStream) {
   const orvtest::TempDir directory;
   Connection connection(parseTarget("--target", directory.path() + "/none"), 10);
   EXPECT_THROW(HeldStream(connection, kAlive, pb::rpc_server_alive_msg()), CallError);
}

}  // namespace
}  // namespace orvctl
