#include "softswitch/managers/fib_mgr.h"

#include <gmock/gmock.h>

#include <array>
#include <map>
#include <random>

#include "softswitch/managers/vrf_mgr.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Action = orv::ip_route_action_t;

class FibListener final : public orv::fib_handler {
public:
   using orv::fib_handler::fib_handler;
   void on_route_set(const orv::fib_route_t& route) override {
      heard.push_back("set " + route.route_key().prefix().to_string());
   }
   void on_route_del(const orv::fib_route_key_t& key) override {
      heard.push_back("del " + key.prefix().to_string());
   }
   void on_fec_set(const orv::fib_fec_t& fec) override {
      heard.push_back(fec.nexthop_group_name().empty() ? "fec set" : "fec set " + fec.nexthop_group_name());
   }
   void on_fec_del(const orv::fib_fec_key_t&) override { heard.push_back("fec del"); }
   std::vector<std::string> take() { return std::exchange(heard, {}); }
   std::vector<std::string> heard;
};

// What a client knows that only listens.
class FibFollower final : public orv::fib_handler {
public:
   using orv::fib_handler::fib_handler;
   void on_route_set(const orv::fib_route_t& route) override {
      // A FEC is there before the route that uses it.
      EXPECT_TRUE(route.fec_id() == 0 || fecs.contains(route.fec_id())) << route.route_key().prefix();
      routes[route.route_key().prefix().to_string()] = route;
   }
   void on_route_del(const orv::fib_route_key_t& key) override {
      EXPECT_EQ(routes.erase(key.prefix().to_string()), 1U) << key.prefix();
   }
   void on_fec_set(const orv::fib_fec_t& fec) override { fecs[fec.fec_key().fec_id()] = fec; }
   void on_fec_del(const orv::fib_fec_key_t& key) override {
      EXPECT_EQ(fecs.erase(key.fec_id()), 1U) << key.fec_id();
   }
   std::map<std::string, orv::fib_route_t> routes;
   std::map<std::uint64_t, orv::fib_fec_t> fecs;
};

class FibMgrTest : public SwitchFixture {
protected:
   orv::fib_mgr& fib() { return *sw().get_fib_mgr(orv::mgr_mode_type_t::resident); }
   bool inFib(std::string_view route) { return fib().fib_route_exists(fibKey(route)); }
   static orv::fib_route_key_t fibKey(std::string_view route) { return orv::fib_route_key_t(prefix(route)); }
   orv::fib_route_t fibRoute(std::string_view route) { return fib().fib_route(fibKey(route)); }
   std::vector<std::string> fibRoutes() {
      std::vector<std::string> result;
      for (auto it = fib().fib_route_iter(); it; ++it)
         result.push_back(it->route_key().prefix().to_string());
      return result;
   }
   void setHops(std::string_view route, std::string_view intf, std::uint8_t preference = 1) {
      const auto k = key(route, preference);
      sw().ipRoutes().ip_route_set(orv::ip_route_t(k));
      orv::ip_route_via_t via(k);
      via.hop_is(address("192.0.2.1"));
      via.intf_is(orv::intf_id_t(intf));
      via.mpls_label_is(orv::mpls_label_t(77));
      sw().ipRoutes().ip_route_via_set(via);
   }
   void linkIs(std::string_view intf, bool up) {
      sw().intfs().linkIs(orv::intf_id_t(intf), up);
      settle();
   }
};

