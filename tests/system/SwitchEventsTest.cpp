// What happens on a real switch, as the clients of its mirror services see it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "OrvSdkRpc/mirror/EthPhyIntfService.h"
#include "OrvSdkRpc/mirror/IntfCounterService.h"
#include "OrvSdkRpc/mirror/IntfService.h"
#include "OrvSdkRpc/mirror/NexthopGroupService.h"
#include "orv/lock.h"
#include "platform/pavo/Allocator.h"
#include "softswitch/console/commands.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/process/Child.h"
#include "testing/process/Daemon.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"
#include "testing/softswitch/RunningSwitch.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;
using OrvSdkRpc::EthPhyIntfService;
using OrvSdkRpc::IntfCounterService;
using OrvSdkRpc::IntfService;
using OrvSdkRpc::NexthopGroupService;

constexpr std::size_t manyGroups = 100'000;

// The number of live objects of all types whose name contains `part`.
std::uint64_t live(std::string_view part) {
   return orvtest::liveHandlers(part);
}

class SwitchEvents : public testing::Test {
protected:
   using GroupStub = remote::NexthopGroupMgrService::Stub;
   using IntfStub = remote::IntfMgrService::Stub;
   using GroupWatch = orvtest::StreamClient<remote::WatchNexthopGroupResponse>;
   using IntfWatch = orvtest::StreamClient<remote::WatchIntfResponse>;
   using PhyWatch = orvtest::StreamClient<remote::EthPhyIntfWatchResponse>;
   using RatesStream = orvtest::StreamClient<remote::IntfTrafficRatesStreamResponse>;

   SwitchEvents() {
      std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services;
      {
         const orv::sdk_scoped_lock lock;
         switch_->get_intf_counter_mgr_with_mode(orv::mgr_mode_type_t::resident);
         watcher_.emplace(switch_->get_mount_mgr());
         services.push_back(std::make_unique<EthPhyIntfService>(switch_->get_eth_phy_intf_mgr()));
         services.push_back(std::make_unique<IntfService>(switch_->get_intf_mgr()));
         services.push_back(
              std::make_unique<IntfCounterService>(switch_->get_intf_counter_mgr(), &*watcher_));
         services.push_back(std::make_unique<NexthopGroupService>(switch_->get_nexthop_group_mgr()));
      }
      running_.emplace(std::move(services));
      groups_ = running_->stub<remote::NexthopGroupMgrService>();
      intfs_ = running_->stub<remote::IntfMgrService>();
      phys_ = running_->stub<remote::EthPhyIntfMgrService>();
      counters_ = running_->stub<remote::IntfCounterMgrService>();
   }
   ~SwitchEvents() override {
      running_->stop();
      const orv::sdk_scoped_lock lock;
      running_->destroy();
      watcher_.reset();
   }

   static softswitch::Options options(const orvtest::TempDir& directory) {
      softswitch::Options made;
      made.stateDirectory = directory.path();
      made.counterIntervalNanos = 1'000'000;
      made.limits.nexthopGroups = 2 * manyGroups;
      return made;
   }
   void console(std::string_view line) {
      softswitch::console::StringOutput out;
      softswitch::console::Commands(*switch_).run(line, out);
   }

   // Opens a watch of everything and waits until it has subscribed.
   std::unique_ptr<IntfWatch> watchIntfs() {
      remote::WatchIntfRequest request;
      request.set_all(true);
      request.set_ack(true);
      return acknowledged(std::make_unique<IntfWatch>(*intfs_, &IntfStub::watch, request));
   }
   std::unique_ptr<PhyWatch> watchPhys() {
      remote::EthPhyIntfWatchRequest request;
      request.set_all(true);
      request.set_ack(true);
      return acknowledged(
           std::make_unique<PhyWatch>(*phys_, &remote::EthPhyIntfMgrService::Stub::watch, request));
   }
   std::unique_ptr<GroupWatch> watchGroups() {
      remote::WatchNexthopGroupRequest request;
      request.set_all(true);
      request.set_ack(true);
      return acknowledged(std::make_unique<GroupWatch>(*groups_, &GroupStub::watch, request));
   }
   template <class Watch>
   static std::unique_ptr<Watch> acknowledged(std::unique_ptr<Watch> watch) {
      const auto first = watch->next();
      EXPECT_TRUE(first && first->ack());
      return watch;
   }

