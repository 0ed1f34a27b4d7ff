#include "OrvSdkRpc/types/Enumerations.h"

#include <limits>
#include <set>

#include "Conversions.h"

namespace {

using namespace types_test;
namespace remote = orv::remote;

template <typename T>
concept Convertible = requires(T v) {
   OrvSdkRpc::types::convert(v);
};

// A row of the table, compared with the conversions. A direction that does not exist has no function.
struct Row {
   std::string wireName;
   // The wire's number by its index; the SDK's numbers that belong to it.
   int wireFirst = 0;
   std::vector<int> toSdk;
   std::vector<int> toWire;
   std::string words;
   std::string wordsToWire;
   Refusal (*refusal)(std::string) = nullptr;
   std::function<int(int)> sdkOf;
   std::function<int(int)> wireOf;
};

std::vector<int> rising(int first, int count) {
   std::vector<int> numbers;
   for (int i = 0; i < count; ++i)
      numbers.push_back(first + i);
   return numbers;
}

template <typename Wire, typename Sdk>
Row row(int wireFirst, std::vector<int> toSdk, std::vector<int> toWire, std::string words,
        Refusal (*refusal)(std::string)) {
   Row r{google::protobuf::GetEnumDescriptor<Wire>()->name(),
         wireFirst,
         std::move(toSdk),
         std::move(toWire),
         words,
         words,
         refusal,
         {},
         {}};
   if constexpr (Convertible<Wire>) {
      r.sdkOf = [](int number) {
         const auto sdk = OrvSdkRpc::types::convert(static_cast<Wire>(number));
         static_assert(std::same_as<decltype(sdk), const Sdk>);
         return static_cast<int>(sdk);
      };
   }
   if constexpr (Convertible<Sdk>) {
      r.wireOf = [](int number) {
         const auto wire = OrvSdkRpc::types::convert(static_cast<Sdk>(number));
         static_assert(std::same_as<decltype(wire), const Wire>);
         return static_cast<int>(wire);
      };
   }
   return r;
}

// The numbers 0 to `last` are the same on both sides.
template <typename Wire, typename Sdk>
Row sameNumbers(int last, std::string words, Refusal (*refusal)(std::string) = invalidArgument) {
   return row<Wire, Sdk>(0, rising(0, last + 1), rising(0, last + 1), std::move(words), refusal);
}

// The SDK's 0 to `last` are the wire's 1 to `last` + 1.
template <typename Wire, typename Sdk>
Row oneMore(int last, std::string words) {
   return row<Wire, Sdk>(1, rising(0, last + 1), rising(1, last + 1), std::move(words), invalidArgument);
}

std::vector<Row> rows() {
   auto programmedHwState =
        sameNumbers<remote::NexthopGroupProgrammedHwState, orv::nexthop_group_programmed_hw_state_t>(
             2, "Unknown value for NexthopGroupProgrammedHwState: {}");
   programmedHwState.wordsToWire = "Unknown value for nexthop_group_programmed_hw_state_t: {}";
   auto routeTypes = rising(0, 27);
   std::swap(routeTypes[0], routeTypes[4]);
   return {
        sameNumbers<remote::AclAction, orv::acl_action_t>(2, "Unknown value for Acl action: {}"),
        sameNumbers<remote::AclDirection, orv::acl_direction_t>(2, "Unknown value for Acl direction: {}"),
        oneMore<remote::AclIpType, orv::acl_ip_type_t>(2, "Unknown value for Acl IP type: {}"),
        sameNumbers<remote::AclRangeOperator, orv::acl_range_operator_t>(
             6, "Unknown value for Acl range operator: {}"),
        sameNumbers<remote::AclType, orv::acl_type_t>(4, "Unknown value for Acl type: {}"),
        sameNumbers<remote::IpRouteActions, orv::ip_route_action_t>(
             3, "Unknown value for ip_route_action_t: {}"),
        sameNumbers<remote::MacsecBypass, orv::macsec_bypass_t>(2, "Invalid macsec bypass {}"),
        sameNumbers<remote::MacsecCipherSuite, orv::macsec_cipher_suite_t>(4,
                                                                           "Invalid macsec cipher suite {}"),
        sameNumbers<remote::MacsecProfileTrafficPolicy, orv::macsec_profile_traffic_policy_t>(
             3, "Invalid macsec traffic policy {}"),
        oneMore<remote::MacsecIntfKeyStatus, orv::macsec_intf_key_status_t>(
             5, "Invalid Macsec intf key status {}"),
        oneMore<remote::MacsecIntfTrafficStatus, orv::macsec_intf_traffic_status_t>(
             2, "Invalid Macsec intf traffic status {}"),
        sameNumbers<remote::MplsActions, orv::mpls_action_t>(4, "Unknown value for mpls action: {}"),
        sameNumbers<remote::MplsPayloadType, orv::mpls_payload_type_t>(
             4, "Unknown value for mpls payload type: {}"),
        sameNumbers<remote::MplsTtlMode, orv::mpls_ttl_mode_t>(2, "Unknown value for mpls ttl mode: {}"),
        oneMore<remote::FecHwProgrammingState, Routing::Hardware::FecHwProgrammingState>(
             2, "Unknown value for FEC hw programming state: {}"),
        sameNumbers<remote::NexthopGroupEncapTypes, orv::nexthop_group_encap_t>(
             5, "Unknown value for nexthop_group_encap_t: {}"),
        sameNumbers<remote::NexthopGroupGreKeyTypes, orv::nexthop_group_gre_key_t>(
             1, "Unknown value for nexthop_group_gre_key_t {}"),
        sameNumbers<remote::NexthopGroupCounterState, orv::nexthop_group_counter_state_t>(
             2, "Unknown value for NexthopGroupCounterState: {}"),
        programmedHwState,
        row<remote::PoliceBurstUnit, orv::police_burst_unit_t>(
             0, {0, 0, 1, 2}, {1, 2, 3}, "Unknown value for police burst unit: {}", invalidArgument),
        row<remote::PoliceRateUnit, orv::police_rate_unit_t>(
             0, {0, 0, 1, 2, 3}, {1, 2, 3, 4}, "Unknown value for police rate unit: {}", invalidArgument),
        sameNumbers<remote::PolicyActionType, orv::policy_action_type_t>(
             6, "Unknown value for policy action type: {}"),
        sameNumbers<remote::PolicyFeature, orv::policy_feature_t>(4, "Unknown value for policy feature: {}"),
        oneMore<remote::PolicyMapRuleType, orv::policy_map_rule_type_t>(
             2, "Unknown value for policy map rule type: {}"),
        oneMore<remote::PolicyMapStatus, orv::policy_map_status_t>(3, "Unknown value for policy feature: {}"),
        oneMore<remote::TrafficPolicyActionType, orv::traffic_policy_action_type_t>(
             13, "Unknown value for traffic policy action type: {}"),
        sameNumbers<remote::TrafficPolicyDirection, orv::traffic_policy_direction_t>(
             1, "Unknown value for traffic policy direction: {}"),
        sameNumbers<remote::TrafficPolicyRuleType, orv::traffic_policy_rule_type_t>(
             2, "Unknown value for traffic policy rule type: {}"),
        sameNumbers<remote::BgpPeerState, orv::bgp_peer_state_t>(6, "invalid peer state {}", unsupported),
        sameNumbers<remote::EthLagIntfFallbackType, orv::eth_lag_intf_fallback_type_t>(
             3, "unknown fallback type {}", unsupported),
        sameNumbers<remote::EthLagIntfMemberLacpMode, orv::eth_lag_intf_member_lacp_mode_t>(
             3, "unknown LACP member mode {}", unsupported),
        sameNumbers<remote::EthLagIntfMemberLacpTimeout, orv::eth_lag_intf_member_lacp_timeout_t>(
             2, "unknown LACP member timeout mode {} ", unsupported),
        row<remote::FibFecType, orv::fib_fec_type_t>(0, {7, 0, 1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6, 7, 0},
                                                     "Invalid FIB FEC TYPE {}", unsupported),
        row<remote::FibRouteType, orv::fib_route_type_t>(0, routeTypes, routeTypes,
                                                         "Unkown FIB route type {}", unsupported),
        sameNumbers<remote::EthLinkSpeed, orv::eth_link_speed_t>(14, "unknown link speed {}", unsupported),
        sameNumbers<remote::OperStatus, orv::oper_status_t>(2, "invalid oper_status_t", unsupported),
   };
}

// The enumerations that convert in one direction only.
const std::set<std::string> kOutputOnly = {
     "MacsecIntfKeyStatus",
     "MacsecIntfTrafficStatus",
     "FecHwProgrammingState",
     "PolicyMapStatus",
     "BgpPeerState",
     "EthLinkSpeed",
     "OperStatus",
};
const std::set<std::string> kInputOnly = {"IpRouteActions"};

TEST(EnumerationsTest, noEnumerationOfTheWireIsMissing) {
   std::set<std::string> tested;
   for (const Row& r : rows())
      EXPECT_TRUE(tested.insert(r.wireName).second) << r.wireName;
   std::set<std::string> declared;
   const auto* const file = google::protobuf::GetEnumDescriptor<remote::AclType>()->file();
   for (int i = 0; i < file->enum_type_count(); ++i)
      declared.insert(file->enum_type(i)->name());
   EXPECT_EQ(tested, declared);
}

TEST(EnumerationsTest, theWireNamesEveryNumberThatItMayCarryAndNoOther) {
   for (const Row& r : rows()) {
      SCOPED_TRACE(r.wireName);
      const auto* const file = google::protobuf::GetEnumDescriptor<remote::AclType>()->file();
      const auto* const descriptor = file->FindEnumTypeByName(r.wireName);
      ASSERT_NE(descriptor, nullptr);
      // 0 always exists: proto3 requires it.
      const int last = r.wireFirst + static_cast<int>(r.toSdk.size()) - 1;
      EXPECT_EQ(descriptor->value_count(), last + 1);
      for (int number = 0; number <= last; ++number)
         EXPECT_NE(descriptor->FindValueByNumber(number), nullptr) << number;
   }
}

TEST(EnumerationsTest, directionsThatDoNotExist) {
   for (const Row& r : rows()) {
      SCOPED_TRACE(r.wireName);
      EXPECT_EQ(!r.sdkOf, kOutputOnly.contains(r.wireName));
      EXPECT_EQ(!r.wireOf, kInputOnly.contains(r.wireName));
   }
}

TEST(EnumerationsTest, wireToSdk) {
   for (const Row& r : rows()) {
      if (!r.sdkOf) continue;
      SCOPED_TRACE(r.wireName);
      std::vector<int> numbers = rising(-3, 300);
      for (const int number : {std::numeric_limits<int>::min(), -256, 65536, std::numeric_limits<int>::max()})
         numbers.push_back(number);
      for (const int number : numbers) {
         SCOPED_TRACE(number);
         const int last = r.wireFirst + static_cast<int>(r.toSdk.size()) - 1;
         if (number >= r.wireFirst && number <= last) {
            EXPECT_EQ(r.sdkOf(number), r.toSdk[static_cast<std::size_t>(number - r.wireFirst)]);
         } else {
            EXPECT_EQ(refusalOf([&] { r.sdkOf(number); }),
                      r.refusal(fmt::format(fmt::runtime(r.words), number)));
         }
      }
   }
}

TEST(EnumerationsTest, sdkToWire) {
   for (const Row& r : rows()) {
      if (!r.wireOf) continue;
      SCOPED_TRACE(r.wireName);
      for (int number = 0; number <= 255; ++number) {
         SCOPED_TRACE(number);
         const auto index = static_cast<std::size_t>(number);
         if (index < r.toWire.size()) {
            EXPECT_EQ(r.wireOf(number), r.toWire[index]);
         } else {
            EXPECT_EQ(refusalOf([&] { r.wireOf(number); }),
                      r.refusal(fmt::format(fmt::runtime(r.wordsToWire), number)));
         }
      }
   }
}

// Single numbers spelt out, so that an error in the table's own helpers shows.
TEST(EnumerationsTest, samples) {
   using OrvSdkRpc::types::convert;
   EXPECT_EQ(refusalOf([] { convert(remote::ACL_IP_TYPE_UNSPECIFIED); }),
             invalidArgument("Unknown value for Acl IP type: 0"));
   EXPECT_EQ(convert(remote::ACL_ACTION_NONE), orv::acl_action_t::none);
   EXPECT_EQ(convert(static_cast<remote::PoliceBurstUnit>(0)),
             convert(static_cast<remote::PoliceBurstUnit>(1)));
   EXPECT_EQ(convert(convert(static_cast<remote::PoliceBurstUnit>(0))), 1);
   EXPECT_EQ(static_cast<int>(convert(static_cast<remote::FibRouteType>(4))), 0);
   EXPECT_EQ(convert(static_cast<orv::fib_route_type_t>(4)), 0);
   EXPECT_EQ(static_cast<int>(convert(static_cast<remote::FibFecType>(0))), 7);
   EXPECT_EQ(convert(static_cast<orv::fib_fec_type_t>(7)), 0);
   EXPECT_EQ(refusalOf([] { convert(static_cast<remote::NexthopGroupGreKeyTypes>(2)); }),
             invalidArgument("Unknown value for nexthop_group_gre_key_t 2"));
   EXPECT_EQ(refusalOf([] { convert(static_cast<remote::TrafficPolicyDirection>(2)); }),
             invalidArgument("Unknown value for traffic policy direction: 2"));
   EXPECT_EQ(refusalOf([] { convert(static_cast<orv::bgp_peer_state_t>(7)); }),
             unsupported("invalid peer state 7"));
   EXPECT_EQ(refusalOf([] { convert(static_cast<orv::oper_status_t>(3)); }),
             unsupported("invalid oper_status_t"));
   EXPECT_EQ(refusalOf([] { convert(static_cast<remote::EthLagIntfMemberLacpTimeout>(3)); }),
             unsupported("unknown LACP member timeout mode 3 "));
}

}  // namespace
