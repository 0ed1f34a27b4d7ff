#include "OrvSdkRpc/types/PolicyMap.h"

#include "Conversions.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "testing/values/GeneratePolicy.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(PolicyMapTest, fieldsGoWhereTheyBelong) {
   const auto message = parsed<remote::PolicyMap>(R"(
      key { name: "p" feature: POLICY_FEATURE_QOS }
      rules { key: 70000 value {
         class_map_key { name: "c" feature: POLICY_FEATURE_QOS }
         policy_map_rule_type: POLICY_MAP_RULE_TYPE_RAW
         raw_rule { ip_protocol: 6 }
         actions { action_type: POLICY_ACTION_TYPE_NEXTHOP_GROUP nexthop_group_name: "g" vrf: "v"
                   nexthops: "\012\000\000\001" nexthops: "\012\000\000\002" dscp: 255 traffic_class: 254 } } })");
   const orv::policy_map_t map = convert(message);
   EXPECT_EQ(map.key(), orv::policy_map_key_t("p", orv::policy_feature_t::qos));
   const orv::policy_map_rule_t& rule = map.rules().at(70000);
   EXPECT_EQ(rule.class_map_key(), orv::policy_map_key_t("c", orv::policy_feature_t::qos));
   EXPECT_EQ(rule.policy_map_rule_type(), orv::policy_map_rule_type_t::raw);
   EXPECT_EQ(rule.raw_rule().ip_protocol(), 6);
   ASSERT_EQ(rule.actions().size(), 1U);
   const orv::policy_map_action_t& action = *rule.actions().begin();
   EXPECT_EQ(action.action_type(), orv::policy_action_type_t::nexthop_group);
   EXPECT_EQ(action.nexthop_group_name(), "g");
   EXPECT_EQ(action.vrf(), "v");
   EXPECT_EQ(action.nexthops(),
             (std::unordered_set<orv::ip_addr_t>{orv::ip_addr_t("10.0.0.1"), orv::ip_addr_t("10.0.0.2")}));
   EXPECT_EQ(action.dscp(), 255);
   EXPECT_EQ(action.traffic_class(), 254);
}

TEST(PolicyMapTest, nothingGivenIsADefaultMap) {
   EXPECT_EQ(convert(remote::PolicyMap()), orv::policy_map_t());
   EXPECT_EQ(convert(remote::PolicyMapRule()), orv::policy_map_rule_t());
   EXPECT_EQ(convert(remote::PolicyMapAction()), orv::policy_map_action_t());
}

TEST(PolicyMapTest, equalActionsFoldIntoOne) {
   const auto rule = parsed<remote::PolicyMapRule>(R"(
      actions { action_type: POLICY_ACTION_TYPE_DROP } actions { action_type: POLICY_ACTION_TYPE_DROP })");
   EXPECT_EQ(convert(rule).actions().size(), 1U);
   EXPECT_EQ(convert(convert(rule)).actions_size(), 1);
}

TEST(PolicyMapTest, actionsWhoseNexthopsDifferInOrderAndNumberAloneFoldIntoOne) {
   const auto rule = parsed<remote::PolicyMapRule>(R"(
      actions { nexthops: "\012\000\000\001" nexthops: "\012\000\000\002" }
      actions { nexthops: "\012\000\000\002" nexthops: "\012\000\000\001" nexthops: "\012\000\000\002" })");
   const orv::policy_map_rule_t converted = convert(rule);
   ASSERT_EQ(converted.actions().size(), 1U);
   EXPECT_EQ(converted.actions().begin()->nexthops().size(), 2U);
}

