#include "softswitch/lookup/redirects.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string>

#include "softswitch/lookup/lookup.h"
#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using Overrides = CbfNhgExt::CbfNhgOverrideConfig;

orv::policy_map_key_t pbr(const std::string& name) {
   return {name, orv::policy_feature_t::pbr};
}
orv::acl_key_t v4(const std::string& name) {
   return {name + "_IPv4", orv::acl_type_t::ipv4};
}
orv::acl_key_t v6(const std::string& name) {
   return {name + "_IPv6", orv::acl_type_t::ipv6};
}

class RedirectsTest : public SwitchFixture {
protected:
   // "" when the packet is not redirected.
   std::string of(const std::string& group, std::uint8_t dscp, std::string_view destination = "10.0.0.1") {
      const auto found = redirect(group, dscp, destination);
      return found ? found->group : "";
   }
   std::optional<Redirect> redirect(const std::string& group, std::uint8_t dscp,
                                    std::string_view destination = "10.0.0.1") {
      return Redirects(sw().policyMaps(), sw().classMaps(), sw().acls(), overrides_)
           .find(group, dscp, orv::ip_addr_t(destination));
   }
   static orv::acl_rule_ip_t rule(const std::string& group, unsigned value, unsigned mask) {
      orv::acl_rule_ip_t made;
      made.action_is(orv::acl_action_t::permit);
      made.nexthop_group_is(group);
      made.priority_value_is(static_cast<std::uint8_t>(value));
      made.priority_mask_is(static_cast<std::uint8_t>(mask));
      made.match_ip_priority_is(true);
      return made;
   }
   void lists(const std::string& name, const std::string& group, std::initializer_list<unsigned> ipv4,
              std::initializer_list<unsigned> ipv6) {
      unsigned seq = 0;
      for (const unsigned dscp : ipv4)
         sw().acls().acl_rule_set(v4(name), ++seq, rule(group, dscp, 0x3f));
      seq = 0;
      for (const unsigned dscp : ipv6)
         sw().acls().acl_rule_set(v6(name), ++seq, rule(group, dscp << 2, 0xfc));
      sw().acls().acl_commit();
   }
   void classMap(const std::string& name) {
      orv::class_map_t map(pbr(name));
      map.rule_set(1, orv::class_map_rule_t(v4(name)));
      map.rule_set(2, orv::class_map_rule_t(v6(name)));
      sw().classMaps().class_map_is(map);
   }
   void policyRule(const std::string& policy, std::uint32_t seq, const std::string& className,
                   const std::string& to) {
      orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
      action.nexthop_group_name_is(to);
      orv::policy_map_rule_t made(pbr(className));
      made.action_set(action);
      auto map = sw().policyMaps().exists(pbr(policy)) ? sw().policyMaps().policy_map(pbr(policy))
                                                       : orv::policy_map_t(pbr(policy));
      map.rule_set(seq, made);
      sw().policyMaps().policy_map_is(map);
   }
   // Writes what a controller's redirect consists of: lists, a class map and a rule of the policy map.
   void redirect(std::uint32_t seq, const std::string& match, const std::string& to,
                 std::initializer_list<unsigned> ipv4, std::initializer_list<unsigned> ipv6) {
      const std::string name = match + "-" + to;
      lists(name, match, ipv4, ipv6);
      classMap(name);
      policyRule("cbf", seq, name, to);
   }
   void override(const std::string& match, const std::string& to, std::initializer_list<unsigned> dscps) {
      if (!overrides_) overrides_ = Pavo::makePtr<Overrides>("nhgOverride", std::size_t{4});
      CbfNhgExt::CbfNhgOverrideEntry entry;
      entry.key.match.nhgNameIs(match);
      entry.key.redirect.nhgNameIs(to);
      for (const unsigned dscp : dscps)
         entry.dscps.dscpIs(static_cast<std::uint8_t>(dscp));
      overrides_->nhgOverrideIs(entry);
   }

   Redirects::Overrides overrides_;
};

TEST_F(RedirectsTest, aRuleTakesItsDscpsOfItsFamilyForItsGroup) {
   redirect(3, "a", "b", {10, 46}, {46, 0});
   EXPECT_EQ(of("a", 46), "b");
   EXPECT_EQ(of("a", 10), "b");
   EXPECT_EQ(of("a", 11), "");
   EXPECT_EQ(of("a", 0), "");
   EXPECT_EQ(of("b", 46), "");
   EXPECT_EQ(of("a", 46, "2001:db8::1"), "b");
   EXPECT_EQ(of("a", 0, "2001:db8::1"), "b");
   EXPECT_EQ(of("a", 10, "2001:db8::1"), "");
   EXPECT_EQ(redirect("a", 46)->by, "policy map cbf rule 3, class map a-b, ACL a-b_IPv4 rule 2");
   EXPECT_EQ(redirect("a", 46, "2001:db8::1")->by,
             "policy map cbf rule 3, class map a-b, ACL a-b_IPv6 rule 1");
}