TEST_F(FibMgrTest, aRouteIsThereBecauseItAndItsGroupWereProgrammedAndVanishesWithThem) {
   setRoute("10.0.0.0/8", "g");
   settle();
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   EXPECT_THAT(fibRoutes(), IsEmpty());
   EXPECT_THAT(listOf(fib().fib_fec_iter()), IsEmpty());
   setGroup("g");
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   settle();
   EXPECT_TRUE(inFib("10.0.0.0/8"));
   const auto route = fibRoute("10.0.0.0/8");
   EXPECT_EQ(route.route_key().prefix(), prefix("10.0.0.0/8"));
   EXPECT_EQ(route.route_type(), orv::fib_route_type_t::nexthop_group);
   EXPECT_EQ(route.preference(), 1);
   ASSERT_NE(route.fec_id(), 0u);
   const orv::fib_fec_key_t fecKey(route.fec_id());
   EXPECT_TRUE(fib().fib_fec_exists(fecKey));
   const auto fec = fib().fib_fec(fecKey);
   EXPECT_EQ(fec.fec_type(), orv::fib_fec_type_t::nexthop_group);
   EXPECT_EQ(fec.nexthop_group_name(), "g");
   EXPECT_THAT(fec.via(), ElementsAre(orv::fib_via_t(address("192.0.2.1"), orv::intf_id_t("Ethernet1"))));
   EXPECT_THAT(listOf(fib().fib_fec_iter()), ElementsAre(fec));
   // The group's kind stands in the top byte.
   EXPECT_EQ(route.fec_id() >> 56, 3u);
   sw().nexthopGroups().nexthop_group_del("g");
   settle();
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   EXPECT_FALSE(fib().fib_fec_exists(fecKey));
   EXPECT_EQ(fib().fib_fec(fecKey), orv::fib_fec_t());
   EXPECT_EQ(fibRoute("10.0.0.0/8"), orv::fib_route_t());
   setGroup("g");
   settle();
   EXPECT_TRUE(inFib("10.0.0.0/8"));
   sw().ipRoutes().ip_route_del(key("10.0.0.0/8"));
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   settle();
   EXPECT_THAT(fibRoutes(), IsEmpty());
   EXPECT_EQ(listOf(fib().fib_fec_iter()).size(), 1u);
}

TEST_F(FibMgrTest, eventsComeInAnOrderThatCanBeFollowed) {
   FibListener listener(&fib());
   setGroup("g");
   setRoute("10.0.0.0/8", "g");
   EXPECT_THAT(listener.heard, IsEmpty());
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("fec set g", "set 10.0.0.0/8"));
   setRoute("11.0.0.0/8", "late");
   settle();
   EXPECT_THAT(listener.take(), IsEmpty());
   setGroup("late");
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("fec set late", "set 11.0.0.0/8"));
   setGroup("g");
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("fec set g"));
   sw().nexthopGroups().nexthop_group_del("g");
   settle();
   EXPECT_THAT(listener.take(), testing::UnorderedElementsAre("del 10.0.0.0/8", "fec del"));
   sw().ipRoutes().ip_route_del(key("11.0.0.0/8"));
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("del 11.0.0.0/8"));
   // The removal of a route that never entered the FIB causes no event.
   sw().ipRoutes().ip_route_del(key("10.0.0.0/8"));
   settle();
   EXPECT_THAT(listener.take(), IsEmpty());
}

TEST_F(FibMgrTest, aManagerOnDemandHasNoEvents) {
   auto* manager = sw().get_fib_mgr(orv::mgr_mode_type_t::on_demand);
   EXPECT_FALSE(manager->events_enabled());
   FibListener listener(manager);
   setGroup("g");
   setRoute("10.0.0.0/8", "g");
   settle();
   EXPECT_THAT(listener.heard, IsEmpty());
   EXPECT_TRUE(manager->fib_route_exists(fibKey("10.0.0.0/8")));
   EXPECT_TRUE(fib().events_enabled());
}

TEST_F(FibMgrTest, aRouteWithHopsHasAFecOfItsOwnAndFollowsTheLink) {
   FibListener listener(&fib());
   setHops("10.0.0.0/8", "Ethernet1");
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("fec set", "set 10.0.0.0/8"));
   const orv::fib_fec_key_t fecKey(fibRoute("10.0.0.0/8").fec_id());
   orv::fib_via_t via(address("192.0.2.1"), orv::intf_id_t("Ethernet1"));
   via.mpls_label_is(orv::mpls_label_t(77));
   EXPECT_THAT(fib().fib_fec(fecKey).via(), ElementsAre(via));
   EXPECT_EQ(fib().fib_fec(fecKey).fec_type(), orv::fib_fec_type_t::forward);
   EXPECT_EQ(listOf(fib().fib_fec_iter()).size(), 1u);
   linkIs("Ethernet1", false);
   EXPECT_THAT(listener.take(), ElementsAre("del 10.0.0.0/8", "fec del"));
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   EXPECT_FALSE(fib().fib_fec_exists(fecKey));
   linkIs("Ethernet1", true);
   EXPECT_THAT(listener.take(), ElementsAre("fec set", "set 10.0.0.0/8"));
   // A port is removed while its link is up.
   sw().intfs().portDel(orv::intf_id_t("Ethernet1"));
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("del 10.0.0.0/8", "fec del"));
   sw().intfs().portAdd(orv::intf_id_t("Ethernet1"));
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("fec set", "set 10.0.0.0/8"));
   sw().ipRoutes().ip_route_via_del(orv::ip_route_via_t(key("10.0.0.0/8")));
   settle();
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   EXPECT_THAT(listener.take(), ElementsAre("del 10.0.0.0/8", "fec del"));
}

