#include "orvctl/Vias.h"

#include <gtest/gtest.h>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

namespace rpc = orv::remote;

TEST(Vias, anMplsViaShowsWhatItHas) {
   rpc::MplsRouteVia via;
   EXPECT_EQ(viaText(via), "");
   via.set_hop(std::string{10, 0, 0, 1});
   via.mutable_intf()->set_name("Ethernet1");
   via.set_label_action(rpc::MPLS_ACTIONS_SWAP);
   via.mutable_pushswap_label()->set_label(200);
   via.set_ttl_mode(rpc::MPLS_TTL_MODE_PIPE);
   via.set_payload_type(rpc::MPLS_PAYLOAD_TYPE_IPV4);
   via.set_skip_egress_acl(true);
   EXPECT_EQ(viaText(via), "10.0.0.1 Ethernet1 swap 200 ttl pipe payload ipv4 skip-egress-acl");
   rpc::MplsRouteVia group;
   group.set_nexthop_group("core");
   group.set_label_action(rpc::MPLS_ACTIONS_POP);
   group.mutable_pushswap_label()->set_label(1048576);
   EXPECT_EQ(viaText(group), "group core pop");
   group.set_label_action(static_cast<rpc::MplsActions>(77));
   EXPECT_EQ(viaText(group), "group core 77");
}

TEST(Vias, anAddressOfAnImpossibleLengthIsSaid) {
   rpc::MplsRouteVia via;
   via.set_hop("12345");
   EXPECT_EQ(viaText(via), "(no address)");
}

TEST(Vias, anIpViaIsReadAsItIsShown) {
   const auto via = parseIpRouteVia("--via",
                                    "address=10.0.0.1,intf=Ethernet1,group=core,label=100,vni=5,vtep=2001:"
                                    "db8::1,router-mac=02:00:00:00:00:01,"
                                    "egress-vrf=red,metric=3,vxlan=Vxlan1,sip-validation,weight=2");
   EXPECT_EQ(viaText(via),
             "10.0.0.1 Ethernet1 group core label 100 vni 5 vtep 2001:db8::1 router-mac 02:00:00:00:00:01 "
             "egress-vrf red metric 3 vxlan Vxlan1 sip-validation weight 2");
   EXPECT_FALSE(parseIpRouteVia("--via", "group=core").has_mpls_label());
   EXPECT_EQ(parseIpRouteVia("--via", R"({"hop":"10.0.0.1","mpls_label":0})").hop().size(), 4U);
}

TEST(Vias, anMplsViaIsReadAsItIsShown) {
   const auto via =
        parseMplsRouteVia("--via",
                          "address=10.0.0.1,intf=Ethernet1,op=swap,label=200,ttl=pipe,payload=ipv6,"
                          "skip-egress-acl");
   EXPECT_EQ(viaText(via), "10.0.0.1 Ethernet1 swap 200 ttl pipe payload ipv6 skip-egress-acl");
   EXPECT_EQ(viaText(parseMplsRouteVia("--via", "group=core,op=pop")), "group core pop");
   EXPECT_EQ(parseMplsRouteVia("--via", R"({"nexthop_group":"core"})").nexthop_group(), "core");
}

TEST(Vias, whatIsNoViaIsRefused) {
   for (const char* text :
        {"", ",", "address", "address=", "address=10.0.0", "10.0.0.1", "group=core,", "label=1048576",
         "vni=-1", "weight=4294967296", "router-mac=10.0.0.1", "router-mac=02:00", "sip-validation=yes",
         "skip-egress-acl", "op=pop", "=x", "{", R"({"hopp":"10.0.0.1"})"})
      EXPECT_THROW(parseIpRouteVia("--via", text), UsageError) << text;
   for (const char* text : {"", "weight=2", "op", "op=eat", "label=1048576", "ttl=never", "payload=ipv5",
                            "skip-egress-acl=yes", "sip-validation", "address=x", "{}x"})
      EXPECT_THROW(parseMplsRouteVia("--via", text), UsageError) << text;
   try {
      parseMplsRouteVia("--via", "op=eat");
   } catch (const UsageError& error) {
      EXPECT_STREQ(error.what(),
                   "--via op is 'eat', expected one of none|push|pop|swap|forward, or a number");
   }
}

TEST(Vias, aPrefixIsReadAsItIsShown) {
   EXPECT_EQ(prefixText(parseWirePrefix("PREFIX", "10.0.0.0/8")), "10.0.0.0/8");
   EXPECT_EQ(prefixText(parseWirePrefix("PREFIX", "2001:db8::/32")), "2001:db8::/32");
   EXPECT_THROW(parseWirePrefix("PREFIX", "10.0.0.1/8"), UsageError);
}

TEST(Vias, labelsAreTheOutermostFirst) {
   rpc::MplsRouteKey key = parseLabels("LABEL", "100/0/1048575");
   EXPECT_EQ(key.labels_size(), 3);
   EXPECT_EQ(key.labels(0).label(), 100U);
   EXPECT_EQ(labelsText(key), "100/0/1048575");
   key.add_labels()->set_label(1048576);
   key.add_labels();
   EXPECT_EQ(labelsText(key), "100/0/1048575/null/null");
   EXPECT_EQ(labelsText(rpc::MplsRouteKey()), "");
   EXPECT_EQ(parseLabels("LABEL", "1/2/3/4/5/6/7/8/9/10/11/12/13/14").labels_size(), 14);
}

TEST(Vias, whatAreNoLabelsIsRefused) {
   for (const char* text : {"", "/", "100/", "/100", "1048576", "-1", "x", "100//200", "100 200",
                            "1/2/3/4/5/6/7/8/9/10/11/12/13/14/15"})
      EXPECT_THROW(parseLabels("LABEL", text), UsageError) << text;
}

}  // namespace
}  // namespace orvctl
