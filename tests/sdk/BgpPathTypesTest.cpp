#include "orv/bgp_path_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::bgp_path_attr_t;
using orv::bgp_path_key_t;
using orv::bgp_path_options_t;
using orv::bgp_path_t;
using orv::bgp_receive_route_stage_t;
using orv::ip_addr_t;
using orv::ip_prefix_t;

const bgp_path_key_t kPathKey(ip_addr_t("10.0.0.1"), "red", ip_prefix_t("10.0.0.0/8"));

TEST(BgpPathTypesTest, keys) {
   sdk_test::expectEveryFieldCounts<bgp_path_key_t>(
        kPathKey,
        {[](auto& k) { k.peer_addr_is(ip_addr_t("10.0.0.2")); }, [](auto& k) { k.vrf_name_is("r"); },
         [](auto& k) { k.prefix_is(ip_prefix_t("10.0.0.0/9")); }});
   sdk_test::expectRising<bgp_path_key_t>(
        {bgp_path_key_t(), kPathKey, bgp_path_key_t(kPathKey.peer_addr(), "red", ip_prefix_t("10.0.0.0/9")),
         bgp_path_key_t(kPathKey.peer_addr(), "ref", kPathKey.prefix()),
         bgp_path_key_t(ip_addr_t("10.0.0.2"), "a", ip_prefix_t())});
}

TEST(BgpPathTypesTest, optionsKeepAStageThatHasNoName) {
   sdk_test::expectNamed<bgp_receive_route_stage_t>(2);
   orv::bgp_path_attr_fields_t hop;
   hop.next_hop_is(true);
   orv::bgp_path_attr_fields_t communities;
   communities.community_list_is(true);
   bgp_path_options_t options;
   EXPECT_EQ(options.receive_route_stage(), bgp_receive_route_stage_t::received);
   sdk_test::expectEveryFieldCounts<bgp_path_options_t>(
        options,
        {[](auto& o) { o.receive_route_stage_is(bgp_receive_route_stage_t::best); },
         [](auto& o) { o.receive_route_stage_is(static_cast<bgp_receive_route_stage_t>(0xffffff02U)); },
         [&](auto& o) { o.path_attr_fields_is(hop); }, [&](auto& o) { o.path_attr_fields_is(communities); }});
   sdk_test::expectText(static_cast<bgp_receive_route_stage_t>(4294967295U), "4294967295");
}

TEST(BgpPathTypesTest, pathsAndAttributes) {
   bgp_path_attr_t attr;
   sdk_test::expectEveryFieldCounts<bgp_path_attr_t>(
        attr, {[](auto& a) { a.next_hop_is(ip_addr_t("10.0.0.1")); }, [](auto& a) { a.origin_is(1); },
               [](auto& a) { a.med_is(1); }, [](auto& a) { a.local_pref_is(1); },
               [](auto& a) {
                  a.community_list_is({1, 2});
               },
               [](auto& a) {
                  a.community_list_is({2, 1});
               }});
   attr.med_is(5);
   const bgp_path_t path(kPathKey, attr);
   sdk_test::expectEveryFieldCounts<bgp_path_t>(
        path, {[](auto& p) { p.path_key_is(bgp_path_key_t()); }, [](auto& p) { p.path_attr_is({}); }});
   sdk_test::expectText(path,
                        "bgp_path_t(path_key=bgp_path_key_t(peer_addr=10.0.0.1, vrf_name='red', "
                        "prefix=10.0.0.0/8), path_attr=bgp_path_attr_t(next_hop=, origin=0, med=5, "
                        "local_pref=0, community_list=[]))");
}

}  // namespace
