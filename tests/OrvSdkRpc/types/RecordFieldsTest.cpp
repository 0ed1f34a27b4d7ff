// Every field of every record, found by the descriptors: what the wire says reaches the SDK, and what the SDK
// says reaches the wire. A field that is new in a message and forgotten in a conversion fails here.
#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Conversions.h"
#include "EveryField.h"
#include "OrvSdkRpc/programming/Convert.h"
#include "OrvSdkRpc/types/Acl.h"
#include "OrvSdkRpc/types/BgpPath.h"
#include "OrvSdkRpc/types/ClassMap.h"
#include "OrvSdkRpc/types/Cmdapi.h"
#include "OrvSdkRpc/types/Counters.h"
#include "OrvSdkRpc/types/EthLagIntf.h"
#include "OrvSdkRpc/types/Fib.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/IpRoute.h"
#include "OrvSdkRpc/types/Macsec.h"
#include "OrvSdkRpc/types/MplsRoute.h"
#include "OrvSdkRpc/types/NexthopGroup.h"
#include "OrvSdkRpc/types/PolicyMap.h"
#include "OrvSdkRpc/types/TpRuleFilter.h"
#include "OrvSdkRpc/types/TrafficPolicy.h"
#include "testing/values/GeneratePolicy.h"
#include "testing/values/GenerateStatus.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;
namespace pb = OrvSdkRpc::pb;

using MessagePtr = std::unique_ptr<Message>;

struct Record {
   const Descriptor* type;
   // From the wire to the SDK and out again; empty where the record goes one way.
   std::function<MessagePtr(const Message&)> back;
   // Whether the two are the same to the SDK; empty where the record only goes out.
   std::function<bool(const Message&, const Message&)> equal;
   // A generated value of the SDK as it goes out; empty where the record only comes in.
   std::function<MessagePtr(std::uint64_t seed)> generated;

   [[nodiscard]] const std::string& name() const { return type->full_name(); }
};

// ---- Both conversions of a record, or one, as functions of messages.

template <typename Wire, typename ToSdk>
auto equalBy(ToSdk toSdk) {
   return [toSdk](const Message& one, const Message& other) {
      return toSdk(dynamic_cast<const Wire&>(one)) == toSdk(dynamic_cast<const Wire&>(other));
   };
}
template <typename Wire, typename ToSdk, typename ToWire>
auto backBy(ToSdk toSdk, ToWire toWire) {
   return [=](const Message& message) -> MessagePtr {
      return std::make_unique<Wire>(toWire(toSdk(dynamic_cast<const Wire&>(message))));
   };
}
template <typename Wire, typename Sdk>
MessagePtr generatedOut(std::uint64_t seed) {
   orvtest::ValueSource source(seed);
   return std::make_unique<Wire>(convert(orvtest::generate<Sdk>(source)));
}

template <typename Wire, typename Sdk>
Record both() {
   return {Wire::descriptor(), backBy<Wire>(kConvert, kConvert), equalBy<Wire>(kConvert),
           generatedOut<Wire, Sdk>};
}
template <typename Wire>
Record in() {
   return {Wire::descriptor(), {}, equalBy<Wire>(kConvert), {}};
}
template <typename Wire, typename Sdk>
Record out() {
   return {Wire::descriptor(), {}, {}, generatedOut<Wire, Sdk>};
}
// One message for two values, by name.
template <typename ToSdk>
Record range(ToSdk toSdk) {
   return {remote::Range::descriptor(), backBy<remote::Range>(toSdk, kConvert), equalBy<remote::Range>(toSdk),
           generatedOut<remote::Range, decltype(toSdk(remote::Range()))>};
}

pb::sbfd_echo_session_key_msg sessionOut(const orv::sbfd_echo_session_key_t& key) {
   pb::sbfd_echo_session_key_msg message;
   OrvSdkRpc::convertKey(key, message);
   return message;
}