TEST_F(FibMgrTest, aRouteWithoutAFecOfItsOwnTakesNoFecAlong) {
   FibListener listener(&fib());
   setGroup("g");
   setRoute("10.0.0.0/8", "g");
   settle();
   listener.take();
   sw().ipRoutes().ip_route_via_del(groupVia("10.0.0.0/8", "g"));
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("del 10.0.0.0/8"));
}

TEST_F(FibMgrTest, aFecOfHopsGoesWhenTheRouteTakesAGroupInOneStep) {
   FibListener listener(&fib());
   setGroup("g");
   setHops("10.0.0.0/8", "Ethernet1");
   settle();
   listener.take();
   sw().ipRoutes().ip_route_via_del(orv::ip_route_via_t(key("10.0.0.0/8")));
   setRoute("10.0.0.0/8", "g");
   settle();
   EXPECT_THAT(listener.take(), ElementsAre("set 10.0.0.0/8", "fec del"));
}

// Random changes of routes, groups and links: a client that only listens knows what the lists say.
TEST_F(FibMgrTest, whoListensKnowsWhatTheListsSay) {
   FibFollower follower(&fib());
   std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same changes each time.
   const auto below = [&random](unsigned n) { return static_cast<unsigned>(random() % n); };
   const std::array<const char*, 3> prefixes{"10.0.0.0/8", "11.0.0.0/8", "2001:db8::/32"};
   const std::array<const char*, 2> groups{"g", "h"};
   const std::array<const char*, 2> intfs{"Ethernet1", "Ethernet2"};
   std::array<bool, 2> up{true, true};
   for (int step = 0; step < 1500; ++step) {
      const char* const route = prefixes[below(3)];
      const auto preference = static_cast<std::uint8_t>(1 + 2 * below(3));
      const char* const name = groups[below(2)];
      const unsigned intf = below(2);
      try {
         switch (below(8)) {
            case 0:
            case 1:
               setHops(route, intfs[intf], preference);
               break;
            case 2:
               setRoute(route, name);
               break;
            case 3:
               sw().ipRoutes().ip_route_via_del(orv::ip_route_via_t(key(route, preference)));
               break;
            case 4:
               sw().ipRoutes().ip_route_del(key(route, preference));
               break;
            case 5:
               sw().ipRoutes().ip_route_set(orv::ip_route_t(key(route, preference)), Action::drop);
               break;
            case 6:
               if (sw().nexthopGroups().exists(name)) {
                  sw().nexthopGroups().nexthop_group_del(name);
               } else {
                  setGroup(name);
               }
               break;
            default:
               sw().intfs().linkIs(orv::intf_id_t(intfs[intf]), up[intf] = !up[intf]);
               break;
         }
      } catch (const orv::invalid_argument_error&) {
         // A route with hops takes no group, and the reverse.
      }
      if (below(3) != 0) continue;
      settle();
      std::map<std::string, orv::fib_route_t> routes;
      for (const auto& each : listOf(fib().fib_route_iter()))
         routes[each.route_key().prefix().to_string()] = each;
      std::map<std::uint64_t, orv::fib_fec_t> fecs;
      for (const auto& each : listOf(fib().fib_fec_iter()))
         fecs[each.fec_key().fec_id()] = each;
      ASSERT_EQ(follower.routes, routes) << "step " << step;
      ASSERT_EQ(follower.fecs, fecs) << "step " << step;
   }
}

TEST_F(FibMgrTest, aRouteThatDropsHasNoFec) {
   sw().ipRoutes().ip_route_set(orv::ip_route_t(key("10.0.0.0/8")), Action::drop);
   settle();
   EXPECT_EQ(fibRoute("10.0.0.0/8").route_type(), orv::fib_route_type_t::drop);
   EXPECT_EQ(fibRoute("10.0.0.0/8").fec_id(), 0u);
}

TEST_F(FibMgrTest, aRouteWithoutViasIsNotInTheFib) {
   sw().ipRoutes().ip_route_set(orv::ip_route_t(key("10.0.0.0/8")));
   settle();
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   EXPECT_EQ(sw().ipRoutes().programmed(), 0u);
}

