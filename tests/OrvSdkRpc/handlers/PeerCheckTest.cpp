#include "OrvSdkRpc/handlers/PeerCheck.h"

#include <gtest/gtest.h>

#include "OrvSdkRpc/handlers/Errors.h"

namespace OrvSdkRpc {
namespace {

bool accepted(const ServerProperties& properties, const std::string& peer) {
   try {
      maybeRejectInsecureRemote(properties, [&] { return peer; });
      return true;
   } catch (const unauthenticated_error& e) {
      EXPECT_STREQ(e.what(), "Insecure remote client rejected");
      return false;
   }
}

TEST(PeerCheck, takesTheHostOutOfAnAddress) {
   EXPECT_EQ(extractIpAddr("10.0.0.1:50051"), "10.0.0.1");
   EXPECT_EQ(extractIpAddr("ipv4:10.0.0.1:50051"), "10.0.0.1");
   EXPECT_EQ(extractIpAddr("dns:///10.0.0.1:50051"), "10.0.0.1");
   EXPECT_EQ(extractIpAddr("[::1]:50051"), "::1");
   EXPECT_EQ(extractIpAddr("ipv6:[2001:db8::1]:50051"), "2001:db8::1");
   EXPECT_EQ(extractIpAddr("ipv6:%5B2001:db8::1%5D:50051"), "2001:db8::1");
   EXPECT_EQ(extractIpAddr("::1"), "::1");
   EXPECT_EQ(extractIpAddr("10.0.0.1"), "10.0.0.1");
   EXPECT_EQ(extractIpAddr("unix:///run/x"), "");
   EXPECT_EQ(extractIpAddr("unix-abstract:x"), "");
}

TEST(PeerCheck, aUnixPeerIsLocalToEveryAddress) {
   EXPECT_TRUE(isLocalIpAddr("unix:", "10.0.0.1"));
   EXPECT_TRUE(isLocalIpAddr("unix:/run/x", ""));
   EXPECT_TRUE(isLocalIpAddr("unix-abstract:x", "::1"));
}

TEST(PeerCheck, familyAndHostAreCompared) {
   EXPECT_TRUE(isLocalIpAddr("ipv4:10.0.0.1:40000", "10.0.0.1"));
   EXPECT_FALSE(isLocalIpAddr("ipv4:10.0.0.2:40000", "10.0.0.1"));
   EXPECT_FALSE(isLocalIpAddr("ipv4:10.0.0.1:40000", "::ffff:10.0.0.1"));
   EXPECT_TRUE(isLocalIpAddr("ipv6:%5B::1%5D:40000", "::1"));
   EXPECT_TRUE(isLocalIpAddr("ipv6:[0:0::1]:40000", "::1"));
   EXPECT_TRUE(isLocalIpAddr("ipv6:%5Bfe80::1%25eth0%5D:40000", "fe80::1"));
   EXPECT_FALSE(isLocalIpAddr("ipv6:%5B2001:db8::2%5D:40000", "2001:db8::1"));
   EXPECT_FALSE(isLocalIpAddr("ipv4:10.0.0.1:40000", ""));
   EXPECT_FALSE(isLocalIpAddr("", ""));
   EXPECT_FALSE(isLocalIpAddr("nonsense", "nonsense"));
}

TEST(PeerCheck, onlyAnInsecureServerWithoutEitherFlagLooksAtThePeer) {
   const std::string remote = "ipv4:192.0.2.7:40000";
   ServerProperties properties{.addresses = {"127.0.0.1:50051"},
                               .sslProfileState = SslProfileState::NotConfigured,
                               .allowInsecureRemote = false};
   EXPECT_FALSE(accepted(properties, remote));
   EXPECT_TRUE(accepted(properties, "ipv4:127.0.0.1:40000"));
   auto trusted = properties;
   trusted.trustedServer = true;
   EXPECT_TRUE(accepted(trusted, remote));
   auto internal = properties;
   internal.internalServer = true;
   EXPECT_TRUE(accepted(internal, remote));
   auto open = properties;
   open.allowInsecureRemote = true;
   EXPECT_TRUE(accepted(open, remote));
   for (const auto state : {SslProfileState::NotFound, SslProfileState::Invalid, SslProfileState::Tls,
                            SslProfileState::MutualTls}) {
      auto secure = properties;
      secure.sslProfileState = state;
      EXPECT_TRUE(accepted(secure, remote));
   }
}

TEST(PeerCheck, aPeerMustBeLocalToEveryAddress) {
   ServerProperties properties{.addresses = {"10.0.0.1:50051", "10.0.0.2:50051"},
                               .sslProfileState = SslProfileState::NotConfigured,
                               .allowInsecureRemote = false};
   EXPECT_FALSE(accepted(properties, "ipv4:10.0.0.1:40000"));
   EXPECT_FALSE(accepted(properties, "ipv4:10.0.0.2:40000"));
   EXPECT_TRUE(accepted(properties, "unix:"));
   properties.addresses.clear();
   EXPECT_TRUE(accepted(properties, "ipv4:192.0.2.7:40000"));
}

TEST(PeerCheck, thePeerIsNotEvenAskedForWhereItDoesNotMatter) {
   const ServerProperties properties{.internalServer = true};
   maybeRejectInsecureRemote(properties, []() -> std::string { throw std::logic_error("asked"); });
}

}  // namespace
}  // namespace OrvSdkRpc
