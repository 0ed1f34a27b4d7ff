#include <gmock/gmock.h>

#include <optional>
#include <vector>

#include "CommandsFixture.h"
#include "orv/agent.h"
#include "softswitch/managers/agent_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"

namespace softswitch::console {
namespace {

using testing::HasSubstr;
using Json = nlohmann::json;

class ConfigureTest : public CommandsFixture {
protected:
   Json route(const std::string& prefix, const std::string& more = "") {
      return json("show ip route " + prefix + more)["ip_routes"][0];
   }
   std::size_t routeCount() { return json("show ip route")["ip_routes"].size(); }
   Json intf(const std::string& name) { return json("show interfaces " + name)["interfaces"][0]; }
};

TEST_F(ConfigureTest, interfaces) {
   run("configure interface Ethernet1 shutdown");
   EXPECT_EQ(intf("Ethernet1")["admin"], "down");
   EXPECT_EQ(intf("Ethernet1")["oper"], "down");
   EXPECT_EQ(intf("Ethernet1")["link"], "up");
   run("configure interface Ethernet1 no shutdown");
   EXPECT_EQ(intf("Ethernet1")["oper"], "up");
   run("configure interface Ethernet1 description to the spine json");
   EXPECT_EQ(intf("Ethernet1")["description"], "to the spine json");
   run("configure interface Ethernet1 description \"with | and  two blanks\"");
   EXPECT_EQ(intf("Ethernet1")["description"], "with | and  two blanks");
   run("configure interface Ethernet1 no description");
   EXPECT_EQ(intf("Ethernet1")["description"], "");

   constexpr auto expected = "expected shutdown, no shutdown, description TEXT, no description or create";
   EXPECT_EQ(refusal("configure interface Ethernet1"),
             std::string("missing word after 'configure interface Ethernet1', ") + expected);
   EXPECT_EQ(refusal("configure interface Ethernet1 mtu 9000"),
             std::string("'mtu' after 'configure interface Ethernet1', ") + expected);
   EXPECT_EQ(refusal("configure interface Ethernet1 no mtu"),
             "'mtu' after 'configure interface Ethernet1 no', expected shutdown or description");
   EXPECT_EQ(refusal("configure interface Ethernet1 shutdown now"),
             "'now' after 'configure interface Ethernet1 shutdown', expected the end of the line");
   EXPECT_EQ(
        refusal("configure interface Ethernet1 description"),
        "missing word after 'configure interface Ethernet1 description', expected the description's text");
   EXPECT_EQ(refusal("configure interface Ethernet99 shutdown"), "unknown interface Ethernet99");
}

TEST_F(ConfigureTest, interfacesThatAreNoPortsAreMadeAndRemoved) {
   run("configure interface Loopback99 create");
   run("configure interface Loopback99 description made here");
   EXPECT_EQ(intf("Loopback99")["kernel_name"], "lo99");
   run("configure no interface Loopback3");
   EXPECT_EQ(refusal("show interfaces Loopback3"), "unknown interface Loopback3");
   stop();
   start();
   EXPECT_EQ(intf("Loopback99")["description"], "made here");
   EXPECT_EQ(refusal("show interfaces Loopback3"), "unknown interface Loopback3");
   run("configure no interface Loopback99");
   EXPECT_EQ(refusal("configure no interface Loopback99"), "unknown interface Loopback99");
   EXPECT_EQ(refusal("configure interface Loopback1 create"), "interface Loopback1 exists already");
   EXPECT_THAT(refusal("configure interface Ethernet65 create"),
               HasSubstr("is a port and is added with its hardware"));
   EXPECT_THAT(refusal("configure no interface Ethernet1"),
               HasSubstr("is a port and is removed with its hardware"));
   EXPECT_EQ(refusal("configure interface Loopback98 create now"),
             "'now' after 'configure interface Loopback98 create', expected the end of the line");
   EXPECT_EQ(refusal("configure no interface"),
             "missing word after 'configure no interface', expected an interface's name as in Ethernet1");
}

TEST_F(ConfigureTest, vrfs) {
   run("configure vrf red");
   EXPECT_EQ(json("show vrf")["vrfs"], Json::array({{{"name", "default"}}, {{"name", "red"}}}));
   run("configure ip route 10.0.0.0/8 10.1.1.1 vrf red");
   EXPECT_EQ(refusal("configure no vrf red"), "VRF red cannot be removed, it has 1 IP route");
   run("configure no ip route 10.0.0.0/8 vrf red");
   run("configure no vrf red");
   EXPECT_EQ(json("show vrf")["vrfs"].size(), 1u);
   EXPECT_EQ(refusal("configure no vrf red"), "unknown VRF red");
   EXPECT_THAT(refusal("configure vrf \"two words\""), HasSubstr("VRF name 'two words', expected"));
   EXPECT_EQ(refusal("configure vrf \"\""), "'' after 'configure vrf', expected a VRF's name");
   EXPECT_EQ(refusal("configure vrf"), "missing word after 'configure vrf', expected a VRF's name");
}

TEST_F(ConfigureTest, routesAreSetAndRemoved) {
   run("configure ip route 10.1.0.0/16 10.0.0.1 interface Ethernet1");
   run("configure ip route 10.1.0.0/16 10.0.0.1 interface Ethernet2");
   run("configure ip route 10.1.0.0/16 10.0.0.2");
   EXPECT_EQ(route("10.1.0.0/16")["vias"].size(), 3u);
   run("configure no ip route 10.1.0.0/16 10.0.0.1 interface Ethernet1");
   EXPECT_EQ(route("10.1.0.0/16")["vias"].size(), 2u);
   run("configure no ip route 10.1.0.0/16 10.0.0.1");
   EXPECT_EQ(route("10.1.0.0/16")["vias"].size(), 1u);
   run("configure no ip route 10.1.0.0/16 10.0.0.2");
   EXPECT_EQ(routeCount(), 0u) << "a route goes with its last hop";

   run("configure ip route 10.1.0.0/16 10.0.0.1");
   run("configure ip route 10.1.0.0/16 10.0.0.1 preference 9");
   run("configure no ip route 10.1.0.0/16 preference 9");
   EXPECT_EQ(routeCount(), 1u);
   EXPECT_EQ(refusal("configure no ip route 10.1.0.0/16 preference 9"),
             "route 10.1.0.0/16 with preference 9 does not exist in VRF 'default'");
   EXPECT_EQ(refusal("configure no ip route 10.1.0.0/16 10.9.9.9"), "route 10.1.0.0/16 has no via 10.9.9.9");
   run("configure no ip route 10.1.0.0/16");
   EXPECT_EQ(routeCount(), 0u);
}

TEST_F(ConfigureTest, repeatingARouteChangesNothingAndKeepsItsTag) {
   run("configure ip route 10.1.0.0/16 10.0.0.1 tag 7");
   run("configure ip route 10.1.0.0/16 10.0.0.1");
   run("configure ip route 10.1.0.0/16 10.0.0.2");
   EXPECT_EQ(route("10.1.0.0/16")["tag"], 7);
   EXPECT_EQ(route("10.1.0.0/16")["vias"].size(), 2u);
   run("configure ip route 10.2.0.0/16 nexthop-group one");
   run("configure ip route 10.2.0.0/16 nexthop-group two");
   EXPECT_EQ(route("10.2.0.0/16")["vias"], Json::array({{{"nexthop_group", "two"}}}));
   run("configure vrf red");
   run("configure ip route 10.2.0.0/16 nexthop-group one vrf red");
   run("configure ip route 10.2.0.0/16 nexthop-group two vrf red");
   EXPECT_EQ(route("10.2.0.0/16", " vrf red")["vias"], Json::array({{{"nexthop_group", "two"}}}));
}

TEST_F(ConfigureTest, aRefusedViaLeavesTheRouteAsItWas) {
   EXPECT_THAT(refusal("configure ip route 10.1.0.0/16 10.0.0.1 interface Ethernet99"),
               HasSubstr("Ethernet99"));
   EXPECT_EQ(routeCount(), 0u);
   run("configure ip route 10.1.0.0/16 10.0.0.1 tag 7");
   const auto before = route("10.1.0.0/16");
   EXPECT_NE(refusal("configure ip route 10.1.0.0/16 10.0.0.1 interface Ethernet99 tag 8"), "");
   EXPECT_EQ(route("10.1.0.0/16"), before);
   EXPECT_NE(refusal("configure ip route 10.1.0.0/16 nexthop-group one tag 8"), "");
   EXPECT_EQ(route("10.1.0.0/16"), before);
   run("configure ip route 10.2.0.0/16 drop");
   const auto dropped = route("10.2.0.0/16");
   EXPECT_NE(refusal("configure ip route 10.2.0.0/16 10.0.0.1 interface Ethernet99"), "");
   EXPECT_EQ(route("10.2.0.0/16"), dropped);
   EXPECT_EQ(refusal("configure ip route 10.9.0.0/16 10.0.0.1 vrf red"), "unknown VRF red");
}

TEST_F(ConfigureTest, routeRefusals) {
   EXPECT_EQ(
        refusal("configure ip route"),
        "missing word after 'configure ip route', expected a prefix with no bit set behind its length, as in "
        "10.0.0.0/8 or 2001:db8::/32");
   EXPECT_EQ(
        refusal("configure ip route 10.0.0.0/8"),
        "missing word after 'configure ip route 10.0.0.0/8', expected a nexthop's address, interface NAME, "
        "nexthop-group NAME or drop");
   EXPECT_EQ(refusal("configure ip route 10.0.0.0/8 10.0.0.300"),
             "'10.0.0.300' after 'configure ip route 10.0.0.0/8', expected an IP address as in 10.0.0.1 or "
             "2001:db8::1");
   EXPECT_EQ(
        refusal("configure ip route 10.0.0.0/8 10.0.0.1 colour red"),
        "'colour' after 'configure ip route 10.0.0.0/8 10.0.0.1', expected one of interface, label, weight, "
        "metric, preference, tag, vrf, each once");
   EXPECT_THAT(refusal("configure ip route 10.0.0.0/8 10.0.0.1 tag 1 tag 2"), HasSubstr("each once"));
   EXPECT_EQ(
        refusal("configure ip route 10.0.0.0/8 10.0.0.1 preference 256"),
        "'256' after 'configure ip route 10.0.0.0/8 10.0.0.1 preference', expected a preference (0 to 255)");
   EXPECT_EQ(
        refusal("configure ip route 10.0.0.0/8 10.0.0.1 label 1048576"),
        "'1048576' after 'configure ip route 10.0.0.0/8 10.0.0.1 label', expected a label (0 to 1048575)");
   EXPECT_THAT(refusal("configure ip route 10.0.0.0/8 drop vrf red"),
               HasSubstr("expected one of preference, tag"));
   EXPECT_THAT(refusal("configure ip route 10.0.0.0/8 nexthop-group g weight 2"),
               HasSubstr("expected one of"));
   EXPECT_EQ(routeCount(), 0u);
}

TEST_F(ConfigureTest, nexthopGroups) {
   run("configure nexthop-group g entry 0 nexthop 10.0.0.1");
   run("configure nexthop-group g entry 5 nexthop 2001:db8::1 interface Ethernet1 push 16 17 18");
   auto entries = json("show nexthop-group g")["entries"];
   EXPECT_EQ(entries.size(), 2u);
   EXPECT_EQ(entries[1]["entry"], 5);
   EXPECT_EQ(entries[1]["labels"], Json::array({16, 17, 18}));
   run("configure nexthop-group g entry 5 nexthop 10.0.0.5");
   EXPECT_FALSE(json("show nexthop-group g")["entries"][1].contains("labels"));
   run("configure no nexthop-group g entry 0");
   EXPECT_EQ(json("show nexthop-group g")["entries"].size(), 1u);
   EXPECT_EQ(refusal("configure no nexthop-group g entry 0"), "nexthop group 'g' has no entry 0");
   run("configure no nexthop-group g");
   EXPECT_EQ(refusal("configure no nexthop-group g"), "nexthop group 'g' does not exist");

   EXPECT_EQ(refusal("configure nexthop-group g"),
             "missing word after 'configure nexthop-group g', expected entry N nexthop ADDRESS");
   EXPECT_EQ(refusal("configure nexthop-group g slot"),
             "'slot' after 'configure nexthop-group g', expected entry N nexthop ADDRESS");
   EXPECT_EQ(refusal("configure nexthop-group g entry 65536 nexthop 10.0.0.1"),
             "'65536' after 'configure nexthop-group g entry', expected an entry's number (0 to 65535)");
   EXPECT_EQ(refusal("configure nexthop-group g entry 0 10.0.0.1"),
             "'10.0.0.1' after 'configure nexthop-group g entry 0', expected nexthop ADDRESS");
   EXPECT_EQ(refusal("configure nexthop-group g entry 0 nexthop 10.0.0.1 push"),
             "missing word after 'configure nexthop-group g entry 0 nexthop 10.0.0.1 push', expected a label "
             "(0 to "
             "1048575)");
   EXPECT_THAT(refusal("configure nexthop-group g entry 0 nexthop 10.0.0.1 interface Ethernet99"),
               HasSubstr("Ethernet99"));
   EXPECT_EQ(refusal("show nexthop-group g"), "nexthop group 'g' does not exist");
}

TEST_F(ConfigureTest, agentOptions) {
   run("configure agent option shape round and flat");
   EXPECT_EQ(json("show agent status")["options"],
             Json::array({{{"name", "colour"}, {"value", "green"}},
                          {{"name", "shape"}, {"value", "round and flat"}}}));
   run("configure no agent option colour");
   EXPECT_EQ(json("show agent status")["options"].size(), 1u);
   run("set agent option size large");
   EXPECT_EQ(json("show agent status")["options"].size(), 2u);
   run("unset agent option size");
   EXPECT_EQ(json("show agent status")["options"].size(), 1u);
   EXPECT_EQ(refusal("set agent option size"),
             "missing word after 'set agent option size', expected the option's value");
   EXPECT_EQ(refusal("configure agent option shape"),
             "missing word after 'configure agent option shape', expected the option's value");
   EXPECT_EQ(refusal("configure agent option"),
             "missing word after 'configure agent option', expected an option's name");
}

TEST_F(ConfigureTest, configurationSurvivesARestart) {
   run("configure vrf red");
   run("configure interface Ethernet1 shutdown");
   run("configure interface Ethernet2 description K\xc3\xb6ln");
   run("configure nexthop-group g entry 3 nexthop 10.0.0.1 interface Ethernet2 push 16");
   run("configure ip route 10.1.0.0/16 nexthop-group g tag 7");
   run("configure ip route 10.2.0.0/16 10.0.0.9 vrf red");
   run("set link Ethernet3 down");
   run("configure agent option shape round");
   const auto groups = json("show nexthop-group g")["entries"];
   const auto routes = json("show ip route");
   stop();
   start();
   EXPECT_EQ(json("show vrf")["vrfs"].size(), 2u);
   EXPECT_EQ(json("show agent status")["options"][1]["value"], "round");
   EXPECT_EQ(intf("Ethernet1")["admin"], "down");
   EXPECT_EQ(intf("Ethernet2")["description"], "K\xc3\xb6ln");
   EXPECT_EQ(intf("Ethernet3")["link"], "up");
   EXPECT_EQ(json("show nexthop-group g")["entries"][0]["labels"], groups[0]["labels"]);
   EXPECT_EQ(json("show ip route"), routes);
   EXPECT_EQ(json("show ip route vrf red")["ip_routes"].size(), 1u);
}

}  // namespace
}  // namespace softswitch::console
