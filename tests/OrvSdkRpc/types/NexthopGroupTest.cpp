#include "OrvSdkRpc/types/NexthopGroup.h"

#include "Conversions.h"
#include "EveryField.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

// A distinct value for every field; fields that are not read back are separate.
const char* const kGroup = R"(
   gre_key_type: NEXTHOP_GROUP_GRE_KEY_TYPES_INGRESS_INTF type: NEXTHOP_GROUP_ENCAP_TYPES_MPLS name: "g" ttl: 3
   source_ip: "\x0a\x00\x00\x01" source_intf { name: "Loopback0" } autosize: true
   nexthops { key: 0 value {
      nexthop: "\x0a\x00\x00\x02" mpls_action { action_type: MPLS_ACTIONS_PUSH label_stack: 30 label_stack: 20 }
      intf { name: "Ethernet1" } child_nexthop_group: "c" } }
   nexthops { key: 65535 value { nexthop: "\x0a\x00\x00\x03" mpls_action { } intf { } } }
   destination_ips { key: 7 value: "\x0b\x00\x00\x01" }
   counters_unshared: true counters_persistent: true hierarchical_fecs_enabled: true)";
const char* const kBackups = R"( backup_nexthops { key: 8 value {
   nexthop: "\x0a\x00\x00\x04" mpls_action { action_type: MPLS_ACTIONS_SWAP label_stack: 40 }
   intf { name: "Ethernet4" } child_nexthop_group: "b" } })";

orv::nexthop_group_t group() {
   orv::nexthop_group_t value("g", orv::nexthop_group_encap_t::mpls,
                              orv::nexthop_group_gre_key_t::ingress_intf);
   value.ttl_is(3);
   value.source_ip_is(orv::ip_addr_t("10.0.0.1"));
   value.source_intf_is(orv::intf_id_t("Loopback0"));
   value.autosize_is(true);
   orv::nexthop_group_entry_t entry(orv::ip_addr_t("10.0.0.2"));
   entry.mpls_action_is({orv::mpls_action_t::push, {orv::mpls_label_t(30), orv::mpls_label_t(20)}});
   entry.intf_is(orv::intf_id_t("Ethernet1"));
   entry.child_nexthop_group_is("c");
   value.nexthop_set(0, entry);
   value.nexthop_set(65535, orv::nexthop_group_entry_t(orv::ip_addr_t("10.0.0.3")));
   orv::nexthop_group_entry_t backup(orv::ip_addr_t("10.0.0.4"));
   backup.mpls_action_is({orv::mpls_action_t::swap, {orv::mpls_label_t(40)}});
   backup.intf_is(orv::intf_id_t("Ethernet4"));
   backup.child_nexthop_group_is("b");
   value.backup_nexthop_set(8, backup);
   value.destination_ip_set(7, orv::ip_addr_t("11.0.0.1"));
   value.counters_unshared_is(true);
   value.counters_persistent_is(true);
   value.hierarchical_fecs_enabled_is(true);
   return value;
}

TEST(NexthopGroupTest, everyFieldFromTheWire) {
   const auto message = parsed<remote::NexthopGroup>(std::string(kGroup) + kBackups);
   EXPECT_TRUE(setsEveryField(message, {"orv.remote.NexthopGroup.version_id"}));
   EXPECT_EQ(convert(message), group());
}

TEST(NexthopGroupTest, everyFieldToTheWireButTheBackups) {
   auto value = group();
   value.version_id_is(65535);
   const auto message = parsed<remote::NexthopGroup>(std::string(kGroup) + " version_id: 65535");
   EXPECT_TRUE(setsEveryField(message, {"orv.remote.NexthopGroup.backup_nexthops"}));
   EXPECT_TRUE(same(convert(value), message));
}

TEST(NexthopGroupTest, theVersionOfTheWireIsIgnored) {
   EXPECT_EQ(convert(parsed<remote::NexthopGroup>("version_id: 70000")), orv::nexthop_group_t());
}

