#include "orv/value.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "Regular.h"
#include "orv/acl_types.h"
#include "orv/fib_types.h"
#include "orv/intf.h"
#include "orv/ip_route_types.h"
#include "orv/mpls_route_types.h"
#include "orv/nexthop_group_types.h"
#include "orv/policy_map_types.h"
#include "orv/record_text.h"
#include "orv/sdk.h"

namespace {

using sdk_test::expectNamed;

// Clients see the numbers, so an added or removed member changes the API.
TEST(ValueTest, enumerationsHaveNamesForExactlyTheirMembers) {
   expectNamed<orv::acl_action_t>(2);
   expectNamed<orv::acl_direction_t>(2);
   expectNamed<orv::acl_ip_type_t>(2);
   expectNamed<orv::acl_range_operator_t>(6);
   expectNamed<orv::acl_type_t>(4);
   expectNamed<orv::ip_route_action_t>(3);
   expectNamed<orv::mpls_action_t>(4);
   expectNamed<orv::mpls_payload_type_t>(4);
   expectNamed<orv::mpls_ttl_mode_t>(2);
   expectNamed<orv::nexthop_group_encap_t>(5);
   expectNamed<orv::nexthop_group_gre_key_t>(1);
   expectNamed<orv::nexthop_group_counter_state_t>(2);
   expectNamed<orv::nexthop_group_programmed_hw_state_t>(2);
   expectNamed<orv::policy_action_type_t>(6);
   expectNamed<orv::policy_feature_t>(4);
   expectNamed<orv::policy_map_rule_type_t>(2);
   expectNamed<orv::policy_map_status_t>(3);
   expectNamed<orv::fib_fec_type_t>(7);
   expectNamed<orv::fib_route_type_t>(26);
   expectNamed<orv::bfd_session_status_t>(4);
   expectNamed<orv::oper_status_t>(2);
   expectNamed<orv::mgr_mode_type_t>(1);
}

TEST(ValueTest, anUnorderedSetCountsByWhatIsInIt) {
   std::unordered_set<std::string> forward;
   std::unordered_set<std::string> backward(1);
   for (int i = 0; i < 50; ++i) {
      forward.insert(std::to_string(i));
      backward.insert(std::to_string(49 - i));
   }
   EXPECT_EQ(orv::detail::hash_of(forward), orv::detail::hash_of(backward));
   EXPECT_EQ(orv::detail::text_of(forward), orv::detail::text_of(backward));
   backward.erase("7");
   EXPECT_NE(orv::detail::hash_of(forward), orv::detail::hash_of(backward));
   EXPECT_EQ(orv::detail::text_of(std::unordered_set<std::string>{"b", "a"}), "['a', 'b']");
   EXPECT_NE(orv::detail::hash_of(std::unordered_set<std::string>{}),
             orv::detail::hash_of(std::unordered_set<std::string>{""}));
}

TEST(ValueTest, fractionsCount) {
   EXPECT_NE(orv::detail::hash_of(0.25), orv::detail::hash_of(0.5));
   EXPECT_EQ(orv::detail::hash_of(0.0), orv::detail::hash_of(-0.0));
   EXPECT_EQ(orv::detail::text_of(0.25), "0.25");
}

TEST(ValueTest, numbersThatTheApiFixes) {
   EXPECT_EQ(static_cast<int>(orv::ip_route_action_t::nexthop_group), 3);
   EXPECT_EQ(static_cast<int>(orv::nexthop_group_encap_t::mpls), 3);
   EXPECT_EQ(static_cast<int>(orv::mpls_action_t::push), 1);
   EXPECT_EQ(static_cast<int>(orv::mpls_action_t::pop), 2);
   EXPECT_EQ(static_cast<int>(orv::mpls_action_t::swap), 3);
   EXPECT_EQ(static_cast<int>(orv::mpls_action_t::forward), 4);
   EXPECT_EQ(static_cast<int>(orv::acl_type_t::ipv4), 1);
   EXPECT_EQ(static_cast<int>(orv::acl_type_t::ipv6), 2);
   EXPECT_EQ(static_cast<int>(orv::acl_action_t::permit), 1);
   EXPECT_EQ(static_cast<int>(orv::policy_feature_t::pbr), 1);
   EXPECT_EQ(static_cast<int>(orv::policy_action_type_t::nexthop_group), 4);
   EXPECT_EQ(static_cast<int>(orv::bfd_session_status_t::down), 1);
   EXPECT_EQ(static_cast<int>(orv::bfd_session_status_t::up), 3);
   EXPECT_EQ(static_cast<int>(orv::oper_status_t::unknown), 0);
   EXPECT_EQ(static_cast<int>(orv::oper_status_t::down), 2);
   EXPECT_EQ(static_cast<int>(orv::mgr_mode_type_t::resident), 1);
}

TEST(ValueTest, enumerationsPrintInEveryWay) {
   sdk_test::expectText(orv::mpls_action_t::pop, "pop");
   sdk_test::expectText(static_cast<orv::mpls_action_t>(9), "9");
   sdk_test::expectText(orv::acl_range_operator_t::null_operator, "null");
   EXPECT_EQ(fmt::format("{:>6}", orv::mpls_action_t::pop), "   pop");
}

TEST(ValueTest, textFromOutsideIsMadeQuotable) {
   EXPECT_EQ(orv::detail::quotable("plain 'text'"), "plain 'text'");
   EXPECT_EQ(orv::detail::quotable(std::string_view("a\0b\n\x7f\xc3", 6)), "a\\x00b\\x0a\\x7f\\xc3");
   EXPECT_EQ(orv::detail::quotable(std::string(128, 'x')), std::string(128, 'x'));
   EXPECT_EQ(orv::detail::quotable(std::string(129, 'x')), std::string(128, 'x') + "...");
}

}  // namespace