const std::vector<Record>& records() {
   static const std::vector<Record> list{
        both<remote::IntfId, orv::intf_id_t>(),
        both<remote::MplsFecId, orv::mpls_fec_id_t>(),
        both<remote::MplsLabel, orv::mpls_label_t>(),
        both<remote::IpAddrMask, orv::ip_addr_mask_t>(),
        both<remote::Prefix, orv::ip_prefix_t>(),
        range(OrvSdkRpc::types::port_range),
        range(OrvSdkRpc::types::protocol_range),
        both<remote::AclKey, orv::acl_key_t>(),
        both<remote::PolicyMapKey, orv::policy_map_key_t>(),
        both<remote::BgpPeerKey, orv::bgp_peer_key_t>(),
        both<remote::BgpPathKey, orv::bgp_path_key_t>(),
        both<remote::FibFecKey, orv::fib_fec_key_t>(),
        both<remote::FibRouteKey, orv::fib_route_key_t>(),
        both<remote::IpRouteKey, orv::ip_route_key_t>(),
        both<remote::MplsRouteKey, orv::mpls_route_key_t>(),
        both<remote::MplsVrfLabel, orv::mpls_vrf_label_t>(),
        both<remote::AclRuleEth, orv::acl_rule_eth_t>(),
        both<remote::AclRuleIp, orv::acl_rule_ip_t>(),
        both<remote::AclTtlSpec, orv::acl_ttl_spec_t>(),
        both<remote::AclPortSpec, orv::acl_port_spec_t>(),
        both<remote::NexthopGroup, orv::nexthop_group_t>(),
        both<remote::NexthopGroupEntry, orv::nexthop_group_entry_t>(),
        both<remote::NexthopGroupMplsAction, orv::nexthop_group_mpls_action_t>(),
        out<remote::NexthopGroupCounter, orv::nexthop_group_entry_counter_t>(),
        both<remote::IpRoute, orv::ip_route_t>(),
        both<remote::IpRouteVia, orv::ip_route_via_t>(),
        both<remote::MplsRoute, orv::mpls_route_t>(),
        both<remote::MplsRouteVia, orv::mpls_route_via_t>(),
        out<remote::MplsRouteStatus, orv::mpls_route_status_t>(),
        both<remote::FibRoute, orv::fib_route_t>(),
        both<remote::FibFec, orv::fib_fec_t>(),
        both<remote::FibFecVia, orv::fib_via_t>(),
        both<remote::ClassMap, orv::class_map_t>(),
        both<remote::ClassMapRule, orv::class_map_rule_t>(),
        both<remote::PolicyMap, orv::policy_map_t>(),
        both<remote::PolicyMapRule, orv::policy_map_rule_t>(),
        both<remote::PolicyMapAction, orv::policy_map_action_t>(),
        out<remote::PolicyMapHwStatuses, orv::policy_map_hw_statuses_t>(),
        out<remote::PolicyMapHwStatusKey, orv::policy_map_hw_status_key_t>(),
        both<remote::TrafficPolicy, orv::traffic_policy_t>(),
        both<remote::TrafficPolicyRule, orv::traffic_policy_rule_t>(),
        both<remote::TrafficPolicyAction, orv::traffic_policy_action_t>(),
        both<remote::TpRuleFilter, orv::tp_rule_filter_t>(),
        both<remote::ProtocolField, orv::protocol_field_t>(),
        both<remote::PortField, orv::port_field_t>(),
        both<remote::MacsecProfile, orv::macsec_profile_t>(),
        both<remote::MacsecKey, orv::macsec_key_t>(),
        out<remote::MacsecIntfStatus, orv::macsec_intf_status_t>(),
        out<remote::MacsecIntfCounters, orv::macsec_intf_counters_t>(),
        in<remote::BgpPathOptions>(),
        in<remote::BgpPathAttrFields>(),
        out<remote::BgpPath, orv::bgp_path_t>(),
        out<remote::BgpPathAttrs, orv::bgp_path_attr_t>(),
        out<remote::EthLagIntf, orv::eth_lag_intf_t>(),
        out<remote::EthLagIntfMembership, orv::eth_lag_intf_membership_t>(),
        out<remote::IntfCounters, orv::intf_counters_t>(),
        out<remote::IntfTrafficRates, orv::intf_traffic_rates_t>(),
        out<remote::EthPhyIntfCounters, orv::eth_phy_intf_counters_t>(),
        out<remote::EthPhyIntfBinCounters, orv::eth_phy_intf_bin_counters_t>(),
        out<remote::CmdapiResponse, orv::cmdapi_response_t>(),
        // The values of the programming service.
        {pb::ip_address_msg::descriptor(), {}, equalBy<pb::ip_address_msg>(OrvSdkRpc::ipAddressToIpAddr), {}},
        {pb::ip_prefix_msg::descriptor(), {}, equalBy<pb::ip_prefix_msg>(OrvSdkRpc::ipPrefixToPrefix), {}},
        {pb::sbfd_echo_session_key_msg::descriptor(),
         backBy<pb::sbfd_echo_session_key_msg>(OrvSdkRpc::convertMsg, sessionOut),
         equalBy<pb::sbfd_echo_session_key_msg>(OrvSdkRpc::convertMsg),
         {}},
   };
   return list;
}

