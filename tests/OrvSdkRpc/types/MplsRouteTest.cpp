#include "OrvSdkRpc/types/MplsRoute.h"

#include <array>

#include "Conversions.h"
#include "EveryField.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

const Refusal kMustBeEmpty =
     invalidArgument("Pushswap label must be empty when Label action is POP or FORWARD");
const Refusal kMustNotBeEmpty =
     invalidArgument("Pushswap label must not be empty when Label action is PUSH or SWAP");

const char* const kMplsVia = R"(
   label_action: MPLS_ACTIONS_SWAP route_key { labels { label: 100 } metric: 5 } hop: "\x0a\x00\x00\x01"
   intf { name: "Ethernet1" } pushswap_label { label: 200 } ttl_mode: MPLS_TTL_MODE_UNIFORM
   payload_type: MPLS_PAYLOAD_TYPE_IPV6 skip_egress_acl: true nexthop_group: "g")";

orv::mpls_route_via_t mplsVia() {
   orv::mpls_route_via_t value(orv::mpls_route_key_t(orv::mpls_label_t(100), 5), orv::mpls_action_t::swap);
   value.hop_is(orv::ip_addr_t("10.0.0.1"));
   value.intf_is(orv::intf_id_t("Ethernet1"));
   value.pushswap_label_is(orv::mpls_label_t(200));
   value.ttl_mode_is(orv::mpls_ttl_mode_t::uniform);
   value.payload_type_is(orv::mpls_payload_type_t::ipv6);
   value.skip_egress_acl_is(true);
   value.nexthop_group_is("g");
   return value;
}

TEST(MplsRouteTest, everyFieldOfARoute) {
   const auto message =
        parsed<remote::MplsRoute>("key { labels { label: 100 } metric: 5 } version_id: 65535");
   EXPECT_TRUE(setsEveryField(message));
   const orv::mpls_route_t route(orv::mpls_route_key_t(orv::mpls_label_t(100), 5), 65535);
   EXPECT_EQ(convert(message), route);
   EXPECT_TRUE(same(convert(route), message));
}

TEST(MplsRouteTest, aVersionThatIsLeftOutPassesAndZeroDoesNot) {
   const auto message = parsed<remote::MplsRoute>("key { labels { label: 100 } }");
   const orv::mpls_route_t route(orv::mpls_route_key_t(orv::mpls_label_t(100)));
   EXPECT_EQ(convert(message), route);
   for (const auto& [sent, shown] :
        std::vector<std::pair<std::uint32_t, std::string>>{{0, "0"}, {65536, "65536"}, {70000, "70000"}}) {
      auto bad = message;
      bad.set_version_id(sent);
      EXPECT_EQ(refusalOf([&] { convert(bad); }), invalidArgument("Versioning out of range: " + shown));
   }
   auto good = message;
   good.set_version_id(1);
   EXPECT_EQ(convert(good).version_id(), 1);
   // A route without a version comes out with 0, which cannot be written back.
   EXPECT_TRUE(convert(route).has_version_id());
   EXPECT_EQ(refusalOf([&] { convert(convert(route)); }), invalidArgument("Versioning out of range: 0"));
}

TEST(MplsRouteTest, theVersionIsJudgedBeforeTheKey) {
   expectFirstIsTold<remote::MplsRoute>(
        parsed<remote::MplsRoute>("key { labels { label: 100 } } version_id: 1"), kConvert,
        {{[](auto& m) { m.set_version_id(0); }, invalidArgument("Versioning out of range: 0")},
         {[](auto& m) { m.mutable_key()->set_metric(256); }, invalidArgument("metric 256 is out of range")}});
}

TEST(MplsRouteTest, everyFieldOfAVia) {
   EXPECT_TRUE(setsEveryField(parsed<remote::MplsRouteVia>(kMplsVia)));
   EXPECT_EQ(convert(parsed<remote::MplsRouteVia>(kMplsVia)), mplsVia());
   EXPECT_TRUE(same(convert(mplsVia()), parsed<remote::MplsRouteVia>(kMplsVia)));
}

TEST(MplsRouteTest, whatWasLeftOutIsTheSdksDefault) {
   EXPECT_EQ(convert(remote::MplsRoute()), orv::mpls_route_t());
   EXPECT_EQ(convert(remote::MplsRouteVia()), orv::mpls_route_via_t());
   const auto message = convert(orv::mpls_route_via_t());
   EXPECT_TRUE(message.has_intf());
   EXPECT_TRUE(message.pushswap_label().has_label());
   EXPECT_EQ(message.pushswap_label().label(), 1048576U);
}

// Each action with no label, with the number of the null label, with 0 and with the largest label.
TEST(MplsRouteTest, pushAndSwapBringALabelAndPopAndForwardNone) {
   for (const int action : {0, 1, 2, 3, 4}) {
      for (const std::optional<std::uint32_t> label :
           {std::optional<std::uint32_t>(), std::optional<std::uint32_t>(1048576),
            std::optional<std::uint32_t>(0), std::optional<std::uint32_t>(5),
            std::optional<std::uint32_t>(1048575)}) {
         SCOPED_TRACE(testing::Message() << action << " with " << (label ? std::to_string(*label) : "none"));
         remote::MplsRouteVia message;
         message.set_label_action(static_cast<remote::MplsActions>(action));
         if (label) message.mutable_pushswap_label()->set_label(*label);
         const bool empty = !label || *label == 1048576;
         std::optional<Refusal> expected;
         if ((action == 2 || action == 4) && !empty) expected = kMustBeEmpty;
         if ((action == 1 || action == 3) && empty) expected = kMustNotBeEmpty;
         EXPECT_EQ(refusalOf([&] { convert(message); }), expected);
      }
   }
   // A message that is present with its group unset counts as absent.
   EXPECT_EQ(refusalOf([] {
                convert(parsed<remote::MplsRouteVia>("label_action: MPLS_ACTIONS_POP pushswap_label { }"));
             }),
             std::nullopt);
}