   static std::string groupName(std::size_t i) { return fmt::format("g{:06}", i); }
   // A request over the API for a group with one entry through the interface.
   static void fill(remote::NexthopGroupSetRequest& request, const std::string& name,
                    const std::string& intf) {
      remote::NexthopGroup& group = *request.mutable_nexthop_group();
      group.set_name(name);
      group.set_type(remote::NEXTHOP_GROUP_ENCAP_TYPES_MPLS);
      remote::NexthopGroupEntry& entry = (*group.mutable_nexthops())[0];
      entry.set_nexthop(std::string("\x0a\x00\x00\x01", 4));
      entry.mutable_intf()->set_name(intf);
   }
   void setGroups(std::size_t begin, std::size_t end, const std::string& intf) {
      remote::BulkNexthopGroupSetRequest bulk;
      for (std::size_t i = begin; i < end; ++i)
         fill(*bulk.add_requests(), groupName(i), intf);
      remote::BulkNexthopGroupSetResponse response;
      grpc::ClientContext context;
      ASSERT_TRUE(groups_->bulk_nexthop_group_set(&context, bulk, &response).ok());
      ASSERT_EQ(response.count(), end - begin) << response.status().message();
   }
   void delGroup(std::size_t i) {
      remote::NexthopGroupDelRequest request;
      request.set_name(groupName(i));
      remote::NexthopGroupDelResponse response;
      grpc::ClientContext context;
      ASSERT_TRUE(groups_->nexthop_group_del(&context, request, &response).ok());
   }
   bool programmed(std::size_t i) {
      const orv::sdk_scoped_lock lock;
      return !switch_->get_nexthop_group_mgr()->programmed_nexthop_group(groupName(i)).name().empty();
   }

   const orvtest::TempDir directory_;
   orvtest::RunningSwitch switch_{options(directory_)};
   std::optional<OrvSdkRpc::IntfTrafficRatesWatcher> watcher_;
   std::optional<orvtest::RunningServer> running_;
   std::unique_ptr<GroupStub> groups_;
   std::unique_ptr<IntfStub> intfs_;
   std::unique_ptr<remote::EthPhyIntfMgrService::Stub> phys_;
   std::unique_ptr<remote::IntfCounterMgrService::Stub> counters_;
};

TEST_F(SwitchEvents, anUnpluggedCableReachesTheWatchersOfInterfacesAndOfPorts) {
   const auto intfs = watchIntfs();
   const auto others = watchIntfs();
   const auto phys = watchPhys();
   console("set link Ethernet1 down");
   for (const auto& client : {&intfs, &others}) {
      const auto event = (*client)->next();
      ASSERT_TRUE(event);
      EXPECT_EQ(event->intf().name(), "Ethernet1");
      EXPECT_EQ(event->oper_status(), remote::OPER_STATUS_DOWN);
   }
   const auto lost = phys->next();
   ASSERT_TRUE(lost);
   EXPECT_EQ(lost->intf().name(), "Ethernet1");
   ASSERT_TRUE(lost->has_on_eth_phy_intf_link_speed());
   EXPECT_EQ(lost->on_eth_phy_intf_link_speed().link_speed(), remote::ETH_LINK_SPEED_UNKNOWN);
   console("set link Ethernet1 up");
   EXPECT_EQ(intfs->next()->oper_status(), remote::OPER_STATUS_UP);
   EXPECT_NE(phys->next()->on_eth_phy_intf_link_speed().link_speed(), remote::ETH_LINK_SPEED_UNKNOWN);
   console("set transceiver Ethernet2 absent");
   const auto pulled = phys->next();
   ASSERT_TRUE(pulled);
   EXPECT_EQ(pulled->intf().name(), "Ethernet2");
   ASSERT_TRUE(pulled->has_on_eth_phy_intf_transceiver_present());
   EXPECT_FALSE(pulled->on_eth_phy_intf_transceiver_present().transceiver_present());
}

