// Conversions into a message that holds an earlier value: nothing of that is left.
#include "Conversions.h"
#include "OrvSdkRpc/types/Counters.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/NexthopGroup.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

// Converts each value after each other one, into the same message.
template <typename Message, typename Value>
void expectNothingIsLeft(const std::vector<Value>& values) {
   for (const Value& before : values) {
      for (const Value& value : values) {
         Message message;
         convert(before, message);
         convert(value, message);
         EXPECT_TRUE(same(message, convert(value))) << fmt::format("{} after {}", value, before);
      }
   }
}

// One message for many values.
template <typename Message, typename Value>
void expectOneMessageServesAll() {
   Message message;
   for (std::uint64_t seed = 1; seed <= roundTripSeeds; ++seed) {
      orvtest::ValueSource source(seed);
      const Value value = orvtest::generate<Value>(source);
      convert(value, message);
      ASSERT_TRUE(same(message, convert(value))) << "seed " << seed;
   }
}

orv::nexthop_group_entry_t entry() {
   orv::nexthop_group_entry_t entry(orv::ip_addr_t("2001:db8::1"));
   entry.mpls_action_is({orv::mpls_action_t::push, {orv::mpls_label_t(30), orv::mpls_label_t(20)}});
   entry.intf_is(orv::intf_id_t("Ethernet1"));
   entry.child_nexthop_group_is("a child with a name of some length");
   return entry;
}

orv::nexthop_group_t full() {
   orv::nexthop_group_t group("a group with a name of some length", orv::nexthop_group_encap_t::gre,
                              orv::nexthop_group_gre_key_t::ingress_intf);
   group.ttl_is(3);
   group.source_ip_is(orv::ip_addr_t("2001:db8::2"));
   group.source_intf_is(orv::intf_id_t("Loopback0"));
   group.autosize_is(true);
   for (const std::uint16_t slot : {0, 1, 7, 65535})
      group.nexthop_set(slot, entry());
   for (const std::uint16_t slot : {0, 9, 65535})
      group.destination_ip_set(slot, orv::ip_addr_t("2001:db8::3"));
   group.counters_unshared_is(true);
   group.counters_persistent_is(true);
   group.hierarchical_fecs_enabled_is(true);
   group.version_id_is(65535);
   return group;
}

TEST(ReusedMessageTest, aNexthopGroupKeepsNothingOfTheOneBefore) {
   orv::nexthop_group_t otherSlots("other", orv::nexthop_group_encap_t::mpls);
   for (const std::uint16_t slot : {1, 2, 3, 8})
      otherSlots.nexthop_set(slot, orv::nexthop_group_entry_t(orv::ip_addr_t("10.0.0.1")));
   otherSlots.destination_ip_set(5, orv::ip_addr_t("10.0.0.2"));
   orv::nexthop_group_t bareEntries("bare", orv::nexthop_group_encap_t::mpls);
   for (const std::uint16_t slot : {0, 1, 7, 65535})
      bareEntries.nexthop_set(slot, orv::nexthop_group_entry_t());
   expectNothingIsLeft<remote::NexthopGroup>(
        std::vector{full(), otherSlots, bareEntries, orv::nexthop_group_t()});
   expectOneMessageServesAll<remote::NexthopGroup, orv::nexthop_group_t>();
}

TEST(ReusedMessageTest, slotsAboveSixteenBitsAndBackupsGoToo) {
   auto message = parsed<remote::NexthopGroup>(
        "nexthops { key: 65536 value { } } nexthops { key: 70000 value { } } "
        "destination_ips { key: 65537 value: '1234' } backup_nexthops { key: 1 value { } }");
   convert(full(), message);
   EXPECT_TRUE(same(message, convert(full())));
}

TEST(ReusedMessageTest, anEntryAndItsActionKeepNothing) {
   orv::nexthop_group_entry_t labelsAlone;
   labelsAlone.mpls_action_is({orv::mpls_action_t::swap, {orv::mpls_label_t(16)}});
   expectNothingIsLeft<remote::NexthopGroupEntry>(
        std::vector{entry(), labelsAlone, orv::nexthop_group_entry_t()});
   expectNothingIsLeft<remote::NexthopGroupMplsAction>(
        std::vector{entry().mpls_action(), labelsAlone.mpls_action(), orv::nexthop_group_mpls_action_t()});
}

TEST(ReusedMessageTest, theTextOfAnInterfaceIsReplacedAndCleared) {
   expectNothingIsLeft<remote::IntfId>(
        std::vector{orv::intf_id_t("Ethernet1"), orv::intf_id_t("Port-Channel1000.4094"), orv::intf_id_t()});
}

TEST(ReusedMessageTest, everyRateIsSetAlsoToZero) {
   expectNothingIsLeft<remote::IntfTrafficRates>(std::vector{orv::intf_traffic_rates_t(1, 2, 3, 4, 5),
                                                             orv::intf_traffic_rates_t(0, -0.0, 7, 0, 1.5),
                                                             orv::intf_traffic_rates_t()});
}

}  // namespace