TEST_F(FibMgrTest, theSmallestPreferenceThatForwardsWins) {
   FibListener listener(&fib());
   setGroup("g");
   setHops("10.0.0.0/8", "Ethernet1", 5);
   settle();
   listener.take();
   EXPECT_EQ(fibRoute("10.0.0.0/8").preference(), 5);
   setHops("10.0.0.0/8", "Ethernet2", 3);
   settle();
   EXPECT_EQ(fibRoute("10.0.0.0/8").preference(), 3);
   EXPECT_THAT(fibRoutes(), ElementsAre("10.0.0.0/8"));
   EXPECT_THAT(listener.take(), ElementsAre("fec set", "set 10.0.0.0/8", "fec del"));
   // A third route that loses causes no event.
   setHops("10.0.0.0/8", "Ethernet3", 200);
   settle();
   EXPECT_THAT(listener.take(), IsEmpty());
   linkIs("Ethernet2", false);
   EXPECT_EQ(fibRoute("10.0.0.0/8").preference(), 5);
   linkIs("Ethernet2", true);
   EXPECT_EQ(fibRoute("10.0.0.0/8").preference(), 3);
   listener.take();
   sw().ipRoutes().ip_route_del(key("10.0.0.0/8", 3));
   settle();
   EXPECT_EQ(fibRoute("10.0.0.0/8").preference(), 5);
   const auto heard = listener.take();
   EXPECT_THAT(heard, testing::Contains("set 10.0.0.0/8"));
   EXPECT_THAT(heard, testing::Not(testing::Contains("del 10.0.0.0/8")));
   sw().ipRoutes().ip_route_del(key("10.0.0.0/8", 5));
   sw().ipRoutes().ip_route_del(key("10.0.0.0/8", 200));
   settle();
   EXPECT_EQ(listener.take().front(), "del 10.0.0.0/8");
   EXPECT_THAT(fibRoutes(), IsEmpty());
}

TEST_F(FibMgrTest, onlyTheDefaultVrfIsInTheFib) {
   sw().vrfs().vrfSet("red");
   setGroup("g");
   const orv::ip_route_t route(key("10.0.0.0/8"));
   sw().ipRoutes().ip_route_set(route, "red");
   sw().ipRoutes().ip_route_via_set(groupVia("10.0.0.0/8", "g"), "red");
   FibListener listener(&fib());
   settle();
   EXPECT_EQ(sw().ipRoutes().programmed(), 1u);
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   EXPECT_THAT(listener.take(), ElementsAre("fec set g"));
}

TEST_F(FibMgrTest, theFibIsThereAgainAfterARestart) {
   setGroup("g");
   for (int i = 0; i < 3000; ++i)
      setRoute(fmt::format("10.{}.{}.0/24", i / 256, i % 256), "g");
   setHops("11.0.0.0/8", "Ethernet1");
   restart();
   EXPECT_THAT(fibRoutes(), IsEmpty());
   settle();
   EXPECT_EQ(fibRoutes().size(), 3001u);
   EXPECT_EQ(listOf(fib().fib_fec_iter()).size(), 2u);
}

TEST_F(FibMgrTest, aGroupThatComesAndGoesTakesItsManyRoutesAlong) {
   for (int i = 0; i < 5000; ++i)
      setRoute(fmt::format("10.{}.{}.0/24", i / 256, i % 256), i % 2 != 0 ? "odd" : "even");
   setGroup("even");
   settle();
   FibListener listener(&fib());
   EXPECT_EQ(fibRoutes().size(), 2500u);
   setGroup("odd");
   settle();
   EXPECT_EQ(fibRoutes().size(), 5000u);
   EXPECT_EQ(listener.take().size(), 2501u);
   sw().nexthopGroups().nexthop_group_del("even");
   settle();
   EXPECT_EQ(fibRoutes().size(), 2500u);
   EXPECT_EQ(listener.take().size(), 2501u);
}

TEST_F(FibMgrTest, unknownFecsAreNotThere) {
   setGroup("g");
   settle();
   for (const std::uint64_t id :
        {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{1} << 56, (std::uint64_t{1} << 56) + 1,
         (std::uint64_t{1} << 56) + 0xffffffffffffu, std::uint64_t{3} << 56,
         (std::uint64_t{3} << 56) + 0xffffffffffffu, (std::uint64_t{4} << 56) + 1, ~std::uint64_t{0}})
      EXPECT_FALSE(fib().fib_fec_exists(orv::fib_fec_key_t(id))) << id;
}

}  // namespace
}  // namespace softswitch