TEST_F(SwitchEvents, aChangeByOneClientReachesEveryOtherWatcher) {
   const auto watch = watchIntfs();
   const auto other = running_->stub<remote::IntfMgrService>();
   remote::IntfDescriptionIsRequest description;
   description.mutable_intf_id()->set_name("Ethernet3");
   description.set_description("to the lab");
   remote::IntfDescriptionIsResponse described;
   grpc::ClientContext first;
   ASSERT_TRUE(other->description_is(&first, description, &described).ok());
   EXPECT_EQ(watch->next()->description(), "to the lab");
   remote::IntfAdminEnabledIsRequest admin;
   admin.mutable_intf_id()->set_name("Ethernet3");
   remote::IntfAdminEnabledIsResponse disabled;
   grpc::ClientContext second;
   ASSERT_TRUE(other->admin_enabled_is(&second, admin, &disabled).ok());
   const auto event = watch->next();
   ASSERT_TRUE(event && event->has_admin_enabled());
   EXPECT_FALSE(event->admin_enabled());
   EXPECT_EQ(watch->next()->oper_status(), remote::OPER_STATUS_DOWN);
}

TEST_F(SwitchEvents, interfacesComeAndGo) {
   remote::WatchIntfRequest request;
   request.set_all(true);
   request.mutable_fields_control()->add_fields(remote::INTF_FIELD_ALL);
   IntfWatch watch(*intfs_, &IntfStub::watch, request);
   std::vector<std::string> shown;
   for (auto response = watch.next(); response && !response->ack(); response = watch.next())
      shown.push_back(response->intf().name());
   EXPECT_THAT(shown, testing::Contains("Ethernet1"));
   EXPECT_THAT(shown, testing::Not(testing::Contains("Loopback77")));
   console("configure interface Loopback77 create");
   auto event = watch.next();
   ASSERT_TRUE(event);
   EXPECT_EQ(event->intf().name(), "Loopback77");
   EXPECT_EQ(event->event(), remote::INTF_EVENT_CREATED);
   console("configure no interface Loopback77");
   while ((event = watch.next()) && !event->has_event()) {
   }
   ASSERT_TRUE(event);
   EXPECT_EQ(event->event(), remote::INTF_EVENT_DELETED);
}

TEST_F(SwitchEvents, interfacesThatGoWhileTheyAreShownDoNotEndTheStream) {
   std::atomic<bool> done = false;
   std::thread configuring([&] {
      while (!done) {
         console("configure interface Loopback77 create");
         console("configure no interface Loopback77");
      }
   });
   for (int round = 0; round < 20; ++round) {
      remote::WatchIntfRequest request;
      request.set_all(true);
      request.mutable_fields_control()->add_fields(remote::INTF_FIELD_ALL);
      IntfWatch watch(*intfs_, &IntfStub::watch, request);
      std::optional<remote::WatchIntfResponse> response;
      while ((response = watch.next()) && !response->ack()) {
      }
      EXPECT_TRUE(response) << watch.finish().error_message();
   }
   done = true;
   configuring.join();
}

TEST_F(SwitchEvents, aGroupThatLosesItsLastInterfaceBecomesInactiveAndItsWatchersHearOfIt) {
   const auto watch = watchGroups();
   const auto expect = [&](std::string_view what, auto&& such) {
      for (auto event = watch->next(); event; event = watch->next()) {
         EXPECT_EQ(event->name(), groupName(1));
         if (such(*event)) return;
      }
      FAIL() << what;
   };
   remote::NexthopGroupSetRequest request;
   fill(request, groupName(1), "Ethernet1");
   auto second = (*request.mutable_nexthop_group()->mutable_nexthops())[0];
   second.mutable_intf()->set_name("Ethernet2");
   (*request.mutable_nexthop_group()->mutable_nexthops())[1] = second;
   request.set_version_id(65535);
   remote::NexthopGroupSetResponse response;
   grpc::ClientContext context;
   ASSERT_TRUE(groups_->nexthop_group_set(&context, request, &response).ok());
   EXPECT_EQ(response.version_id(), 0U);
   bool active = false;
   bool programmed = false;
   expect("programmed and active", [&](const auto& event) {
      active |= event.active();
      programmed |= event.nhg_programmed() && event.version_id() == 65535 &&
                    event.on_nexthop_group_programmed().hw_state() ==
                         remote::NEXTHOP_GROUP_PROGRAMMED_HW_STATE_SUCCESS;
      return active && programmed;
   });
   console("set link Ethernet1 down");
   console("set link Ethernet2 down");
   expect("inactive", [](const auto& event) {
      return event.active_status_present_case() == remote::WatchNexthopGroupResponse::kActive &&
             !event.active();
   });
   remote::NexthopGroupActiveRequest question;
   question.set_name(groupName(1));
   remote::NexthopGroupActiveResponse answer;
   grpc::ClientContext asking;
   ASSERT_TRUE(groups_->active(&asking, question, &answer).ok());
   EXPECT_FALSE(answer.active());
   console("set link Ethernet2 up");
   expect("active", [](const auto& event) { return event.active(); });
}