TEST(PolicyMapTest, aRuleTypeLeftOutIsTheSdksDefaultButZeroIsRefused) {
   remote::PolicyMapRule rule;
   EXPECT_EQ(convert(rule).policy_map_rule_type(), orv::policy_map_rule_t().policy_map_rule_type());
   rule.set_policy_map_rule_type(remote::POLICY_MAP_RULE_TYPE_UNSPECIFIED);
   EXPECT_EQ(refusalOf([&] { convert(rule); }), invalidArgument("Unknown value for policy map rule type: 0"));
   // Towards the wire it is always present.
   EXPECT_TRUE(convert(orv::policy_map_rule_t()).has_policy_map_rule_type());
}

TEST(PolicyMapTest, theFirstBadFieldIsTold) {
   expectFirstIsTold<remote::PolicyMapAction>(
        {}, kConvert,
        {{[](auto& m) { m.set_action_type(static_cast<remote::PolicyActionType>(7)); },
          invalidArgument("Unknown value for policy action type: 7")},
         {[](auto& m) { m.add_nexthops("12345"); },
          invalidArgument("bytes length 5 does not match IPv4(4) or IPv6(16)")},
         {[](auto& m) { m.set_dscp(256); }, invalidArgument("dscp 256 is out of range")},
         {[](auto& m) { m.set_traffic_class(256); }, invalidArgument("traffic_class 256 is out of range")}});
   expectFirstIsTold<remote::PolicyMapRule>(
        {}, kConvert,
        {{[](auto& m) { m.mutable_class_map_key()->set_feature(static_cast<remote::PolicyFeature>(5)); },
          invalidArgument("Unknown value for policy feature: 5")},
         {[](auto& m) { m.set_policy_map_rule_type(static_cast<remote::PolicyMapRuleType>(4)); },
          invalidArgument("Unknown value for policy map rule type: 4")},
         {[](auto& m) { m.mutable_raw_rule()->set_vlan(65536); },
          invalidArgument("vlan 65536 is out of range")},
         {[](auto& m) { m.add_actions()->set_dscp(256); }, invalidArgument("dscp 256 is out of range")}});
   const auto badRule = [](std::uint32_t key, std::uint32_t vlan) {
      return [key, vlan](remote::PolicyMap& m) {
         (*m.mutable_rules())[key].mutable_raw_rule()->set_vlan(vlan);
      };
   };
   expectFirstIsTold<remote::PolicyMap>(
        {}, kConvert,
        {{[](auto& m) { m.mutable_key()->set_feature(static_cast<remote::PolicyFeature>(5)); },
          invalidArgument("Unknown value for policy feature: 5")},
         {badRule(1, 65536), invalidArgument("vlan 65536 is out of range")},
         {badRule(10, 65537), invalidArgument("vlan 65537 is out of range")},
         {badRule(4294967295U, 65538), invalidArgument("vlan 65538 is out of range")}});
}

TEST(PolicyMapTest, setsGoOutInTheSdksOrder) {
   orvtest::ValueSource source(7);
   orv::policy_map_rule_t rule;
   for (int i = 0; i < 20; ++i)
      rule.action_set(orvtest::generate<orv::policy_map_action_t>(source));
   const remote::PolicyMapRule message = convert(rule);
   ASSERT_EQ(static_cast<std::size_t>(message.actions_size()), rule.actions().size());
   int i = 0;
   for (const orv::policy_map_action_t& action : rule.actions()) {
      const remote::PolicyMapAction& wire = message.actions(i++);
      EXPECT_TRUE(same(wire, convert(action)));
      std::vector<std::string> nexthops;
      for (const orv::ip_addr_t& nexthop : action.nexthops())
         nexthops.push_back(OrvSdkRpc::types::ip_addr_bytes(nexthop));
      EXPECT_EQ(std::vector<std::string>(wire.nexthops().begin(), wire.nexthops().end()), nexthops);
   }
}

TEST(PolicyMapTest, whatTheWireDoesNotKnowIsRefused) {
   orv::policy_map_action_t action;
   action.nexthops_is({orv::ip_addr_t(5, nullptr)});
   EXPECT_EQ(refusalOf([&] { convert(action); }), invalidArgument("Unknown address family: 5"));
   EXPECT_EQ(refusalOf([] { convert(orv::policy_map_action_t(static_cast<orv::policy_action_type_t>(7))); }),
             invalidArgument("Unknown value for policy action type: 7"));
}