TEST_F(RedirectsTest, withoutAnAddressTheListsOfBothFamiliesCount) {
   redirect(1, "a", "b", {10}, {46});
   EXPECT_EQ(of("a", 10, ""), "b");
   EXPECT_EQ(of("a", 46, ""), "b");
   EXPECT_EQ(of("a", 11, ""), "");
}

TEST_F(RedirectsTest, theFirstRuleThatTakesThePacketDecides) {
   redirect(7, "a", "late", {1, 2}, {});
   redirect(5, "a", "early", {1}, {});
   EXPECT_EQ(of("a", 1), "early");
   EXPECT_EQ(of("a", 2), "late");
   // Policy maps apply in the order of their names.
   policyRule("before", 9, "a-late", "other");
   EXPECT_EQ(of("a", 1), "other");
}

TEST_F(RedirectsTest, onlyWhatListsHaveCommittedCounts) {
   redirect(1, "a", "b", {1}, {});
   sw().acls().acl_rule_set(v4("a-b"), 2, rule("a", 2, 0x3f));
   sw().acls().acl_rule_del(v4("a-b"), 1);
   EXPECT_EQ(of("a", 1), "b");
   EXPECT_EQ(of("a", 2), "");
   sw().acls().acl_commit();
   EXPECT_EQ(of("a", 1), "");
   EXPECT_EQ(of("a", 2), "b");
}

TEST_F(RedirectsTest, aLayerThatIsMissingLeavesTheTrafficAlone) {
   redirect(1, "a", "b", {1}, {});
   sw().classMaps().class_map_del(pbr("a-b"));
   EXPECT_EQ(of("a", 1), "");
   classMap("a-b");
   EXPECT_EQ(of("a", 1), "b");
   sw().policyMaps().policy_map_del(pbr("cbf"));
   EXPECT_EQ(of("a", 1), "");
}

TEST_F(RedirectsTest, policyRoutingThatIsNotAboutAGroupIsNoRedirect) {
   lists("a-b", "", {1}, {});
   classMap("a-b");
   policyRule("cbf", 1, "a-b", "b");
   EXPECT_EQ(of("a", 1), "");
   // None of these redirects: a map that is missing, an action without a group, a rule that matches on more
   // fields than the lookup knows.
   redirect(2, "x", "y", {1}, {});
   auto map = sw().policyMaps().policy_map(pbr("cbf"));
   sw().policyMaps().policy_map_del(pbr("cbf"));
   EXPECT_EQ(of("x", 1), "");
   auto drop = map.rules().at(2);
   drop.actions_is({orv::policy_map_action_t(orv::policy_action_type_t::drop)});
   map.rule_set(2, drop);
   sw().policyMaps().policy_map_is(map);
   EXPECT_EQ(of("x", 1), "");
   policyRule("cbf", 2, "x-y", "y");
   EXPECT_EQ(of("x", 1), "y");
   auto tcp = rule("x", 1, 0x3f);
   tcp.ip_protocol_is(6);
   sw().acls().acl_rule_set(v4("x-y"), 1, tcp);
   sw().acls().acl_commit();
   EXPECT_EQ(of("x", 1), "");
}

TEST_F(RedirectsTest, aRuleThatDeniesKeepsThePacketFromTheOnesBehindIt) {
   redirect(1, "a", "b", {1, 1}, {});
   auto deny = rule("a", 1, 0x3f);
   deny.action_is(orv::acl_action_t::deny);
   sw().acls().acl_rule_set(v4("a-b"), 1, deny);
   sw().acls().acl_commit();
   EXPECT_EQ(of("a", 1), "");
   // Denied for some destinations only.
   deny.destination_addr_is(orv::ip_addr_mask_t(address("10.0.0.99"), 28));
   sw().acls().acl_rule_set(v4("a-b"), 1, deny);
   sw().acls().acl_commit();
   EXPECT_EQ(of("a", 1, "10.0.0.111"), "");
   EXPECT_EQ(of("a", 1, "10.0.0.112"), "b");
   EXPECT_EQ(of("a", 1, ""), "b");
}