TEST(NexthopGroupTest, whatWasLeftOutIsTheSdksDefault) {
   EXPECT_EQ(convert(remote::NexthopGroup()), orv::nexthop_group_t());
   EXPECT_EQ(convert(remote::NexthopGroupEntry()), orv::nexthop_group_entry_t());
   EXPECT_EQ(convert(remote::NexthopGroupMplsAction()), orv::nexthop_group_mpls_action_t());
   EXPECT_EQ(convert(parsed<remote::NexthopGroup>("ttl: 0")).ttl(), 0);
   EXPECT_TRUE(convert(orv::nexthop_group_t()).has_ttl());
   EXPECT_TRUE(convert(orv::nexthop_group_t()).has_source_intf());
   EXPECT_TRUE(convert(orv::nexthop_group_entry_t()).has_intf());
   EXPECT_TRUE(convert(orv::nexthop_group_entry_t()).has_mpls_action());
}

TEST(NexthopGroupTest, theTtlIsCutToItsLowSixteenBits) {
   EXPECT_EQ(convert(parsed<remote::NexthopGroup>("ttl: 65535")).ttl(), 65535);
   EXPECT_EQ(convert(parsed<remote::NexthopGroup>("ttl: 65536")).ttl(), 0);
   EXPECT_EQ(convert(parsed<remote::NexthopGroup>("ttl: 65600")).ttl(), 64);
}