// ---- What does not come back as it went in.

enum class Way { inAlone, outAlone, neither };
struct OneWay {
   const char* field;
   Way way;
   const char* reason;
};
constexpr OneWay kOneWay[] = {
     {"orv.remote.NexthopGroup.backup_nexthops", Way::inAlone, "a group is shown without its backups"},
     {"orv.remote.NexthopGroup.version_id", Way::outAlone,
      "a version to set has a field of its own in the request"},
     {"orv.remote.NexthopGroupCounter.entry", Way::neither, "the service fills in which entry it asked for"},
     {"orv.remote.MacsecProfile.bypass_lldp", Way::outAlone, "follows from lldp_bypass_level"},
     {"orv.remote.MacsecProfile.intfs", Way::outAlone, "what the switch reports"},
};

// Complemented on their way out and not on their way in.
constexpr const char* kComplemented[] = {"source_mask", "destination_mask"};

// The order of these is the SDK's own: it keeps sets.
constexpr const char* kSets[] = {
     "orv.remote.PolicyMapRule.actions",
     "orv.remote.PolicyMapAction.nexthops",
     "orv.remote.TrafficPolicy.named_counters",
     "orv.remote.TrafficPolicyRule.actions",
     "orv.remote.TrafficPolicyAction.nexthop_groups",
     "orv.remote.TrafficPolicyAction.nexthops",
     "orv.remote.TpRuleFilter.src_addrs",
     "orv.remote.TpRuleFilter.src_addr_field_sets",
     "orv.remote.TpRuleFilter.dst_addrs",
     "orv.remote.TpRuleFilter.dst_addr_field_sets",
     "orv.remote.TpRuleFilter.protocols",
     "orv.remote.PortField.src_ports",
     "orv.remote.PortField.dst_ports",
     "orv.remote.PortField.src_port_field_sets",
     "orv.remote.PortField.dst_port_field_sets",
};

std::optional<Way> oneWay(const Leaf& leaf) {
   for (const OneWay& row : kOneWay) {
      if (leaf.within(row.field)) return row.way;
   }
   return std::nullopt;
}

const FieldDescriptor& fieldNamed(const std::string& fullName) {
   const auto* field = google::protobuf::DescriptorPool::generated_pool()->FindFieldByName(fullName);
   EXPECT_NE(field, nullptr) << fullName;
   return *field;
}

// What comes back of a message.
MessagePtr expectedBack(const Message& message) {
   MessagePtr expected(message.New());
   expected->CopyFrom(message);
   const auto& reflection = *expected->GetReflection();
   for (const OneWay& row : kOneWay) {
      const FieldDescriptor& field = fieldNamed(row.field);
      if (row.way == Way::inAlone && field.containing_type() == expected->GetDescriptor()) {
         reflection.ClearField(expected.get(), &field);
      }
   }
   if (expected->GetDescriptor() == remote::AclRuleEth::descriptor()) {
      for (const char* name : kComplemented) {
         const FieldDescriptor* field = expected->GetDescriptor()->FindFieldByName(name);
         std::string mask = reflection.GetString(*expected, field);
         for (char& byte : mask)
            byte = static_cast<char>(~byte);
         reflection.SetString(expected.get(), field, mask);
      }
   }
   return expected;
}