TEST_F(RedirectsTest, aRuleWithoutADscpTakesEveryOne) {
   redirect(1, "a", "b", {1}, {});
   auto any = rule("a", 9, 0x3f);
   any.match_ip_priority_is(false);
   sw().acls().acl_rule_set(v4("a-b"), 1, any);
   sw().acls().acl_commit();
   EXPECT_EQ(of("a", 63), "b");
}

TEST_F(RedirectsTest, theOverrideTableStandsBehindThePolicyMaps) {
   EXPECT_EQ(of("a", 1), "");
   override("a", "b", {1, 63});
   EXPECT_EQ(of("a", 1), "b");
   EXPECT_EQ(of("a", 63, "2001:db8::1"), "b");
   EXPECT_EQ(of("a", 2), "");
   EXPECT_EQ(of("b", 1), "");
   EXPECT_EQ(redirect("a", 1)->by, "override table");
   redirect(1, "a", "c", {1}, {});
   EXPECT_EQ(of("a", 1), "c");
   EXPECT_EQ(of("a", 63), "b");
}

TEST_F(RedirectsTest, aPairThatAPolicyMapHasIsNotTakenFromTheTableOfTheOtherFamily) {
   redirect(1, "a", "b", {46}, {});
   override("a", "b", {46});
   EXPECT_EQ(of("a", 46), "b");
   EXPECT_EQ(of("a", 46, "2001:db8::1"), "");
   sw().policyMaps().policy_map_del(pbr("cbf"));
   EXPECT_EQ(of("a", 46, "2001:db8::1"), "b");
}

TEST_F(RedirectsTest, aLookUpFollowsTheRedirectWhileItsGroupIsActive) {
   setGroup("a");
   sw().nexthopGroups().nexthop_group_set(group("b", "Ethernet2"));
   setRoute("10.0.0.0/8", "a");
   redirect(1, "a", "b", {46}, {});
   // Only one redirect applies: what was redirected to b is not redirected again.
   redirect(2, "b", "a", {46}, {});
   settle();
   const auto look = [&](std::uint8_t dscp) {
      return lookUp(sw(), {.label = {}, .vrf = "default", .destination = address("10.0.0.1"), .dscp = dscp});
   };
   EXPECT_EQ(look(0).group, "a");
   const auto redirected = look(46);
   EXPECT_EQ(redirected.groupOfRoute, "a");
   EXPECT_EQ(redirected.group, "b");
   EXPECT_TRUE(redirected.redirectInForce);
   EXPECT_EQ(redirected.waysOut.at(0).intf, orv::intf_id_t("Ethernet2"));
   EXPECT_EQ(redirected.steps.at(1),
             "DSCP 46: redirected from a to b by policy map cbf rule 1, class map a-b, ACL a-b_IPv4 rule 1");

   sw().intfs().linkIs(orv::intf_id_t("Ethernet2"), false);
   settle();
   const auto idle = look(46);
   EXPECT_EQ(idle.group, "a");
   EXPECT_EQ(idle.redirect->group, "b");
   EXPECT_FALSE(idle.redirectInForce);
   EXPECT_EQ(idle.steps.at(1),
             "DSCP 46: redirected from a to b by policy map cbf rule 1, class map a-b, ACL a-b_IPv4 rule 1; "
             "not in force, nexthop group b is not active");
   // The redirect is in force although the route's own group has failed.
   sw().intfs().linkIs(orv::intf_id_t("Ethernet2"), true);
   sw().intfs().linkIs(orv::intf_id_t("Ethernet1"), false);
   settle();
   EXPECT_EQ(look(0).result, LookupResult::drop);
   EXPECT_EQ(look(46).result, LookupResult::forward);
}

TEST_F(RedirectsTest, trafficOfALabelIsRedirectedTooAndTheMountedTableIsRead) {
   setGroup("a");
   setGroup("b");
   orv::mpls_route_via_t via(orv::mpls_route_key_t(orv::mpls_label_t(100), 0), orv::mpls_action_t::pop);
   via.nexthop_group_is("a");
   sw().mplsRoutes().mpls_route_set(orv::mpls_route_t(via.route_key()));
   sw().mplsRoutes().mpls_route_via_set(via);
   settle();
   const auto look = [&](std::uint8_t dscp) {
      return lookUp(sw(), {.label = orv::mpls_label_t(100), .vrf = "", .destination = {}, .dscp = dscp});
   };
   EXPECT_EQ(look(46).group, "a");
   auto mount = sw().mounts().state()->mount(Overrides::mountPath, Tessel::MountMode::write);
   override("a", "b", {46});
   mount.entityIs(overrides_);
   EXPECT_EQ(look(46).group, "b");
   EXPECT_EQ(look(45).group, "a");
}

}  // namespace
}  // namespace softswitch