TEST(PolicyMapTest, hardwareStatusesAreAListOfPlacesAndOutcomes) {
   using Key = orv::policy_map_hw_status_key_t;
   orv::policy_map_hw_statuses_t statuses(orv::policy_map_key_t("p", orv::policy_feature_t::pbr));
   EXPECT_TRUE(same(convert(statuses), remote::PolicyMapHwStatuses()));
   statuses.intf_statuses_is(
        {{Key(orv::intf_id_t("Ethernet10"), orv::acl_direction_t::in), orv::policy_map_status_t::success},
         {Key(orv::intf_id_t("Ethernet2"), orv::acl_direction_t::out), orv::policy_map_status_t::unknown},
         {Key(orv::intf_id_t("Ethernet2"), orv::acl_direction_t::in), orv::policy_map_status_t::failure}});
   EXPECT_TRUE(same(convert(statuses), parsed<remote::PolicyMapHwStatuses>(R"(
      intf_statuses { key { intf_id { name: "Ethernet2" } direction: ACL_DIRECTION_IN } status: POLICY_MAP_STATUS_FAILURE }
      intf_statuses { key { intf_id { name: "Ethernet2" } direction: ACL_DIRECTION_OUT } status: POLICY_MAP_STATUS_UNKNOWN }
      intf_statuses { key { intf_id { name: "Ethernet10" } direction: ACL_DIRECTION_IN } status: POLICY_MAP_STATUS_SUCCESS })")));
}

TEST(PolicyMapTest, everyGeneratedHardwareStatusArrives) {
   for (std::uint64_t seed = 1; seed <= roundTripSeeds; ++seed) {
      orvtest::ValueSource source(seed);
      const auto statuses = orvtest::generate<orv::policy_map_hw_statuses_t>(source);
      std::map<orv::policy_map_hw_status_key_t, int> expected;
      for (const auto& [key, status] : statuses.intf_statuses())
         expected.emplace(key, static_cast<int>(status) + 1);
      std::map<orv::policy_map_hw_status_key_t, int> arrived;
      const remote::PolicyMapHwStatuses message = convert(statuses);
      for (const remote::PolicyMapStatusValue& value : message.intf_statuses()) {
         arrived.emplace(
              orv::policy_map_hw_status_key_t(orv::intf_id_t(value.key().intf_id().name()),
                                              static_cast<orv::acl_direction_t>(value.key().direction())),
              static_cast<int>(value.status()));
      }
      EXPECT_EQ(arrived, expected) << "seed " << seed;
   }
}

TEST(PolicyMapTest, aHardwareStatusThatTheWireDoesNotKnowIsRefused) {
   using Key = orv::policy_map_hw_status_key_t;
   orv::policy_map_hw_statuses_t statuses;
   statuses.intf_statuses_is({{Key(), static_cast<orv::policy_map_status_t>(4)}});
   EXPECT_EQ(refusalOf([&] { convert(statuses); }), invalidArgument("Unknown value for policy feature: 4"));
   statuses.intf_statuses_is({{Key(orv::intf_id_t(), static_cast<orv::acl_direction_t>(3)),
                               static_cast<orv::policy_map_status_t>(4)}});
   EXPECT_EQ(refusalOf([&] { convert(statuses); }), invalidArgument("Unknown value for Acl direction: 3"));
}

TEST(PolicyMapTest, roundTrips) {
   expectRoundTrips<orv::policy_map_t>(kConvert, kConvert);
   expectRoundTrips<orv::policy_map_rule_t>(kConvert, kConvert);
   expectRoundTrips<orv::policy_map_action_t>(kConvert, kConvert);
}

}  // namespace