testing::AssertionResult sameButForOrder(const Message& actual, const Message& expected) {
   google::protobuf::util::MessageDifferencer differencer;
   for (const char* name : kSets)
      differencer.TreatAsSet(&fieldNamed(name));
   // What the message said about these was not heard, so what comes back is not an answer to it.
   for (const OneWay& row : kOneWay) {
      if (row.way == Way::outAlone) differencer.IgnoreField(&fieldNamed(row.field));
   }
   std::string difference;
   differencer.ReportDifferencesToString(&difference);
   if (differencer.Compare(expected, actual)) return testing::AssertionSuccess();
   return testing::AssertionFailure() << difference;
}

// Every field set, and such that the SDK takes it.
MessagePtr sampleOf(const Record& record) {
   MessagePtr sample = everyFieldOf(*record.type);
   if (auto* via = dynamic_cast<remote::MplsRouteVia*>(sample.get())) {
      // It is one of the two that have a label.
      via->set_label_action(remote::MPLS_ACTIONS_SWAP);
   }
   return sample;
}

std::string shortName(const testing::TestParamInfo<Record>& info) {
   std::string name = info.param.name().substr(info.param.name().rfind('.') + 1);
   // Two records share the message Range.
   return name + "_" + std::to_string(info.index);
}

template <typename Wanted>
std::vector<Record> recordsThat(Wanted wanted) {
   std::vector<Record> list;
   for (const Record& record : records()) {
      if (wanted(record)) list.push_back(record);
   }
   return list;
}

void PrintTo(const Record& record, std::ostream* out) {
   *out << record.name();
}

class RecordFieldsTest : public testing::TestWithParam<Record> {};
class RecordFieldsTwoWaysTest : public RecordFieldsTest {};
class RecordFieldsInTest : public RecordFieldsTest {};
class RecordFieldsOutTest : public RecordFieldsTest {};

INSTANTIATE_TEST_SUITE_P(Records, RecordFieldsTest, testing::ValuesIn(records()), shortName);
INSTANTIATE_TEST_SUITE_P(Records, RecordFieldsTwoWaysTest,
                         testing::ValuesIn(recordsThat([](const Record& r) { return bool(r.back); })),
                         shortName);
INSTANTIATE_TEST_SUITE_P(Records, RecordFieldsInTest,
                         testing::ValuesIn(recordsThat([](const Record& r) { return bool(r.equal); })),
                         shortName);
INSTANTIATE_TEST_SUITE_P(Records, RecordFieldsOutTest,
                         testing::ValuesIn(recordsThat([](const Record& r) { return bool(r.generated); })),
                         shortName);

TEST_P(RecordFieldsTest, theSampleSetsEveryField) {
   EXPECT_TRUE(setsEveryField(*sampleOf(GetParam())));
}

TEST_P(RecordFieldsTwoWaysTest, everyFieldComesBack) {
   const Record& record = GetParam();
   const MessagePtr sample = sampleOf(record);
   EXPECT_TRUE(sameButForOrder(*record.back(*sample), *expectedBack(*sample)));
}

// Each field by itself, so that two of one type that are mixed up show.
TEST_P(RecordFieldsInTest, aFieldThatChangesIsAnotherValueAndComesBackAlone) {
   const Record& record = GetParam();
   const MessagePtr sample = sampleOf(record);
   for (const Leaf& leaf : Leaf::of(*sample)) {
      SCOPED_TRACE(leaf.path());
      const bool reachesSdk = oneWay(leaf).value_or(Way::inAlone) == Way::inAlone;
      int taken = 0;
      for (const MessagePtr& changed : leaf.changed(*sample)) {
         // What a field that was left out reads as is another test's business.
         if (leaf.value(*changed).ends_with("_UNSPECIFIED")) continue;
         // A member of an enumeration that the SDK does not have, or not beside the other fields.
         if (refusalOf([&] { record.equal(*changed, *sample); })) continue;
         ++taken;
         EXPECT_EQ(record.equal(*changed, *sample), !reachesSdk) << leaf.value(*changed);
         if (record.back) {
            EXPECT_TRUE(sameButForOrder(*record.back(*changed), *expectedBack(*changed)));
         }
      }
      EXPECT_GT(taken, 0) << "no other value is taken";
   }
}

