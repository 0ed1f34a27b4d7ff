// Which managers an agent fetches, and in which order.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "OrvSdkRpc/agent/Agent.h"
#include "platform/process/Brevis.h"
#include "platform/process/Toggles.h"
#include "testing/base/TempDir.h"
#include "testing/server/AgentHost.h"

namespace OrvSdkRpc {
namespace {

using orvtest::AgentHost;
using Server::Services;
using testing::_;
using testing::InSequence;

// A switch whose getters must be called exactly as expected.
struct StrictHost {
   StrictHost() {
      ON_CALL(sdk, name()).WillByDefault(testing::Return(name));
      EXPECT_CALL(sdk, name()).Times(testing::AnyNumber());
   }
   std::string name = "strict";
   testing::StrictMock<orvtest::MockSdk> sdk;
};

TEST(AgentServices, theListFormFetchesWhatEachServiceTakesInListOrder) {
   StrictHost host;
   InSequence order;
   EXPECT_CALL(host.sdk, get_agent_mgr());  // the agent's own handler
   EXPECT_CALL(host.sdk, get_vrf_mgr());
   EXPECT_CALL(host.sdk, get_ip_route_mgr());
   EXPECT_CALL(host.sdk, get_nexthop_group_mgr());
   EXPECT_CALL(host.sdk, get_mount_mgr());
   EXPECT_CALL(host.sdk, get_mpls_route_mgr());
   EXPECT_CALL(host.sdk, get_acl_mgr());
   const Agent agent(host.sdk, {Services::IpRoute, Services::MplsRoute, Services::Acl});
}

TEST(AgentServices, everyValueHasItsGetters) {
   StrictHost host;
   InSequence order;
   EXPECT_CALL(host.sdk, get_agent_mgr());
   EXPECT_CALL(host.sdk, get_acl_mgr());
   EXPECT_CALL(host.sdk, get_agent_mgr());
   EXPECT_CALL(host.sdk, get_bgp_path_mgr());
   EXPECT_CALL(host.sdk, get_bgp_mgr());
   EXPECT_CALL(host.sdk, get_class_map_mgr());
   EXPECT_CALL(host.sdk, get_cmdapi_mgr());
   EXPECT_CALL(host.sdk, get_eth_lag_intf_mgr());
   EXPECT_CALL(host.sdk, get_eth_phy_intf_mgr());
   EXPECT_CALL(host.sdk, get_eth_phy_intf_counter_mgr());
   EXPECT_CALL(host.sdk, get_intf_mgr());
   EXPECT_CALL(host.sdk, get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::resident));
   EXPECT_CALL(host.sdk, get_mount_mgr());
   EXPECT_CALL(host.sdk, get_intf_counter_mgr());
   EXPECT_CALL(host.sdk, get_vrf_mgr());
   EXPECT_CALL(host.sdk, get_ip_route_mgr());
   EXPECT_CALL(host.sdk, get_ip_intf_mgr());
   EXPECT_CALL(host.sdk, get_macsec_mgr());
   EXPECT_CALL(host.sdk, get_nexthop_group_mgr());
   EXPECT_CALL(host.sdk, get_mount_mgr());
   EXPECT_CALL(host.sdk, get_mpls_route_mgr());
   EXPECT_CALL(host.sdk, get_mpls_vrf_label_mgr());
   EXPECT_CALL(host.sdk, get_nexthop_group_mgr());
   EXPECT_CALL(host.sdk, get_policy_map_mgr());
   EXPECT_CALL(host.sdk, get_policy_map_mgr());
   EXPECT_CALL(host.sdk, get_mount_mgr());
   Agent agent(host.sdk, std::vector<Services>{});
   for (std::uint8_t value = 0; value < Server::servicesCount; ++value) {
      agent.enableServices(host.sdk, static_cast<Services>(value));
   }
}

TEST(AgentServices, aValueAboveTheLastIsIgnored) {
   StrictHost host;
   EXPECT_CALL(host.sdk, get_agent_mgr());
   const Agent agent(host.sdk, {static_cast<Services>(19), static_cast<Services>(255)});
}

TEST(AgentServices, eachListedValueIsInTheRingTrace) {
   AgentHost host;
   const Agent agent(host.sdk, {static_cast<Services>(200)});
   const auto entries = Brevis::entries();
   ASSERT_FALSE(entries.empty());
   EXPECT_EQ(entries.back().text, "Enabling: 200");
}

TEST(AgentServices, theAddressFormFetchesItsManagersFirst) {
   testing::NiceMock<orvtest::MockSdk> sdk;
   const std::string name = "address form";
   ON_CALL(sdk, name()).WillByDefault(testing::Return(name));
   // The managers in the order of the calls; each getter returns null here.
   std::vector<std::string> fetched;
   const auto note = [&](const char* manager) {
      return [&fetched, manager] { fetched.emplace_back(manager); };
   };
   using testing::InvokeWithoutArgs;
   ON_CALL(sdk, get_acl_mgr()).WillByDefault(DoAll(InvokeWithoutArgs(note("acl")), testing::ReturnNull()));
   ON_CALL(sdk, get_agent_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("agent")), testing::ReturnNull()));
   ON_CALL(sdk, get_bfd_session_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("bfd_session")), testing::ReturnNull()));
   ON_CALL(sdk, get_class_map_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("class_map")), testing::ReturnNull()));
   ON_CALL(sdk, get_fib_mgr(orv::mgr_mode_type_t::resident))
        .WillByDefault(DoAll(InvokeWithoutArgs(note("fib")), testing::ReturnNull()));
   ON_CALL(sdk, get_intf_mgr()).WillByDefault(DoAll(InvokeWithoutArgs(note("intf")), testing::ReturnNull()));
   ON_CALL(sdk, get_ip_route_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("ip_route")), testing::ReturnNull()));
   ON_CALL(sdk, get_mpls_route_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("mpls_route")), testing::ReturnNull()));
   ON_CALL(sdk, get_mpls_vrf_label_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("mpls_vrf_label")), testing::ReturnNull()));
   ON_CALL(sdk, get_nexthop_group_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("nexthop_group")), testing::ReturnNull()));
   ON_CALL(sdk, get_nexthop_group_tunnel_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("nexthop_group_tunnel")), testing::ReturnNull()));
   ON_CALL(sdk, get_policy_map_mgr())
        .WillByDefault(DoAll(InvokeWithoutArgs(note("policy_map")), testing::ReturnNull()));
   const Agent agent(sdk, "unix:///nowhere", true, true);
   // The agent's own handler comes first, then the programming service. The mirror services follow, from
   // value 0 on.
   const std::vector<std::string> first{
        "agent",      "acl",      "agent",      "bfd_session",    "class_map",     "fib",
        "intf",       "ip_route", "mpls_route", "mpls_vrf_label", "nexthop_group", "nexthop_group_tunnel",
        "policy_map", "acl",      "agent"};
   ASSERT_GT(fetched.size(), first.size());
   fetched.resize(first.size());
   EXPECT_EQ(fetched, first);
}