TEST_F(SwitchEvents, entriesOfGroupsAreCounted) {
   remote::NexthopGroupSetRequest request;
   fill(request, "counted", "Ethernet1");
   request.mutable_nexthop_group()->set_counters_unshared(true);
   remote::NexthopGroupSetResponse response;
   grpc::ClientContext context;
   ASSERT_TRUE(groups_->nexthop_group_set(&context, request, &response).ok());
   EXPECT_NE(response.version_id(), 0U);
   setGroups(0, 3, "Ethernet1");
   ASSERT_TRUE(orvtest::eventually([&] { return programmed(2); }));
   console("set nexthop-group-traffic counted entry 0 packets 10 bytes 1000");
   remote::NexthopGroupCountersRequest selection;
   selection.set_regex("count.*");
   orvtest::StreamClient<remote::NexthopGroupCountersResponse> client(*groups_, &GroupStub::nhg_counters,
                                                                      selection);
   const auto responses = client.rest();
   ASSERT_EQ(responses.size(), 1U);
   EXPECT_EQ(responses[0].name(), "counted");
   ASSERT_EQ(responses[0].counters_size(), 1);
   EXPECT_EQ(responses[0].counters(0).entry(), 0U);
   EXPECT_EQ(responses[0].counters(0).packets(), 10U);
   EXPECT_EQ(responses[0].counters(0).bytes(), 1000U);
   selection.set_all(true);
   orvtest::StreamClient<remote::NexthopGroupCountersResponse> all(*groups_, &GroupStub::nhg_counters,
                                                                   selection);
   EXPECT_EQ(all.rest().size(), 4U);
}

TEST_F(SwitchEvents, ratesMoveAndStream) {
   const auto open = [&](const std::string& regex) {
      remote::IntfTrafficRatesStreamRequest request;
      request.set_intf_name_regex(regex);
      request.set_first_message(true);
      auto client = std::make_unique<RatesStream>(
           *counters_, &remote::IntfCounterMgrService::Stub::intf_traffic_rates_stream, request);
      EXPECT_EQ(client->next()->data_size(), 0);
      return client;
   };
   // Reads until the interface has a rate near `wanted`. RETURNS: the names of all interfaces seen.
   const auto await = [](RatesStream& client, const std::string& intf, double wanted) {
      std::vector<std::string> names;
      while (const auto batch = client.next()) {
         bool there = false;
         for (const auto& entry : batch->data()) {
            names.push_back(entry.intf_id().name());
            there |= entry.intf_id().name() == intf &&
                     std::abs(entry.rates().in_pkts_rate() - wanted) <= wanted * 1e-6;
         }
         if (there) return names;
      }
      ADD_FAILURE() << intf << " never had " << wanted;
      return names;
   };
   console("configure interface Lag1 create");
   const auto ports = open("Ethernet1");
   const auto lags = open("Lag.*");
   console("set traffic Ethernet1 in-pps 1000");
   console("set traffic Ethernet11 in-pps 5");
   console("set traffic Lag1 in-pps 7");
   EXPECT_THAT(await(*ports, "Ethernet1", 1000), testing::Each("Ethernet1"));
   EXPECT_THAT(await(*lags, "Lag1", 7), testing::Each("Lag1"));
   console("set traffic Ethernet1 in-pps 2000");
   await(*ports, "Ethernet1", 2000);
   remote::IntfTrafficRatesRequest request;
   request.mutable_intf_id()->set_name("Ethernet1");
   remote::IntfTrafficRatesResponse response;
   grpc::ClientContext context;
   ASSERT_TRUE(counters_->intf_traffic_rates(&context, request, &response).ok());
   EXPECT_NEAR(response.rates().in_pkts_rate(), 2000, 1);
   remote::IntfCountersRequest counted;
   counted.mutable_intf_id()->set_name("Ethernet1");
   remote::IntfCountersResponse counters;
   grpc::ClientContext counting;
   ASSERT_TRUE(counters_->intf_counters(&counting, counted, &counters).ok());
   EXPECT_GT(counters.counters().in_ucast_pkts(), 0U);
}