TEST(NexthopGroupTest, ofTwoKeysThatAreEqualInSixteenBitsTheFirstStays) {
   const auto value = convert(parsed<remote::NexthopGroup>(R"(
      nexthops { key: 65537 value { child_nexthop_group: "second" } }
      nexthops { key: 1 value { child_nexthop_group: "first" } }
      backup_nexthops { key: 131073 value { child_nexthop_group: "second" } }
      backup_nexthops { key: 65537 value { child_nexthop_group: "first" } }
      destination_ips { key: 65537 value: "\x0a\x00\x00\x02" }
      destination_ips { key: 1 value: "\x0a\x00\x00\x01" })"));
   ASSERT_EQ(value.nexthops().size(), 1U);
   EXPECT_EQ(value.nexthops().find(1)->child_nexthop_group(), "first");
   ASSERT_EQ(value.backup_nexthops().size(), 1U);
   EXPECT_EQ(value.backup_nexthops().find(1)->child_nexthop_group(), "first");
   ASSERT_EQ(value.destination_ips().size(), 1U);
   EXPECT_EQ(*value.destination_ips().find(1), orv::ip_addr_t("10.0.0.1"));
}

TEST(NexthopGroupTest, anEntryThatDoesNotStayIsJudgedAllTheSame) {
   EXPECT_EQ(refusalOf([] {
                convert(parsed<remote::NexthopGroup>(
                     "nexthops { key: 1 value { } } nexthops { key: 65537 value { nexthop: '12345' } }"));
             }),
             badAddress(5));
}

TEST(NexthopGroupTest, aGroupIsRefusedInTheOrderOfItsFields) {
   const auto intf = refusalOf([] { orv::intf_id_t("not a name"); });
   const auto label = refusalOf([] { orv::mpls_label_t(1048577); });
   ASSERT_TRUE(intf && label);
   const auto entry = [](auto& map) -> remote::NexthopGroupEntry& { return map[1]; };
   expectFirstIsTold<remote::NexthopGroup>(
        parsed<remote::NexthopGroup>(kGroup), kConvert,
        {{[](auto& m) { m.set_gre_key_type(static_cast<remote::NexthopGroupGreKeyTypes>(2)); },
          invalidArgument("Unknown value for nexthop_group_gre_key_t 2")},
         {[](auto& m) { m.set_type(static_cast<remote::NexthopGroupEncapTypes>(6)); },
          invalidArgument("Unknown value for nexthop_group_encap_t: 6")},
         {[](auto& m) { m.set_source_ip("1"); }, badAddress(1)},
         {[](auto& m) { m.mutable_source_intf()->set_name("not a name"); }, *intf},
         {[&](auto& m) { entry(*m.mutable_nexthops()).set_nexthop("12"); }, badAddress(2)},
         {[&](auto& m) {
             entry(*m.mutable_nexthops())
                  .mutable_mpls_action()
                  ->set_action_type(static_cast<remote::MplsActions>(5));
          },
          invalidArgument("Unknown value for mpls action: 5")},
         {[&](auto& m) { entry(*m.mutable_nexthops()).mutable_mpls_action()->add_label_stack(1048577); },
          *label},
         {[&](auto& m) { entry(*m.mutable_nexthops()).mutable_intf()->set_name("not a name"); }, *intf},
         {[&](auto& m) { entry(*m.mutable_backup_nexthops()).set_nexthop("123"); }, badAddress(3)},
         {[](auto& m) { (*m.mutable_destination_ips())[1] = "12345"; }, badAddress(5)}});
}

TEST(NexthopGroupTest, entriesAreJudgedInTheOrderOfTheirKeys) {
   remote::NexthopGroup message;
   for (std::uint32_t key = 1; key <= 64; ++key)
      (*message.mutable_nexthops())[key].set_nexthop(std::string(16 + key, 'a'));
   // A smaller slot, but a larger key.
   (*message.mutable_nexthops())[65536].set_nexthop("12");
   EXPECT_EQ(refusalOf([&] { convert(message); }), badAddress(17));
   remote::NexthopGroup destinations;
   (*destinations.mutable_destination_ips())[65536] = "12";
   (*destinations.mutable_destination_ips())[5] = "123";
   EXPECT_EQ(refusalOf([&] { convert(destinations); }), badAddress(3));
}

// The label stack is plain numbers, in the order of the forward list.
TEST(NexthopGroupTest, labelStacksKeepTheirOrder) {
   const auto message = parsed<remote::NexthopGroupMplsAction>(
        "action_type: MPLS_ACTIONS_SWAP label_stack: 3 label_stack: 1 label_stack: 2 label_stack: 1048576");
   const orv::nexthop_group_mpls_action_t action(
        orv::mpls_action_t::swap,
        {orv::mpls_label_t(3), orv::mpls_label_t(1), orv::mpls_label_t(2), orv::mpls_label_t()});
   EXPECT_EQ(convert(message), action);
   EXPECT_TRUE(same(convert(action), message));
}

TEST(NexthopGroupTest, unknownFamiliesHaveTheWordingOfTheirField) {
   const orv::ip_addr_t unknown(7, "");
   const Refusal copied = unsupported("Unknown address family on conversion from SDK");
   orv::nexthop_group_t destination;
   destination.destination_ip_set(1, unknown);
   EXPECT_EQ(refusalOf([&] { convert(destination); }), invalidArgument("Unknown address family: 7"));
   orv::nexthop_group_t source;
   source.source_ip_is(unknown);
   EXPECT_EQ(refusalOf([&] { convert(source); }), copied);
   orv::nexthop_group_t nexthop;
   nexthop.nexthop_set(1, orv::nexthop_group_entry_t(unknown));
   EXPECT_EQ(refusalOf([&] { convert(nexthop); }), copied);
   // Backups are not sent, so they are not checked.
   orv::nexthop_group_t backup;
   backup.backup_nexthop_set(1, orv::nexthop_group_entry_t(unknown));
   EXPECT_EQ(refusalOf([&] { convert(backup); }), std::nullopt);
}

TEST(NexthopGroupTest, roundTrips) {
   expectRoundTrips<orv::nexthop_group_t>(kConvert, kConvert, [](orv::nexthop_group_t value) {
      value.backup_nexthops_is({});
      value.version_id_is(0);
      return value;
   });
   expectRoundTrips<orv::nexthop_group_entry_t>(kConvert, kConvert);
   expectRoundTrips<orv::nexthop_group_mpls_action_t>(kConvert, kConvert);
}

// The cost of a group of every slot is linear in its entries, not quadratic.
TEST(NexthopGroupTest, aGroupOfEverySlot) {
   remote::NexthopGroup message;
   for (std::uint32_t slot = 0; slot <= 65535; ++slot)
      (*message.mutable_nexthops())[slot].set_child_nexthop_group("c");
   const auto value = convert(message);
   ASSERT_EQ(value.nexthops().size(), 65536U);
   std::uint32_t expected = 0;
   for (const auto& [slot, entry] : value.nexthops())
      ASSERT_EQ(slot, expected++);
}

// The same with every second key truncated, so that keys and slots differ in order.
TEST(NexthopGroupTest, aGroupOfEverySlotWhoseKeysAreCut) {
   remote::NexthopGroup message;
   for (std::uint32_t slot = 0; slot <= 65535; ++slot)
      (*message.mutable_nexthops())[slot % 2 == 0 ? slot + 65536 : slot].set_child_nexthop_group("c");
   const auto value = convert(message);
   ASSERT_EQ(value.nexthops().size(), 65536U);
   std::uint32_t expected = 0;
   for (const auto& [slot, entry] : value.nexthops())
      ASSERT_EQ(slot, expected++);
}

}  // namespace