TEST(AgentServices, theAddressFormFetchesBfdAndFibOnlyWhereAsked) {
   AgentHost host;
   EXPECT_CALL(host.sdk, get_bfd_session_mgr()).Times(0);
   EXPECT_CALL(host.sdk, get_fib_mgr(_)).Times(0);
   const Agent agent(host.sdk, "unix:///nowhere", false, false);
   EXPECT_EQ(agent.addresses(), std::vector<std::string>{"unix:///nowhere"});
}

// How often an agent of the address form asks for the mounts.
int mountsOf(bool bfd) {
   AgentHost host;
   int calls = 0;
   ON_CALL(host.sdk, get_mount_mgr()).WillByDefault([&] {
      ++calls;
      return nullptr;
   });
   const Agent agent(host.sdk, "unix:///nowhere", bfd, false);
   return calls;
}

TEST(AgentServices, theOverrideTableIsMountedForTheProgrammingService) {
   EXPECT_EQ(mountsOf(true), mountsOf(false) + 1);
}

// A toggle is read once per process, so each look at it has a process of its own.
int withOverridesOff() {
   const orvtest::TempDir dir;
   std::ofstream(dir / "CbfNhg.json") << R"({"CbfNhgEcmp": false})";
   toggleDirectoryIs(dir.path());
   EXPECT_EQ(mountsOf(true), mountsOf(false));
   return testing::Test::HasFailure() ? 1 : 0;
}

TEST(AgentServicesDeathTest, theOverrideTableIsNotMountedWhereItsToggleIsOff) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(std::exit(withOverridesOff()), testing::ExitedWithCode(0), "");
}

int withTogglesOff() {
   const orvtest::TempDir dir;
   std::ofstream(dir / "OrvSdkRpc.json")
        << R"({"OrvSdkRpcClassMap": false, "OrvSdkRpcTrafficStream": false, "OrvSdkRpcPbrCountersStream": false})";
   toggleDirectoryIs(dir.path());
   StrictHost host;
   EXPECT_CALL(host.sdk, get_agent_mgr());
   EXPECT_CALL(host.sdk, get_intf_counter_mgr());
   Agent agent(host.sdk, {Services::ClassMap, Services::IntfCounter, Services::PolicyMapCounters});
   // Too late: the toggle has been read.
   toggleDirectoryDel();
   agent.enableServices(host.sdk, Services::ClassMap);
   testing::Mock::VerifyAndClearExpectations(&host.sdk);
   return testing::Test::HasFailure() ? 1 : 0;
}

TEST(AgentServicesDeathTest, aServiceWhoseToggleIsOffIsNotCreated) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(std::exit(withTogglesOff()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace OrvSdkRpc
