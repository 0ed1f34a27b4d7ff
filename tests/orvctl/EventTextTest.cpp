#include "orvctl/EventText.h"

#include <gtest/gtest.h>

#include "OrvSdkRpcProtos/acl.pb.h"
#include "OrvSdkRpcProtos/agent.pb.h"
#include "OrvSdkRpcProtos/eth_phy_intf.pb.h"
#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvSdkRpcProtos/intf_counter.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.pb.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orvctl {
namespace {

namespace rpc = orv::remote;

TEST(EventText, anInterfaceAndWhatIsKnownOfIt) {
   rpc::WatchIntfResponse event;
   event.mutable_intf()->set_name("Ethernet1");
   event.set_oper_status(rpc::OPER_STATUS_DOWN);
   event.set_admin_enabled(false);
   EXPECT_EQ(eventText(event), "Ethernet1 oper_status=down admin_enabled=false");
   event.Clear();
   event.mutable_intf()->set_name("Lag1");
   event.set_event(rpc::INTF_EVENT_CREATED);
   event.set_description("to the \"core\"");
   EXPECT_EQ(eventText(event), R"(Lag1 event=created description="to the \"core\"")");
   event.set_description("");
   EXPECT_EQ(eventText(event), R"(Lag1 event=created description="")");
}

TEST(EventText, whatAnEventHoldsIsToldAlsoWhereItIsZero) {
   rpc::EthPhyIntfWatchResponse event;
   event.mutable_intf()->set_name("Ethernet2");
   event.mutable_on_eth_phy_intf_create();
   event.mutable_on_eth_phy_intf_link_speed()->set_link_speed(rpc::ETH_LINK_SPEED_400_GBPS);
   event.mutable_on_eth_phy_intf_transceiver_present();
   EXPECT_EQ(eventText(event), "Ethernet2 eth_phy_intf_create link_speed=400_gbps transceiver_present=false");
}

TEST(EventText, aGroup) {
   rpc::WatchNexthopGroupResponse event;
   event.set_name("g 1");
   event.set_version_id(3);
   event.set_nhg_programmed(true);
   event.mutable_on_nexthop_group_programmed()->set_hw_state(rpc::NEXTHOP_GROUP_PROGRAMMED_HW_STATE_SUCCESS);
   EXPECT_EQ(eventText(event),
             "\"g 1\" hw_state=success counter_state=unknown version_id=3 nhg_programmed=true");
   event.Clear();
   event.set_name("g1");
   event.mutable_nexthop_group()->set_name("g1");
   EXPECT_TRUE(eventText(event).starts_with("g1 nexthop_group={\"")) << eventText(event);
}

TEST(EventText, commitsAndOptions) {
   rpc::AclWatchResponse acl;
   acl.mutable_on_acl_sync();
   EXPECT_EQ(eventText(acl), "acl_sync");
   acl.mutable_on_acl_sync_fail()->set_source("hardware");
   acl.mutable_on_acl_sync_fail()->set_message("no space");
   EXPECT_EQ(eventText(acl), "acl_sync_fail source=hardware message=\"no space\"");
   rpc::WatchAgentResponse agent;
   agent.mutable_agent_option()->set_name("tag");
   EXPECT_EQ(eventText(agent), "name=tag value=\"\"");
}

TEST(EventText, ratesAndSessions) {
   rpc::IntfTrafficRatesStreamResponse batch;
   auto& entry = *batch.add_data();
   entry.mutable_intf_id()->set_name("Ethernet3");
   auto& rates = *entry.mutable_rates();
   rates.set_out_pkts_rate(0);
   rates.set_in_pkts_rate(999.9999999999994);
   rates.set_out_bits_rate(0.5);
   rates.set_in_bits_rate(1.5e18);
   rates.set_sample_time(1763719828.12345);
   EXPECT_EQ(eventText(entry),
             "Ethernet3 out_pkts_rate=0 in_pkts_rate=1000 out_bits_rate=0.5 in_bits_rate=1500000000000000000 "
             "sample_time=1763719828.123");
   OrvSdkRpc::pb::watch_sbfd_echo_session_status_msg session;
   session.mutable_oper_status()->set_status(
        OrvSdkRpc::pb::sbfd_echo_session_oper_status_msg::SBFD_OPER_STATUS_UP);
   session.mutable_key()->set_nexthop_intf("Ethernet1");
   EXPECT_TRUE(eventText(session).starts_with("status=")) << eventText(session);
}

TEST(EventText, theEntriesOfABatchAreEvents) {
   rpc::IntfTrafficRatesStreamResponse batch;
   for (const char* name : {"Ethernet1", "Ethernet2", "Ethernet3"})
      batch.add_data()->mutable_intf_id()->set_name(name);
   int seen = 0;
   EXPECT_TRUE(forEachEvent(batch, [&](const auto& event) {
      EXPECT_EQ(event.GetDescriptor()->name(), "DataEntry");
      return ++seen > 0;
   }));
   EXPECT_EQ(seen, 3);
   EXPECT_FALSE(forEachEvent(batch, [&](const auto&) { return ++seen < 5; }));
   EXPECT_EQ(seen, 5);
   rpc::WatchIntfResponse single;
   EXPECT_TRUE(forEachEvent(single, [&](const auto& event) { return &event == &single; }));
}

TEST(EventText, acknowledgementsAreKnownInEveryForm) {
   rpc::WatchIntfResponse intf;
   EXPECT_FALSE(isAcknowledgement(intf));
   intf.set_ack(true);
   EXPECT_TRUE(isAcknowledgement(intf));
   rpc::AclWatchResponse acl;
   acl.mutable_on_acl_sync();
   EXPECT_FALSE(isAcknowledgement(acl));
   acl.set_ack(true);
   EXPECT_TRUE(isAcknowledgement(acl));
   rpc::IntfTrafficRatesStreamResponse batch;
   EXPECT_TRUE(isAcknowledgement(batch));
   batch.add_data();
   EXPECT_FALSE(isAcknowledgement(batch));
   OrvSdkRpc::pb::watch_sbfd_echo_session_status_msg session;
   EXPECT_FALSE(isAcknowledgement(session));
   session.set_initial(true);
   EXPECT_TRUE(isAcknowledgement(session));
}

}  // namespace
}  // namespace orvctl