// Without the places in repeated fields.
std::string fieldPath(const Leaf& leaf) {
   std::string path = leaf.path();
   for (auto bracket = path.find('['); bracket != std::string::npos; bracket = path.find('['))
      path.erase(bracket, path.find(']') - bracket + 1);
   return path;
}

// All values of each field, over the elements of repeated ones.
std::map<std::string, std::string> valuesByField(const Message& message) {
   std::map<std::string, std::string> values;
   for (const Leaf& leaf : Leaf::of(message))
      values[fieldPath(leaf)] += leaf.value(message) + ";";
   return values;
}

// A field that a conversion forgets always has its default; one that is filled from another's value always
// equals that other.
TEST_P(RecordFieldsOutTest, everyFieldGoesOutWithAValueOfItsOwn) {
   const Record& record = GetParam();
   std::set<std::string> silent;
   std::map<std::string, std::vector<std::string>> seen;
   for (const Leaf& leaf : Leaf::of(*everyFieldOf(*record.type))) {
      if (oneWay(leaf).value_or(Way::outAlone) == Way::outAlone) {
         seen[fieldPath(leaf)];
      } else {
         silent.insert(fieldPath(leaf));
      }
   }
   for (std::uint64_t seed = 1; seed <= roundTripSeeds; ++seed) {
      const auto values = valuesByField(*record.generated(seed));
      for (const std::string& path : silent)
         EXPECT_FALSE(values.contains(path)) << path;
      for (auto& [path, list] : seen) {
         const auto value = values.find(path);
         list.push_back(value == values.end() ? "" : value->second);
      }
   }
   for (auto one = seen.begin(); one != seen.end(); ++one) {
      EXPECT_GT(std::set(one->second.begin(), one->second.end()).size(), 1U)
           << one->first << " is always " << one->second.front();
      for (auto other = std::next(one); other != seen.end(); ++other)
         EXPECT_NE(one->second, other->second) << one->first << " always equals " << other->first;
   }
}

// ---- That nothing is missing above.

void reach(const Descriptor& type, std::set<std::string>& reached) {
   if (!reached.insert(type.full_name()).second) return;
   for (int i = 0; i < type.field_count(); ++i) {
      if (const Descriptor* inner = type.field(i)->message_type()) reach(*inner, reached);
   }
}

TEST(RecordFields, everyMessageOfTheTypesIsOneOfTheRecordsOrPartOfOne) {
   std::set<std::string> reached;
   for (const Record& record : records())
      reach(*record.type, reached);
   const auto& file = *remote::IntfId::descriptor()->file();
   EXPECT_GT(file.message_type_count(), 50);
   for (int i = 0; i < file.message_type_count(); ++i)
      EXPECT_TRUE(reached.contains(file.message_type(i)->full_name())) << file.message_type(i)->full_name();
}

TEST(RecordFields, theTablesNameFieldsThatThereAre) {
   for (const OneWay& row : kOneWay) {
      fieldNamed(row.field);
      EXPECT_NE(std::string(row.reason), "");
   }
   for (const char* name : kSets)
      EXPECT_TRUE(fieldNamed(name).is_repeated()) << name;
}

// The walk itself: a sample that leaves something out is told.
TEST(RecordFields, aFieldThatASampleLeavesOutIsTold) {
   const auto rule =
        parsed<remote::ClassMap>("key { name: 'c' } rules { key: 1 value { acl_key { acl_type: 1 } } }");
   const auto result = setsEveryField(rule);
   EXPECT_FALSE(result);
   EXPECT_STREQ(result.message(), "not set in orv.remote.ClassMap: key.feature rules.value.acl_key.acl_name");
   EXPECT_TRUE(setsEveryField(rule, {"orv.remote.PolicyMapKey.feature", "orv.remote.AclKey.acl_name"}));
   const auto rest =
        parsed<remote::ClassMap>("key { feature: 1 } rules { value { acl_key { acl_name: 'a' } } }");
   EXPECT_TRUE(setsEveryField({&rule, &rest}));
   EXPECT_FALSE(setsEveryField(remote::MplsRouteKey())) << "an empty list";
}

}  // namespace
