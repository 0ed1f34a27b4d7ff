#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <vector>

#include "CommandsFixture.h"
#include "softswitch/managers/eth_phy_intf_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "softswitch/traffic/counter_writers.h"
#include "softswitch/traffic/traffic_model.h"
#include "testing/base/Eventually.h"

namespace softswitch::console {
namespace {

using testing::HasSubstr;
using Json = nlohmann::json;

class SetTest : public CommandsFixture {
protected:
   Json intf(const std::string& name) { return json("show interfaces " + name)["interfaces"][0]; }
   Json port(const std::string& name) { return json("show ports " + name)["ports"][0]; }
   Json traffic(const std::string& name) { return json("show traffic " + name)["traffic"][0]; }
};

// Records operational status changes and lets a test wait for them.
class LinkListener final : public orv::intf_handler {
public:
   explicit LinkListener(orv::intf_mgr* mgr) : orv::intf_handler(mgr) { watch_all_intfs(true); }
   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override {
      const std::lock_guard lock(mutex_);
      heard_.push_back(intf.to_string() + " " + orv::to_string(status));
      changed_.notify_all();
   }
   std::vector<std::string> waitFor(std::size_t count) {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [&] { return heard_.size() >= count; });
      return heard_;
   }

private:
   std::mutex mutex_;
   std::condition_variable changed_;
   std::vector<std::string> heard_;
};

TEST_F(SetTest, linkEventsReachHandlers) {
   std::optional<LinkListener> listener;
   {
      const orv::sdk_scoped_lock lock;
      listener.emplace(target().get_intf_mgr());
   }
   run("set link Ethernet1 down");
   run("set link Ethernet1 down");
   run("set link Ethernet2 down");
   run("set link Ethernet1 up");
   EXPECT_THAT(listener->waitFor(3),
               testing::ElementsAre("Ethernet1 down", "Ethernet2 down", "Ethernet1 up"));
   EXPECT_EQ(intf("Ethernet2")["link"], "down");
   const orv::sdk_scoped_lock lock;
   listener.reset();
}

TEST_F(SetTest, linkRefusals) {
   EXPECT_EQ(refusal("set link Ethernet1"), "missing word after 'set link Ethernet1', expected up or down");
   EXPECT_EQ(refusal("set link Ethernet1 sideways"),
             "'sideways' after 'set link Ethernet1', expected up or down");
   EXPECT_EQ(refusal("set link Ethernet1 up please"),
             "'please' after 'set link Ethernet1 up', expected the end of the line");
   EXPECT_EQ(refusal("set link Ethernet99 up"), "unknown interface Ethernet99");
   EXPECT_EQ(refusal("set link Loopback0 down"),
             "interface Loopback0 is of type loopback and has no link to set");
}

TEST_F(SetTest, portsAreAsTheyAreSet) {
   EXPECT_EQ(port("Ethernet1"), (Json{{"name", "Ethernet1"},
                                      {"hardware", "present"},
                                      {"transceiver", "present"},
                                      {"speed", "100G"},
                                      {"mac", "02:00:00:00:00:01"}}));
   run("set speed Ethernet1 40g");
   EXPECT_EQ(port("Ethernet1")["speed"], "40G");
   EXPECT_EQ(intf("Ethernet1")["speed"], "40G");
   run("set transceiver Ethernet1 absent");
   EXPECT_EQ(port("Ethernet1")["transceiver"], "absent");
   EXPECT_EQ(intf("Ethernet1")["oper"], "down");
   run("set transceiver Ethernet1 present");
   EXPECT_EQ(intf("Ethernet1")["oper"], "up");
   run("set hardware Ethernet1 absent");
   EXPECT_EQ(port("Ethernet1")["speed"], "unknown");
   EXPECT_TRUE(intf("Ethernet1")["speed"].is_null() || !intf("Ethernet1").contains("speed"));
   run("set hardware Ethernet1 present");
   EXPECT_EQ(port("Ethernet1")["speed"], "40G");
   run("set hardware Ethernet65 inserted");
   EXPECT_EQ(json("show ports")["ports"].size(), 66u);
   run("set hardware Ethernet65 removed");
   EXPECT_EQ(refusal("show ports Ethernet65"), "unknown interface Ethernet65");
}

TEST_F(SetTest, portRefusals) {
   EXPECT_EQ(refusal("set speed Ethernet1 9g"),
             "'9g' after 'set speed Ethernet1', expected a speed: 10M, 100M, 1G, 2.5G, 5G, 10G, 25G, 40G, "
             "50G, 100G, "
             "200G, 400G, 800G or 1.6T");
   EXPECT_EQ(refusal("set speed Loopback0 10g"), "interface Loopback0 is of type loopback, not a port");
   EXPECT_EQ(refusal("set transceiver Ethernet1 gone"),
             "'gone' after 'set transceiver Ethernet1', expected present or absent");
   EXPECT_EQ(refusal("set hardware Ethernet1 gone"),
             "'gone' after 'set hardware Ethernet1', expected present, absent, inserted or removed");
   EXPECT_EQ(refusal("set hardware Ethernet1 inserted"), "interface Ethernet1 exists already");
   EXPECT_EQ(refusal("show ports Loopback0"), "interface Loopback0 is of type loopback, not a port");
}

TEST_F(SetTest, trafficFlows) {
   run("set traffic Ethernet1 in-pps 1000 in-bps 8000000");
   run("set traffic Ethernet1 out-pps 7");
   EXPECT_EQ(traffic("Ethernet1")["in_pkts_rate"], 1000);
   EXPECT_EQ(traffic("Ethernet1")["in_bits_rate"], 8000000);
   EXPECT_EQ(traffic("Ethernet1")["out_pkts_rate"], 7);
   EXPECT_EQ(traffic("Ethernet2")["in_pkts_rate"], 0);
   EXPECT_EQ(json("show traffic")["traffic"].size(), 65u) << "ports and LAGs";
   run("set traffic Ethernet1 off");
   EXPECT_EQ(traffic("Ethernet1")["in_pkts_rate"], 0);
   run("set traffic Internal1 in-pps 5");

   constexpr auto expected = "expected off, in-pps N, in-bps N, out-pps N or out-bps N";
   EXPECT_EQ(refusal("set traffic Ethernet1"),
             std::string("missing word after 'set traffic Ethernet1', ") + expected);
   EXPECT_EQ(refusal("set traffic Ethernet1 in-pps 1 fast"),
             std::string("'fast' after 'set traffic Ethernet1 in-pps 1', ") + expected);
   EXPECT_EQ(refusal("set traffic Ethernet1 in-pps many"),
             "'many' after 'set traffic Ethernet1 in-pps', expected packets per second (0 to 1000000000000)");
   EXPECT_EQ(refusal("set traffic Ethernet1 off now"),
             "'now' after 'set traffic Ethernet1 off', expected the end of the line");
   EXPECT_EQ(refusal("set traffic Ethernet99 off"), "unknown interface Ethernet99");
   EXPECT_THAT(refusal("set traffic Loopback0 in-pps 1"), HasSubstr("carries no traffic of its own"));
}

TEST_F(SetTest, groupsCountWhatIsSentThroughThem) {
   run("configure nexthop-group g entry 3 nexthop 10.0.0.1");
   settle();
   run("set nexthop-group-traffic g entry 3 packets 5 bytes 500");
   run("set nexthop-group-traffic g entry 3 packets 5 bytes 500");
   {
      const orv::sdk_scoped_lock lock;
      const auto counter = target().nexthopGroups().counter("g", 3);
      EXPECT_TRUE(counter.valid());
      EXPECT_EQ(counter.packets(), 10u);
      EXPECT_EQ(counter.bytes(), 1000u);
   }
   EXPECT_EQ(refusal("set nexthop-group-traffic g entry 4 packets 1 bytes 1"),
             "hardware has no nexthop group 'g' with an entry 4");
   EXPECT_EQ(refusal("set nexthop-group-traffic g slot 4"),
             "'slot' after 'set nexthop-group-traffic g', expected entry N");
}

TEST_F(SetTest, rulesOfTrafficPoliciesCountWhatMeetsThem) {
   const std::string line = "set traffic-policy-traffic edge rule web packets 5 bytes 500";
   const std::string missing = "hardware has no traffic policy 'edge' with a rule 'web'";
   EXPECT_EQ(refusal(line), missing);
   {
      const orv::sdk_scoped_lock lock;
      orv::traffic_policy_t edge("edge");
      edge.rule_set(10, orv::traffic_policy_rule_t(orv::traffic_policy_rule_type_t::ipv4, "web"));
      target().policyMaps().traffic_policy_is(edge);
   }
   EXPECT_EQ(refusal(line), missing) << "it is not applied";
   {
      const orv::sdk_scoped_lock lock;
      target().policyMaps().traffic_policy_apply("edge", orv::intf_id_t("Ethernet1"),
                                                 orv::traffic_policy_direction_t::in, true);
   }
   ASSERT_TRUE(orvtest::eventually([&] { return refusal(line).empty(); }));
   run(line);
   EXPECT_EQ(
        json("show traffic-policy counters")["traffic_policy_counters"],
        Json::array({{{"name", "edge"}, {"seq", 10}, {"rule", "web"}, {"packets", 10}, {"bytes", 1000}}}));
   EXPECT_EQ(refusal("set traffic-policy-traffic edge rule mail packets 1 bytes 1"),
             "hardware has no traffic policy 'edge' with a rule 'mail'");
   EXPECT_EQ(refusal("set traffic-policy-traffic edge seq 10"),
             "'seq' after 'set traffic-policy-traffic edge', expected rule NAME");
   EXPECT_EQ(refusal("set traffic-policy-traffic edge rule web bytes 1"),
             "'bytes' after 'set traffic-policy-traffic edge rule web', expected packets N");
}

TEST_F(SetTest, writersComeAndGo) {
   const auto writers = [&] {
      // The main loop creates and removes writers.
      std::string all;
      const auto shown = json("show writers");
      for (const auto& writer : shown["writers"])
         all += writer["name"].get<std::string>() + " " + writer["state"].get<std::string>() + " ";
      return all;
   };
   EXPECT_EQ(writers(), "Fixed up ");
   EXPECT_EQ(json("show writers")["counters"], (Json{{"resident", false}, {"interval_ms", 1000}}));
   run("set writer Linecard3 interfaces Ethernet1 Ethernet2");
   EXPECT_EQ(writers(), "Fixed up Linecard3 up ");
   run("set writer Linecard3 down");
   EXPECT_EQ(writers(), "Fixed up Linecard3 down ");
   run("set counter-interval 50");
   EXPECT_EQ(json("show writers")["counters"]["interval_ms"], 50);
   run("unset writer Linecard3");

   EXPECT_EQ(refusal("set writer Linecard3"),
             "missing word after 'set writer Linecard3', expected up, down or "
             "interfaces NAME…");
   EXPECT_EQ(refusal("set writer Linecard3 sideways"),
             "'sideways' after 'set writer Linecard3', expected up, down or interfaces NAME…");
   EXPECT_THAT(refusal("set writer Linecard3 interfaces"), HasSubstr("expected an interface's name"));
   EXPECT_THAT(refusal("set writer \"a b\" up"), HasSubstr("counter writer 'a b'"));
   EXPECT_EQ(refusal("unset writer Fixed"), "counter writer Fixed cannot be removed");
   EXPECT_EQ(refusal("set counter-interval 0"),
             "'0' after 'set counter-interval', expected milliseconds (1 to 3600000)");
   EXPECT_EQ(refusal("set counter-row Ethernet1 broken"),
             "'broken' after 'set counter-row Ethernet1', expected damaged");
   EXPECT_EQ(refusal("set counter-row Ethernet1 damaged"),
             "interface Ethernet1 has no row in a counter table")
        << "counters are not resident";
}

}  // namespace
}  // namespace softswitch::console