// The whole number is checked, not its low bits: none of these counts as PUSH or POP.
TEST(MplsRouteTest, actionsOutOfRangeAreLeftToTheEnumeration) {
   for (const int action : {-1, 5, 7, 257, 258, 65537, 65538}) {
      for (const bool hasLabel : {false, true}) {
         SCOPED_TRACE(testing::Message() << action << (hasLabel ? " with a label" : " without"));
         remote::MplsRouteVia message;
         message.set_label_action(static_cast<remote::MplsActions>(action));
         if (hasLabel) message.mutable_pushswap_label()->set_label(5);
         EXPECT_EQ(refusalOf([&] { convert(message); }),
                   invalidArgument("Unknown value for mpls action: " + std::to_string(action)));
      }
   }
}

TEST(MplsRouteTest, aViaIsRefusedInTheOrderOfItsFields) {
   const auto intf = refusalOf([] { orv::intf_id_t("not a name"); });
   const auto label = refusalOf([] { orv::mpls_label_t(1048577); });
   ASSERT_TRUE(intf && label);
   // This rule is checked before all else; a via cannot violate both it and the enumeration.
   const std::vector<Spoiled<remote::MplsRouteVia>> behindTheAction = {
        {[](auto& m) { m.mutable_route_key()->set_metric(256); },
         invalidArgument("metric 256 is out of range")},
        {[](auto& m) { m.set_hop("12345"); },
         invalidArgument("bytes length 5 does not match IPv4(4) or IPv6(16)")},
        {[](auto& m) { m.mutable_intf()->set_name("not a name"); }, *intf},
        {[](auto& m) { m.mutable_pushswap_label()->set_label(1048577); }, *label},
        {[](auto& m) { m.set_ttl_mode(static_cast<remote::MplsTtlMode>(3)); },
         invalidArgument("Unknown value for mpls ttl mode: 3")},
        {[](auto& m) { m.set_payload_type(static_cast<remote::MplsPayloadType>(5)); },
         invalidArgument("Unknown value for mpls payload type: 5")}};
   auto spoiled = behindTheAction;
   spoiled.insert(spoiled.begin(), {[](auto& m) { m.set_label_action(static_cast<remote::MplsActions>(5)); },
                                    invalidArgument("Unknown value for mpls action: 5")});
   expectFirstIsTold<remote::MplsRouteVia>(parsed<remote::MplsRouteVia>(kMplsVia), kConvert, spoiled);
   spoiled = behindTheAction;
   spoiled.insert(spoiled.begin(),
                  {[](auto& m) { m.set_label_action(remote::MPLS_ACTIONS_FORWARD); }, kMustBeEmpty});
   expectFirstIsTold<remote::MplsRouteVia>(parsed<remote::MplsRouteVia>(kMplsVia), kConvert, spoiled);
}

TEST(MplsRouteTest, everyFieldOfAStatus) {
   const auto message = parsed<remote::MplsRouteStatus>(
        "key { labels { label: 100 } labels { label: 200 } metric: 5 } fec_id { id: 7 } hw_version_id: "
        "65535");
   EXPECT_TRUE(setsEveryField(message));
   const std::array labels{orv::mpls_label_t(100), orv::mpls_label_t(200)};
   orv::mpls_route_status_t status(orv::mpls_route_key_t(labels, 5));
   status.fec_id_is(orv::mpls_fec_id_t(7));
   status.hw_version_id_is(65535);
   EXPECT_TRUE(same(convert(status), message));
   // What hardware does not have is there all the same, with zeros.
   const auto empty = convert(orv::mpls_route_status_t());
   EXPECT_TRUE(empty.has_key());
   EXPECT_TRUE(empty.has_fec_id());
   EXPECT_EQ(empty.hw_version_id(), 0U);
}

TEST(MplsRouteTest, noRuleIsAppliedOnTheWayOut) {
   auto value = mplsVia();
   value.label_action_is(orv::mpls_action_t::pop);
   EXPECT_EQ(convert(value).label_action(), remote::MPLS_ACTIONS_POP);
   EXPECT_EQ(convert(value).pushswap_label().label(), 200U);
   value.label_action_is(orv::mpls_action_t::push);
   value.pushswap_label_is({});
   EXPECT_EQ(convert(value).label_action(), remote::MPLS_ACTIONS_PUSH);
   value.hop_is(orv::ip_addr_t(7, ""));
   EXPECT_EQ(refusalOf([&] { convert(value); }), invalidArgument("Unknown address family: 7"));
}

TEST(MplsRouteTest, roundTrips) {
   expectRoundTrips<orv::mpls_route_via_t>(kConvert, kConvert);
   // A route without a version cannot be written back.
   const auto takenBack = [](remote::MplsRoute message) {
      if (message.version_id() == 0) message.clear_version_id();
      return convert(message);
   };
   expectRoundTrips<orv::mpls_route_t>(kConvert, takenBack);
}

}  // namespace