TEST_F(SwitchEvents, aDumpOfManyGroupsWhileTheyChangeShowsEveryOneThatStays) {
   // Every tenth group comes and goes; the others stay, and some of those are set again.
   const auto stays = [](std::size_t i) { return i % 10 != 0; };
   for (std::size_t i = 0; i < manyGroups; i += 10'000)
      setGroups(i, i + 10'000, "Ethernet1");
   ASSERT_TRUE(orvtest::eventually([&] { return programmed(manyGroups - 1); }));
   std::vector<bool> seen(manyGroups);
   // One change for every two hundred rows that arrive. Its events stay queued until the dump ends, since
   // every write that completes brings the next row.
   constexpr std::size_t rowsPerChange = 200;
   std::size_t changes = 0;
   const auto change = [&] {
      const std::size_t i = changes++ * 33'331 % manyGroups;
      if (stays(i)) {
         setGroups(i, i + 1, "Ethernet2");
      } else {
         delGroup(i);
         setGroups(i, i + 1, "Ethernet1");
      }
   };
   remote::WatchNexthopGroupRequest request;
   request.set_all(true);
   request.mutable_fields_control()->add_fields(remote::NEXTHOP_GROUP_FIELD_ALL);
   GroupWatch watch(*groups_, &GroupStub::watch, request);
   std::size_t dumped = 0;
   std::uint64_t most = 0;
   bool acknowledged = false;
   while (const auto response = watch.next()) {
      if (response->ack()) {
         acknowledged = true;
         break;
      }
      if (!response->has_nexthop_group() || response->name().empty()) continue;
      const std::size_t i = std::stoul(response->name().substr(1));
      EXPECT_FALSE(seen[i]) << response->name() << " was shown twice";
      seen[i] = true;
      if (++dumped % rowsPerChange != 0) continue;
      most = std::max(most, live("WatchNexthopGroupResponse"));
      change();
   }
   EXPECT_TRUE(acknowledged);
   EXPECT_GT(dumped, manyGroups * 8 / 10);
   std::size_t missed = 0;
   for (std::size_t i = 0; i < manyGroups; ++i) {
      if (stays(i) && !seen[i]) ++missed;
   }
   EXPECT_EQ(missed, 0U);
   // At most one row at a time, and the events: a deletion and a set make at most four.
   EXPECT_LT(most, 4 * manyGroups / rowsPerChange + 10);
}

// An idle watch writes nothing, so no failed write reports that its client is gone.
TEST_F(SwitchEvents, theWatchOfAClientThatIsKilledIsGoneAtOnce) {
   const auto watches = [] { return live("IntfServiceHandlers::Watch"); };
   const std::uint64_t before = watches();
   Child client({programPath("orvctl"), "--target", running_->address(), "watch", "intf"},
                directory_ / "log");
   ASSERT_TRUE(orvtest::eventually([&] { return watches() == before + 1; }));
   const auto killed = std::chrono::steady_clock::now();
   client.kill();
   ASSERT_TRUE(orvtest::eventually([&] { return watches() == before; }));
   EXPECT_LT(std::chrono::steady_clock::now() - killed, std::chrono::seconds(5) * orvtest::slowdown());
}

}  // namespace
}  // namespace orvtest
